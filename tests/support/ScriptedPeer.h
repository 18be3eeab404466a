#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <deque>
#include <vector>

class QTcpServer;
class QTcpSocket;

// A tiny HTTP peer that answers each request with a script: for what a real server cannot
// be asked to do on purpose (an HTML redirect, a cut connection, a stall, a torn stream).
class ScriptedPeer : public QObject {
    Q_OBJECT

public:
    struct Action {
        enum class Kind { Write, Pause, Close, Hold };
        Kind kind = Kind::Write;
        QByteArray bytes;
        int milliseconds = 0;
    };
    using Script = std::vector<Action>;

    struct Request {
        QByteArray method;
        QByteArray path; // with the query
        QMap<QByteArray, QByteArray> headers; // names lower-cased
        QByteArray body;
    };

    explicit ScriptedPeer(QObject* parent = nullptr);
    ~ScriptedPeer() override;

    QUrl baseUrl() const;

    // One script per incoming request, in order; with none left the peer answers 500.
    void enqueue(Script script);
    void enqueueResponse(int status, const QByteArray& body, const QByteArray& contentType = "application/json",
        const QList<QPair<QByteArray, QByteArray>>& extraHeaders = {});

    static Action write(QByteArray bytes) { return { Action::Kind::Write, std::move(bytes), 0 }; }
    static Action pause(int milliseconds) { return { Action::Kind::Pause, {}, milliseconds }; }
    static Action close() { return { Action::Kind::Close, {}, 0 }; }
    // Keeps the connection open and silent until the client gives up.
    static Action hold() { return { Action::Kind::Hold, {}, 0 }; }
    static QByteArray head(int status, const QByteArray& contentType, qsizetype contentLength = -1,
        const QList<QPair<QByteArray, QByteArray>>& extraHeaders = {});

    const QList<Request>& requests() const { return m_requests; }
    int requestCount() const { return static_cast<int>(m_requests.size()); }

signals:
    void requestReceived();

private:
    struct Connection {
        QPointer<QTcpSocket> socket;
        QByteArray buffer;
        bool busy = false;
    };

    void onNewConnection();
    void onReadyRead(QTcpSocket* socket);
    void run(QTcpSocket* socket, Script script, std::size_t index);

    QTcpServer* m_server;
    std::deque<Script> m_scripts;
    QList<Request> m_requests;
    QMap<QTcpSocket*, Connection> m_connections;
};

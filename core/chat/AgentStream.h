#pragma once

#include "AgentEvent.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <qcoro/qcorotask.h>

#include <memory>
#include <optional>

class AgentClient;
class QNetworkReply;

// One answer of the agent, event by event, in order. Read it either by awaiting next() until
// it gives nothing, or through eventReceived and finished. Every failure arrives as a final
// `error` event, never as an exception. Dropping the stream or calling cancel() aborts the
// request and ends it silently: no error event, next() gives nothing.
class AgentStream : public QObject {
    Q_OBJECT

public:
    ~AgentStream() override;

    // The next event; nothing once the stream has ended. Events wait here until taken.
    QCoro::Task<std::optional<AgentEvent>> next();
    void cancel();
    bool isFinished() const { return m_closed; }
    // Requests sent so far: two when the one retry was used.
    int attempts() const { return m_attempts; }

signals:
    void eventReceived(const AgentEvent& event);
    // The end, whatever it was; not sent when the stream is destroyed.
    void finished();

private:
    friend class AgentClient;
    struct Channel;
    enum class LineOutcome { Continue, Done };

    AgentStream(AgentClient* client, QByteArray body, bool hasImages, bool hasChatSession);

    static QCoro::Task<void> attempt(QPointer<AgentStream> self);
    static QCoro::Task<void> retryAfterPause(QPointer<AgentStream> self);
    void send(const QString& token);
    void onReadyRead();
    void onFinished();
    void onTransportFailure(int error, const QString& description);
    // Reads the complete lines the reply holds (and a last one without its newline when the
    // body is over). False when the stream ended on the way.
    bool drainLines(QNetworkReply* reply, bool bodyComplete);
    LineOutcome processLine(const QByteArray& line);
    void deliver(AgentEvent event);
    void fail(const QString& code, const QString& message);
    void close(bool announce = true);
    void dropReply();
    void detachFromClient() { m_client = nullptr; }

    AgentClient* m_client;
    QByteArray m_body;
    bool m_hasImages;
    bool m_hasChatSession;
    std::shared_ptr<Channel> m_channel;
    QPointer<QNetworkReply> m_reply;
    QTimer m_resourceTimer;
    std::optional<QString> m_pendingEvent;
    int m_attempts = 0;
    bool m_retried = false;
    bool m_yielded = false;
    bool m_closed = false;
};

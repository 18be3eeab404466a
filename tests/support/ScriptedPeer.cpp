#include "ScriptedPeer.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

ScriptedPeer::ScriptedPeer(QObject* parent)
    : QObject(parent)
    , m_server(new QTcpServer(this))
{
    m_server->listen(QHostAddress::LocalHost, 0);
    connect(m_server, &QTcpServer::newConnection, this, &ScriptedPeer::onNewConnection);
}

ScriptedPeer::~ScriptedPeer()
{
    // Aborting emits disconnected, which edits the map: take the sockets out first.
    const auto connections = std::exchange(m_connections, {});
    for (const auto& connection : connections) {
        if (connection.socket) {
            connection.socket->disconnect(this);
            connection.socket->abort();
        }
    }
}

QUrl ScriptedPeer::baseUrl() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_server->serverPort()));
}

void ScriptedPeer::enqueue(Script script)
{
    m_scripts.push_back(std::move(script));
}

QByteArray ScriptedPeer::head(int status, const QByteArray& contentType, qsizetype contentLength,
    const QList<QPair<QByteArray, QByteArray>>& extraHeaders)
{
    QByteArray out = "HTTP/1.1 " + QByteArray::number(status) + " Scripted\r\n";
    if (!contentType.isEmpty())
        out += "Content-Type: " + contentType + "\r\n";
    if (contentLength >= 0)
        out += "Content-Length: " + QByteArray::number(contentLength) + "\r\n";
    for (const auto& [name, value] : extraHeaders)
        out += name + ": " + value + "\r\n";
    out += "\r\n";
    return out;
}

void ScriptedPeer::enqueueResponse(int status, const QByteArray& body, const QByteArray& contentType,
    const QList<QPair<QByteArray, QByteArray>>& extraHeaders)
{
    enqueue({ write(head(status, contentType, body.size(), extraHeaders) + body) });
}

void ScriptedPeer::onNewConnection()
{
    while (QTcpSocket* socket = m_server->nextPendingConnection()) {
        m_connections.insert(socket, Connection { socket, {}, false });
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { onReadyRead(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_connections.remove(socket);
            socket->deleteLater();
        });
    }
}

void ScriptedPeer::onReadyRead(QTcpSocket* socket)
{
    auto it = m_connections.find(socket);
    if (it == m_connections.end())
        return;
    it->buffer += socket->readAll();
    if (it->busy)
        return;
    const qsizetype headerEnd = it->buffer.indexOf("\r\n\r\n");
    if (headerEnd < 0)
        return;

    Request request;
    const QList<QByteArray> lines = it->buffer.left(headerEnd).split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    request.method = requestLine.value(0);
    request.path = requestLine.value(1);
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines[i].indexOf(':');
        if (colon > 0)
            request.headers.insert(lines[i].left(colon).trimmed().toLower(), lines[i].mid(colon + 1).trimmed());
    }
    const qsizetype length = request.headers.value("content-length", "0").toLongLong();
    if (it->buffer.size() < headerEnd + 4 + length)
        return;
    request.body = it->buffer.mid(headerEnd + 4, length);
    it->buffer.remove(0, headerEnd + 4 + length);
    it->busy = true;
    m_requests.append(request);
    emit requestReceived();

    Script script;
    if (!m_scripts.empty()) {
        script = std::move(m_scripts.front());
        m_scripts.pop_front();
    } else {
        const QByteArray body = R"({"detail":"no script left"})";
        script = { write(head(500, "application/json", body.size()) + body) };
    }
    run(socket, std::move(script), 0);
}

void ScriptedPeer::run(QTcpSocket* socket, Script script, std::size_t index)
{
    QPointer<QTcpSocket> guard(socket);
    for (; index < script.size(); ++index) {
        if (!guard)
            return;
        const Action& action = script[index];
        switch (action.kind) {
        case Action::Kind::Write:
            socket->write(action.bytes);
            socket->flush();
            break;
        case Action::Kind::Pause:
            QTimer::singleShot(action.milliseconds, this, [this, guard, script, index] {
                if (guard)
                    run(guard, script, index + 1);
            });
            return;
        case Action::Kind::Close:
            socket->disconnectFromHost();
            return;
        case Action::Kind::Hold:
            return;
        }
    }
    auto it = m_connections.find(socket);
    if (it != m_connections.end()) {
        it->busy = false;
        if (!it->buffer.isEmpty())
            QTimer::singleShot(0, this, [this, guard] {
                if (guard)
                    onReadyRead(guard);
            });
    }
}

// The /chat/sessions operations of LumenAPIClient: the session list and each session's
// server copy of the conversation.
#include "LumenAPIClient.h"

namespace {

// Session ids are chosen by clients; encoded so that no id can reach another path.
QString sessionPath(const QString& id, const QString& tail = {})
{
    QString path = QStringLiteral("/chat/sessions/") + QString::fromLatin1(QUrl::toPercentEncoding(id));
    if (!tail.isEmpty())
        path += QLatin1Char('/') + tail;
    return path;
}

const QString messagesTail = QStringLiteral("messages");

} // namespace

QCoro::Task<std::vector<wire::ChatSessionDTO>> LumenAPIClient::chatSessions()
{
    co_return co_await request<std::vector<wire::ChatSessionDTO>>(QStringLiteral("/chat/sessions"));
}

QCoro::Task<wire::ChatSessionDTO> LumenAPIClient::chatCreateSession(wire::ChatSessionCreate body)
{
    co_return co_await request<wire::ChatSessionDTO>(QStringLiteral("/chat/sessions"), QStringLiteral("POST"), body);
}

QCoro::Task<wire::ChatSessionDTO> LumenAPIClient::chatUpdateSession(QString id, wire::ChatSessionPatch body)
{
    co_return co_await request<wire::ChatSessionDTO>(sessionPath(id), QStringLiteral("PATCH"), body);
}

QCoro::Task<wire::GenericOK> LumenAPIClient::chatDeleteSession(QString id)
{
    co_return co_await request<wire::GenericOK>(sessionPath(id), QStringLiteral("DELETE"));
}

QCoro::Task<std::vector<wire::ChatMessageDTO>> LumenAPIClient::chatMessages(QString sessionId, int limit)
{
    Query query;
    query.insert(QStringLiteral("limit"), QString::number(limit));
    co_return co_await request<std::vector<wire::ChatMessageDTO>>(
        sessionPath(sessionId, messagesTail), QStringLiteral("GET"), std::nullopt, query);
}

QCoro::Task<wire::ChatMessagePostResult> LumenAPIClient::chatPostMessage(
    QString sessionId, wire::ChatMessageCreate body)
{
    co_return co_await request<wire::ChatMessagePostResult>(
        sessionPath(sessionId, messagesTail), QStringLiteral("POST"), body);
}

QCoro::Task<wire::GenericOK> LumenAPIClient::chatClearMessages(QString sessionId)
{
    co_return co_await request<wire::GenericOK>(sessionPath(sessionId, messagesTail), QStringLiteral("DELETE"));
}

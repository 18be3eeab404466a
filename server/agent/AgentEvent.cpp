#include "AgentEvent.h"

#include "json/JsonCoding.h"

namespace lumen::agent {

QByteArray AgentEvent::frame() const
{
    return "event: " + name.toUtf8() + "\ndata: " + wire::serialize(data) + "\n\n";
}

QByteArray AgentEvent::doneFrame()
{
    return QByteArrayLiteral("data: [DONE]\n\n");
}

AgentEvent AgentEvent::session(const QString& sessionId, const QString& model)
{
    return { QStringLiteral("session"),
        { { QStringLiteral("session_id"), sessionId }, { QStringLiteral("model"), model } } };
}

AgentEvent AgentEvent::textDelta(const QString& text)
{
    return { QStringLiteral("text_delta"), { { QStringLiteral("text"), text } } };
}

AgentEvent AgentEvent::toolCallStart(const QString& toolUseId, const QString& tool, const QJsonObject& input)
{
    return { QStringLiteral("tool_call_start"),
        { { QStringLiteral("tool_use_id"), toolUseId }, { QStringLiteral("tool"), tool },
            { QStringLiteral("input"), input } } };
}

AgentEvent AgentEvent::toolResult(const QString& toolUseId, bool ok, const QString& preview)
{
    return { QStringLiteral("tool_result"),
        { { QStringLiteral("tool_use_id"), toolUseId }, { QStringLiteral("ok"), ok },
            { QStringLiteral("preview"), preview } } };
}

AgentEvent AgentEvent::pendingCard(const wire::PendingItem& item)
{
    return { QStringLiteral("pending_card"),
        { { QStringLiteral("pending_id"), item.id }, { QStringLiteral("domain"), item.domain },
            { QStringLiteral("payload"), wire::toJson(item.payload) },
            { QStringLiteral("source_text"), item.source_text.value_or(QString()) } } };
}

AgentEvent AgentEvent::proposedDelete(
    const QString& domain, qint64 targetId, const QString& preview, const QString& deleteEndpoint)
{
    return { QStringLiteral("proposed_delete"),
        { { QStringLiteral("domain"), domain }, { QStringLiteral("target_id"), targetId },
            { QStringLiteral("preview"), preview }, { QStringLiteral("delete_endpoint"), deleteEndpoint } } };
}

AgentEvent AgentEvent::queryResult(const QString& domain, const QString& title, const QString& summary,
    const std::vector<QJsonObject>& rows, const QString& idHint)
{
    QJsonArray array;
    for (const QJsonObject& row : rows)
        array.append(row);
    return { QStringLiteral("query_result"),
        { { QStringLiteral("domain"), domain }, { QStringLiteral("title"), title },
            { QStringLiteral("summary"), summary }, { QStringLiteral("rows"), array },
            { QStringLiteral("id_hint"), idHint } } };
}

AgentEvent AgentEvent::timeEffect(const QString& kind, const QString& activity, const QString& timestamp)
{
    return { QStringLiteral("time_effect"),
        { { QStringLiteral("kind"), kind }, { QStringLiteral("activity"), activity },
            { QStringLiteral("timestamp"), timestamp } } };
}

AgentEvent AgentEvent::rateLimit(int retryAfterSec)
{
    return { QStringLiteral("rate_limit"), { { QStringLiteral("retry_after_sec"), retryAfterSec } } };
}

AgentEvent AgentEvent::error(const QString& code, const QString& message)
{
    return { QStringLiteral("error"), { { QStringLiteral("code"), code }, { QStringLiteral("message"), message } } };
}

AgentEvent AgentEvent::result(const QString& reason, int iterations, double costUsd)
{
    return { QStringLiteral("result"),
        { { QStringLiteral("reason"), reason }, { QStringLiteral("iterations"), iterations },
            { QStringLiteral("cost_usd"), costUsd } } };
}

} // namespace lumen::agent

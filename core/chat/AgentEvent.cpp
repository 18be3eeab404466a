#include "AgentEvent.h"

namespace {

QVariant optionalVariant(const auto& value)
{
    return value ? QVariant::fromValue(*value) : QVariant();
}

QVariantMap anyDictMap(const wire::AnyDict& dict)
{
    QVariantMap out;
    for (const auto& [key, value] : dict)
        out.insert(key, value.toVariant());
    return out;
}

struct ToVariant {
    QVariantMap operator()(const AgentEvent::Session& e) const
    {
        return { { "sessionId", optionalVariant(e.sessionId) }, { "model", optionalVariant(e.model) } };
    }
    QVariantMap operator()(const AgentEvent::TextDelta& e) const { return { { "text", e.text } }; }
    QVariantMap operator()(const AgentEvent::ToolCallStart& e) const
    {
        QVariantMap input;
        for (const auto& [key, value] : e.input)
            input.insert(key, value.rawAny());
        return { { "toolUseId", e.toolUseId }, { "tool", e.tool }, { "input", input } };
    }
    QVariantMap operator()(const AgentEvent::ToolResult& e) const
    {
        return { { "toolUseId", e.toolUseId }, { "ok", e.ok }, { "preview", e.preview } };
    }
    QVariantMap operator()(const AgentEvent::PendingCard& e) const
    {
        return { { "pendingId", e.pendingId }, { "domain", e.domain }, { "kind", e.kind },
            { "payload", anyDictMap(e.payload) }, { "sourceText", e.sourceText } };
    }
    QVariantMap operator()(const AgentEvent::ProposedDelete& e) const
    {
        return { { "domain", e.domain }, { "targetId", e.targetId }, { "preview", e.preview },
            { "deleteEndpoint", e.deleteEndpoint } };
    }
    QVariantMap operator()(const QueryResultBlock& e) const
    {
        QVariantList rows;
        for (const auto& row : e.rows) {
            QVariantMap cells;
            for (const auto& [key, value] : row)
                cells.insert(key, value);
            rows.append(cells);
        }
        return { { "domain", e.domain }, { "title", e.title }, { "summary", e.summary }, { "rows", rows },
            { "idHint", e.idHint } };
    }
    QVariantMap operator()(const AgentEvent::TimeEffect& e) const
    {
        return { { "kind", e.kind }, { "activity", optionalVariant(e.activity) },
            { "timestamp", optionalVariant(e.timestamp) } };
    }
    QVariantMap operator()(const AgentEvent::RateLimited& e) const
    {
        return { { "retryAfterSec", optionalVariant(e.retryAfterSec) } };
    }
    QVariantMap operator()(const AgentEvent::Error& e) const
    {
        return { { "code", e.code }, { "message", e.message } };
    }
    QVariantMap operator()(const AgentEvent::Result& e) const
    {
        return { { "reason", optionalVariant(e.reason) }, { "iterations", optionalVariant(e.iterations) },
            { "costUsd", optionalVariant(e.costUsd) } };
    }
};

} // namespace

std::optional<TimeActivityEffect> AgentEvent::TimeEffect::activityEffect() const
{
    if (kind == QStringLiteral("started"))
        return TimeActivityEffect { TimeActivityEffect::Kind::Started, activity, timestamp };
    if (kind == QStringLiteral("stopped"))
        return TimeActivityEffect { TimeActivityEffect::Kind::Stopped, activity, timestamp };
    return std::nullopt;
}

bool AgentEvent::isTerminal() const
{
    const Kind k = kind();
    return k == Kind::Result || k == Kind::Error || k == Kind::RateLimited;
}

QString AgentEvent::typeName(Kind kind)
{
    switch (kind) {
    case Kind::Session:
        return QStringLiteral("session");
    case Kind::TextDelta:
        return QStringLiteral("text_delta");
    case Kind::ToolCallStart:
        return QStringLiteral("tool_call_start");
    case Kind::ToolResult:
        return QStringLiteral("tool_result");
    case Kind::PendingCard:
        return QStringLiteral("pending_card");
    case Kind::ProposedDelete:
        return QStringLiteral("proposed_delete");
    case Kind::QueryResult:
        return QStringLiteral("query_result");
    case Kind::TimeEffect:
        return QStringLiteral("time_effect");
    case Kind::RateLimited:
        return QStringLiteral("rate_limit");
    case Kind::Error:
        return QStringLiteral("error");
    case Kind::Result:
        return QStringLiteral("result");
    }
    return {};
}

QVariantMap AgentEvent::toVariantMap() const
{
    QVariantMap out = std::visit(ToVariant {}, m_value);
    out.insert(QStringLiteral("type"), typeName(kind()));
    return out;
}

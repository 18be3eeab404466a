#include "ChatEvent.h"

#include <QJsonObject>

namespace {

struct ToVariant {
    QVariantMap operator()(const ChatEvent::UserMessage& e) const { return { { "text", e.text } }; }
    QVariantMap operator()(const ChatEvent::PendingEmitted& e) const
    {
        return { { "item", wire::toJson(e.item).toObject().toVariantMap() }, { "assistantText", e.assistantText },
            { "sourceText", e.sourceText } };
    }
    QVariantMap operator()(const ChatEvent::AssistantText& e) const { return { { "text", e.text } }; }
    QVariantMap operator()(const ChatEvent::ErrorMessage& e) const { return { { "message", e.message } }; }
    QVariantMap operator()(const ChatEvent::QueryResult& e) const
    {
        QVariantList rows;
        for (const auto& row : e.block.rows) {
            QVariantMap cells;
            for (const auto& [key, value] : row)
                cells.insert(key, value);
            rows.append(cells);
        }
        return { { "domain", e.block.domain }, { "title", e.block.title }, { "summary", e.block.summary },
            { "rows", rows }, { "idHint", e.block.idHint } };
    }
    QVariantMap operator()(const ChatEvent::ProposedDelete& e) const
    {
        return { { "domain", e.domain }, { "targetId", e.targetId }, { "preview", e.preview },
            { "deleteEndpoint", e.deleteEndpoint }, { "status", ChatEvent::statusName(e.status) } };
    }
};

} // namespace

QString ChatEvent::typeName(Kind kind)
{
    switch (kind) {
    case Kind::UserMessage:
        return QStringLiteral("userMessage");
    case Kind::PendingEmitted:
        return QStringLiteral("pendingEmitted");
    case Kind::AssistantText:
        return QStringLiteral("assistantText");
    case Kind::ErrorMessage:
        return QStringLiteral("errorMessage");
    case Kind::QueryResult:
        return QStringLiteral("queryResult");
    case Kind::ProposedDelete:
        return QStringLiteral("proposedDelete");
    }
    return {};
}

QString ChatEvent::statusName(ProposedDeleteStatus status)
{
    switch (status) {
    case ProposedDeleteStatus::pending:
        return QStringLiteral("pending");
    case ProposedDeleteStatus::deleting:
        return QStringLiteral("deleting");
    case ProposedDeleteStatus::confirmed:
        return QStringLiteral("confirmed");
    case ProposedDeleteStatus::cancelled:
        return QStringLiteral("cancelled");
    }
    return {};
}

QVariantMap ChatEvent::toVariantMap() const
{
    QVariantMap out = std::visit(ToVariant {}, m_value);
    out.insert(QStringLiteral("id"), m_id.toString(QUuid::WithoutBraces).toUpper());
    out.insert(QStringLiteral("ts"), m_ts);
    out.insert(QStringLiteral("type"), typeName(kind()));
    return out;
}

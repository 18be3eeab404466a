#include "ChatSession.h"

#include "ChatSyncEncoding.h"

namespace {

constexpr qsizetype titleLength = 24;

QDateTime readTime(const wire::ObjectReader& in, const QString& key)
{
    const QDateTime parsed = ChatSyncEncoding::parseTimestamp(in.valueOr<QString>(key, QString()));
    if (!parsed.isValid())
        throw wire::DecodeError(wire::joinPath(in.path(), key), QStringLiteral("must be an ISO 8601 time"));
    return parsed;
}

} // namespace

QString ChatSession::deriveTitle(const QString& text)
{
    QString title = text.trimmed();
    title.replace(QLatin1Char('\n'), QLatin1Char(' '));
    return title.left(titleLength);
}

ChatSession ChatSession::makeDefault(const QDateTime& now, QString id)
{
    return ChatSession { std::move(id), QString(), ChatModel::sonnet(), now, now, false, false };
}

QVariantMap ChatSession::toVariantMap() const
{
    return { { "id", id }, { "title", title }, { "model", model.id() }, { "modelName", model.displayName() },
        { "createdAt", createdAt }, { "lastActiveAt", lastActiveAt }, { "isPinned", isPinned },
        { "isArchived", isArchived } };
}

ChatSession ChatSession::fromJson(const wire::ObjectReader& in)
{
    ChatSession session;
    session.id = in.required<QString>("id");
    session.title = in.valueOr<QString>("title", QString());
    session.model = ChatModel::fromId(in.valueOr<QString>("model", QString())).value_or(ChatModel::sonnet());
    session.createdAt = readTime(in, "createdAt");
    session.lastActiveAt = readTime(in, "lastActiveAt");
    session.isPinned = in.valueOr<bool>("isPinned", false);
    session.isArchived = in.valueOr<bool>("isArchived", false);
    return session;
}

void ChatSession::writeJson(wire::ObjectWriter& out) const
{
    out.set("id", id)
        .set("title", title)
        .set("model", model.id())
        .set("createdAt", ChatSyncEncoding::timestamp(createdAt))
        .set("lastActiveAt", ChatSyncEncoding::timestamp(lastActiveAt))
        .set("isPinned", isPinned)
        .set("isArchived", isArchived);
}

SessionsIndex SessionsIndex::fromJson(const wire::ObjectReader& in)
{
    return { in.required<std::vector<ChatSession>>("sessions"), in.optional<QString>("activeSessionId"),
        in.valueOr<int>("schemaVersion", currentSchemaVersion) };
}

void SessionsIndex::writeJson(wire::ObjectWriter& out) const
{
    out.set("sessions", sessions).set("activeSessionId", activeSessionId).set("schemaVersion", schemaVersion);
}

#include "ChatSessionService.h"

#include "ApiError.h"
#include "db/Database.h"
#include "db/Transaction.h"

#include <QJsonDocument>
#include <QUuid>

#include <algorithm>

namespace lumen {

namespace {

const QString kNoSession = QStringLiteral("会话不存在");
const QString kUserMessage = QStringLiteral("user_message");
constexpr int kMaxIdLength = 128;
constexpr int kMaxTitleLength = 200;
constexpr int kMaxModelLength = 64;
constexpr int kMaxTsLength = 64;
constexpr qsizetype kMaxContentBytes = 64 * 1024;

#define SESSION_COLUMNS "client_id, title, model, cli_session_id, is_pinned, is_archived, created_at, last_active_at"

bool isMessageKind(const QString& kind)
{
    static const QStringList kinds { kUserMessage, QStringLiteral("assistant_text"), QStringLiteral("error"),
        QStringLiteral("pending_emitted"), QStringLiteral("query_result") };
    return kinds.contains(kind);
}

// Ids travel in paths and are compared exactly: no blanks at the ends, no slash, no control characters.
bool isUsableId(const QString& id)
{
    if (id.isEmpty() || id.size() > kMaxIdLength || id.trimmed() != id)
        return false;
    return std::none_of(
        id.begin(), id.end(), [](QChar c) { return c == u'/' || c.category() == QChar::Other_Control; });
}

QString checkedSessionId(const QString& id)
{
    if (id.trimmed().isEmpty())
        throw ApiError::unprocessable(QStringLiteral("会话 id 不能为空"));
    if (id.size() > kMaxIdLength)
        throw ApiError::unprocessable(QStringLiteral("会话 id 最多 %1 个字符").arg(kMaxIdLength));
    if (!isUsableId(id))
        throw ApiError::unprocessable(QStringLiteral("会话 id 不能含有斜杠、控制字符或首尾空白"));
    return id;
}

std::optional<QString> checkedText(const std::optional<QString>& value, int maxLength, const QString& what)
{
    if (value && value->size() > maxLength)
        throw ApiError::unprocessable(QStringLiteral("%1最多 %2 个字符").arg(what).arg(maxLength));
    return value;
}

QString checkedInstant(const QString& text)
{
    QDateTime time = QDateTime::fromString(text.trimmed(), Qt::ISODateWithMs);
    if (!time.isValid())
        throw ApiError::unprocessable(
            QStringLiteral("last_active_at 应为 ISO 8601 时间，例如 2026-11-21T09:30:00.000Z：%1").arg(text.left(40)));
    return ChatSessionService::timestamp(time);
}

void checkMessage(const wire::ChatMessageCreate& message)
{
    if (message.id.trimmed().isEmpty())
        throw ApiError::unprocessable(QStringLiteral("消息 id 不能为空"));
    if (message.id.size() > kMaxIdLength)
        throw ApiError::unprocessable(QStringLiteral("消息 id 最多 %1 个字符").arg(kMaxIdLength));
    if (!isMessageKind(message.kind))
        throw ApiError::unprocessable(QStringLiteral("不支持的消息类型：%1").arg(message.kind.left(40)));
    const QString role = message.kind == kUserMessage ? QStringLiteral("user") : QStringLiteral("assistant");
    if (message.role != role)
        throw ApiError::unprocessable(QStringLiteral("%1 消息的 role 应为 %2").arg(message.kind, role));
    if (message.content.isEmpty())
        throw ApiError::unprocessable(QStringLiteral("消息内容不能为空"));
    if (message.content.toUtf8().size() > kMaxContentBytes)
        throw ApiError::unprocessable(QStringLiteral("消息内容过长（上限 %1 KB）").arg(kMaxContentBytes / 1024));
    if (message.ts.trimmed().isEmpty())
        throw ApiError::unprocessable(QStringLiteral("消息时间 ts 不能为空"));
    if (message.ts.size() > kMaxTsLength)
        throw ApiError::unprocessable(QStringLiteral("消息时间 ts 过长"));
}

wire::ChatSessionDTO sessionRow(db::Statement& query)
{
    wire::ChatSessionDTO session;
    session.id = query.text(0);
    session.title = query.optionalText(1);
    session.model = query.optionalText(2);
    session.cli_session_id = query.optionalText(3);
    session.is_pinned = query.integer(4) != 0;
    session.is_archived = query.integer(5) != 0;
    session.created_at = query.text(6);
    session.last_active_at = query.text(7);
    return session;
}

} // namespace

ChatSessionService::ChatSessionService(db::Database& database, std::shared_ptr<Clock> clock)
    : m_database(database)
    , m_clock(std::move(clock))
{
}

QString ChatSessionService::timestamp(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODateWithMs);
}

std::optional<qint64> ChatSessionService::rowOf(db::Connection& connection, qint64 userId, const QString& id)
{
    if (!isUsableId(id))
        return std::nullopt;
    auto query = connection.prepare("SELECT id FROM chat_sessions WHERE user_id = :user AND client_id = :id");
    query.bind(":user", userId).bind(":id", id);
    if (!query.step())
        return std::nullopt;
    return query.integer(0);
}

qint64 ChatSessionService::requireRow(db::Connection& connection, qint64 userId, const QString& id)
{
    if (const auto row = rowOf(connection, userId, id))
        return *row;
    throw ApiError::notFound(kNoSession);
}

wire::ChatSessionDTO ChatSessionService::sessionIn(db::Connection& connection, qint64 row)
{
    auto query = connection.prepare("SELECT " SESSION_COLUMNS " FROM chat_sessions WHERE id = :row");
    query.bind(":row", row);
    if (!query.step())
        throw ApiError::notFound(kNoSession);
    return sessionRow(query);
}

std::vector<wire::ChatSessionDTO> ChatSessionService::list(qint64 userId)
{
    auto query = m_database.connection().prepare("SELECT " SESSION_COLUMNS " FROM chat_sessions WHERE user_id = :user "
                                                 "ORDER BY last_active_at DESC, created_at DESC, id DESC");
    query.bind(":user", userId);
    std::vector<wire::ChatSessionDTO> sessions;
    while (query.step())
        sessions.push_back(sessionRow(query));
    return sessions;
}

std::pair<wire::ChatSessionDTO, bool> ChatSessionService::create(qint64 userId, const wire::ChatSessionCreate& request)
{
    const QString id = checkedSessionId(request.id);
    const auto title = checkedText(request.title, kMaxTitleLength, QStringLiteral("标题"));
    const auto model = checkedText(request.model, kMaxModelLength, QStringLiteral("模型名"));
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    if (const auto existing = rowOf(connection, userId, id))
        return { sessionIn(connection, *existing), false };
    const QString now = timestamp(m_clock->now());
    connection
        .prepare("INSERT INTO chat_sessions (user_id, client_id, title, model, created_at, last_active_at) "
                 "VALUES (:user, :id, :title, :model, :now, :now)")
        .bind(":user", userId)
        .bind(":id", id)
        .bind(":title", title)
        .bind(":model", model)
        .bind(":now", now)
        .run();
    wire::ChatSessionDTO session = sessionIn(connection, connection.lastInsertId());
    transaction.commit();
    return { session, true };
}

wire::ChatSessionDTO ChatSessionService::update(qint64 userId, const QString& id, const wire::ChatSessionPatch& patch)
{
    const auto title = checkedText(patch.title, kMaxTitleLength, QStringLiteral("标题"));
    const auto model = checkedText(patch.model, kMaxModelLength, QStringLiteral("模型名"));
    const auto resumeId = checkedText(patch.cli_session_id, kMaxIdLength, QStringLiteral("cli_session_id "));
    const std::optional<QString> lastActive
        = patch.last_active_at ? std::optional<QString>(checkedInstant(*patch.last_active_at)) : std::nullopt;
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const qint64 row = requireRow(connection, userId, id);
    // Each present field replaces the stored one; an absent one keeps it (COALESCE over a NULL bind).
    auto statement = connection.prepare(
        "UPDATE chat_sessions SET title = COALESCE(:title, title), model = COALESCE(:model, model), "
        "cli_session_id = CASE WHEN :has_resume THEN NULLIF(:resume, '') ELSE cli_session_id END, "
        "is_pinned = COALESCE(:pinned, is_pinned), is_archived = COALESCE(:archived, is_archived), "
        "last_active_at = COALESCE(:active, last_active_at) WHERE id = :row");
    statement.bind(":title", title)
        .bind(":model", model)
        .bind(":has_resume", resumeId.has_value() ? 1 : 0)
        .bind(":resume", resumeId.value_or(QString()))
        .bind(":active", lastActive)
        .bind(":row", row);
    if (patch.is_pinned)
        statement.bind(":pinned", *patch.is_pinned ? 1 : 0);
    else
        statement.bindNull(":pinned");
    if (patch.is_archived)
        statement.bind(":archived", *patch.is_archived ? 1 : 0);
    else
        statement.bindNull(":archived");
    statement.run();
    wire::ChatSessionDTO session = sessionIn(connection, row);
    transaction.commit();
    return session;
}

void ChatSessionService::remove(qint64 userId, const QString& id)
{
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const qint64 row = requireRow(connection, userId, id);
    connection.prepare("DELETE FROM chat_messages WHERE session_id = :row").bind(":row", row).run();
    connection.prepare("DELETE FROM chat_sessions WHERE id = :row").bind(":row", row).run();
    transaction.commit();
}

std::vector<wire::ChatMessageDTO> ChatSessionService::messages(qint64 userId, const QString& id, int limit)
{
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection, db::Transaction::Mode::Read);
    const qint64 row = requireRow(connection, userId, id);
    auto query = connection.prepare("SELECT client_id, seq, role, kind, content, ts FROM ("
                                    "SELECT client_id, seq, role, kind, content, ts FROM chat_messages "
                                    "WHERE session_id = :row ORDER BY seq DESC LIMIT :limit) ORDER BY seq");
    query.bind(":row", row).bind(":limit", std::clamp(limit, 1, maxMessageLimit));
    std::vector<wire::ChatMessageDTO> messages;
    while (query.step()) {
        messages.push_back(
            { query.text(0), int(query.integer(1)), query.text(2), query.text(3), query.text(4), query.text(5) });
    }
    transaction.commit();
    return messages;
}

int ChatSessionService::insertMessage(db::Connection& connection, qint64 row, const wire::ChatMessageCreate& message)
{
    {
        auto known = connection.prepare("SELECT seq FROM chat_messages WHERE session_id = :row AND client_id = :id");
        known.bind(":row", row).bind(":id", message.id);
        if (known.step())
            return int(known.integer(0));
    }
    int seq = 0;
    {
        auto counter = connection.prepare("SELECT next_seq FROM chat_sessions WHERE id = :row");
        counter.bind(":row", row);
        if (!counter.step())
            throw ApiError::notFound(kNoSession);
        seq = int(counter.integer(0));
    }
    connection.prepare("UPDATE chat_sessions SET next_seq = :next WHERE id = :row")
        .bind(":next", seq + 1)
        .bind(":row", row)
        .run();
    connection
        .prepare("INSERT INTO chat_messages (session_id, client_id, seq, role, kind, content, ts, created_at) "
                 "VALUES (:row, :id, :seq, :role, :kind, :content, :ts, :now)")
        .bind(":row", row)
        .bind(":id", message.id)
        .bind(":seq", seq)
        .bind(":role", message.role)
        .bind(":kind", message.kind)
        .bind(":content", message.content)
        .bind(":ts", message.ts)
        .bind(":now", m_clock->nowSecs())
        .run();
    return seq;
}

int ChatSessionService::post(qint64 userId, const QString& id, const wire::ChatMessageCreate& message)
{
    checkMessage(message);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const int seq = insertMessage(connection, requireRow(connection, userId, id), message);
    transaction.commit();
    return seq;
}

void ChatSessionService::clear(qint64 userId, const QString& id)
{
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const qint64 row = requireRow(connection, userId, id);
    connection.prepare("DELETE FROM chat_messages WHERE session_id = :row").bind(":row", row).run();
    transaction.commit();
}

std::optional<QString> ChatSessionService::resumeIdOf(qint64 userId, const QString& id)
{
    db::Connection& connection = m_database.connection();
    const auto row = rowOf(connection, userId, id);
    if (!row)
        return std::nullopt;
    auto query = connection.prepare("SELECT cli_session_id FROM chat_sessions WHERE id = :row");
    query.bind(":row", *row);
    return query.step() ? query.optionalText(0) : std::nullopt;
}

void ChatSessionService::noteResumeId(qint64 userId, const QString& id, const QString& resumeId)
{
    if (resumeId.isEmpty() || resumeId.size() > kMaxIdLength || !isUsableId(id))
        return;
    m_database.connection()
        .prepare("UPDATE chat_sessions SET cli_session_id = :resume "
                 "WHERE user_id = :user AND client_id = :id AND cli_session_id IS NOT :resume")
        .bind(":resume", resumeId)
        .bind(":user", userId)
        .bind(":id", id)
        .run();
}

int ChatSessionService::appendLines(qint64 userId, const QString& id, const std::vector<ChatLogLine>& lines)
{
    if (lines.empty())
        return 0;
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const auto row = rowOf(connection, userId, id);
    if (!row)
        return 0;
    const QString ts = timestamp(m_clock->now());
    for (const ChatLogLine& line : lines) {
        // The same shape as a line the client logs itself: its fields plus id, ts and type.
        QJsonObject content = line.fields;
        const QString messageId = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
        content.insert(QStringLiteral("id"), messageId);
        content.insert(QStringLiteral("ts"), ts);
        content.insert(QStringLiteral("type"), line.kind);
        const wire::ChatMessageCreate message { messageId,
            line.kind == kUserMessage ? QStringLiteral("user") : QStringLiteral("assistant"), line.kind,
            QString::fromUtf8(QJsonDocument(content).toJson(QJsonDocument::Compact)), ts };
        insertMessage(connection, *row, message);
    }
    transaction.commit();
    return int(lines.size());
}

} // namespace lumen

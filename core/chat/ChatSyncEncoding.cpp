#include "ChatSyncEncoding.h"

#include <QJsonDocument>
#include <QtEndian>

namespace ChatSyncEncoding {

namespace {

const QString kUserMessage = QStringLiteral("user_message");
const QString kAssistantText = QStringLiteral("assistant_text");
const QString kError = QStringLiteral("error");
const QString kPendingEmitted = QStringLiteral("pending_emitted");
const QString kQueryResult = QStringLiteral("query_result");

QString stringField(const QJsonObject& object, const QString& key, const QString& fallback = {})
{
    const QJsonValue value = object.value(key);
    return value.isString() ? value.toString() : fallback;
}

} // namespace

bool isSyncableMessageKind(const QString& kind)
{
    return kind == kUserMessage || kind == kAssistantText || kind == kError || kind == kPendingEmitted
        || kind == kQueryResult;
}

QString roleFor(const QString& kind)
{
    return kind == kUserMessage ? QStringLiteral("user") : QStringLiteral("assistant");
}

QString canonicalJSON(const QJsonObject& object)
{
    // QJsonObject keeps its keys sorted, so the compact form is already canonical.
    const QByteArray bytes = QJsonDocument(object).toJson(QJsonDocument::Compact);
    return bytes.isEmpty() ? QStringLiteral("{}") : QString::fromUtf8(bytes);
}

quint64 fnv1a(const QByteArray& bytes, quint64 seed)
{
    quint64 hash = seed;
    for (const char byte : bytes) {
        hash ^= quint64(quint8(byte));
        hash *= fnvPrime;
    }
    return hash;
}

QString stableId(const QString& sessionId, const QString& content, const QString& ts)
{
    QByteArray bytes = sessionId.toUtf8();
    bytes.append('\x01');
    bytes.append(ts.toUtf8());
    bytes.append('\x01');
    bytes.append(content.toUtf8());
    return QStringLiteral("mig-") + QString::number(fnv1a(bytes), 16);
}

QUuid uuidForStableString(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    QByteArray raw(16, '\0');
    qToLittleEndian(fnv1a(bytes, fnvOffsetBasis), raw.data());
    qToLittleEndian(fnv1a(bytes, fnvSwappedBasis), raw.data() + 8);
    return QUuid::fromRfc4122(raw);
}

std::optional<wire::ChatMessageCreate> messageFromJSONLLine(
    const QString& line, const QString& sessionId, const QDateTime& now)
{
    const QJsonDocument document = QJsonDocument::fromJson(line.toUtf8());
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    const QString kind = stringField(object, QStringLiteral("type"));
    if (!isSyncableMessageKind(kind))
        return std::nullopt;
    const QString ts = stringField(object, QStringLiteral("ts"), timestamp(now));
    const QString content = canonicalJSON(object);
    QString id = stringField(object, QStringLiteral("id"));
    if (id.isEmpty())
        id = stableId(sessionId, content, ts);
    return wire::ChatMessageCreate { id, roleFor(kind), kind, content, ts };
}

std::optional<QString> pendingId(const wire::ChatMessageDTO& message)
{
    if (message.kind != kPendingEmitted)
        return std::nullopt;
    const QJsonValue value = contentObject(message.content).value(QStringLiteral("pending_id"));
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

std::optional<ChatEvent> event(const wire::ChatMessageDTO& message, const QDateTime& fallbackTs)
{
    const QJsonObject content = contentObject(message.content);
    const QUuid id = uuidForStableString(message.id);
    QDateTime ts = parseTimestamp(message.ts);
    if (!ts.isValid())
        ts = fallbackTs;
    if (message.kind == kUserMessage)
        return ChatEvent(id, ts, ChatEvent::UserMessage { stringField(content, QStringLiteral("text")) });
    if (message.kind == kAssistantText)
        return ChatEvent(id, ts, ChatEvent::AssistantText { stringField(content, QStringLiteral("text")) });
    if (message.kind == kError)
        return ChatEvent(id, ts, ChatEvent::ErrorMessage { stringField(content, QStringLiteral("message")) });
    if (message.kind == kQueryResult) {
        QueryResultBlock block;
        block.domain = stringField(content, QStringLiteral("domain"), QStringLiteral("finance"));
        block.title = stringField(content, QStringLiteral("title"), QStringLiteral("查询结果"));
        block.summary = stringField(content, QStringLiteral("summary"));
        return ChatEvent(id, ts, ChatEvent::QueryResult { block });
    }
    return std::nullopt;
}

QString timestamp(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODateWithMs);
}

QDateTime parseTimestamp(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return {};
    QDateTime parsed = QDateTime::fromString(trimmed, Qt::ISODateWithMs);
    if (!parsed.isValid())
        parsed = QDateTime::fromString(trimmed, Qt::ISODate);
    return parsed;
}

QString uuidText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QJsonObject contentObject(const QString& content)
{
    const QJsonDocument document = QJsonDocument::fromJson(content.toUtf8());
    return document.isObject() ? document.object() : QJsonObject();
}

} // namespace ChatSyncEncoding

#pragma once

// Pure functions between the local chat log, the server's message list and the events on
// screen. The ids made here must come out the same on every machine, byte for byte.

#include "ChatEvent.h"

#include "chat/ChatSessionModels.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QUuid>

#include <optional>

namespace ChatSyncEncoding {

inline constexpr quint64 fnvOffsetBasis = 0xcbf29ce484222325ULL;
inline constexpr quint64 fnvPrime = 0x100000001b3ULL;
// The offset basis with its 32-bit halves swapped: the seed of the second half of a uuid.
inline constexpr quint64 fnvSwappedBasis = 0x84222325cbf29ce4ULL;

// The kinds that go to the server; tool steps and card outcomes stay in the local log.
bool isSyncableMessageKind(const QString& kind);
// "user" for "user_message", otherwise "assistant".
QString roleFor(const QString& kind);
// Compact JSON, keys sorted.
QString canonicalJSON(const QJsonObject& object);

// 64-bit FNV-1a over `bytes`, starting from `seed`.
quint64 fnv1a(const QByteArray& bytes, quint64 seed = fnvOffsetBasis);
// "mig-" and the FNV-1a hash of sessionId, 0x01, ts, 0x01, content in lower-case hex: the id
// of a log line that was written without one.
QString stableId(const QString& sessionId, const QString& content, const QString& ts);
// Two FNV-1a passes (offset basis, swapped basis), each laid down little-endian: the event
// id of a server message, the same on every rebuild and machine.
QUuid uuidForStableString(const QString& text);

// A log line as the server message it stands for; nothing for a line that is not a JSON
// object or not of a syncable kind. `now` stands in for a missing `ts`.
std::optional<wire::ChatMessageCreate> messageFromJSONLLine(
    const QString& line, const QString& sessionId, const QDateTime& now);
// The card id a "pending_emitted" message refers to.
std::optional<QString> pendingId(const wire::ChatMessageDTO& message);
// The event a server message shows as; nothing for cards (they need their item) and for
// kinds without a form on screen. `fallbackTs` stands in for a `ts` that does not read.
std::optional<ChatEvent> event(const wire::ChatMessageDTO& message, const QDateTime& fallbackTs);

// The one text form of times in the log and on the server: UTC with milliseconds, so that
// text order is time order.
QString timestamp(const QDateTime& time);
// An ISO 8601 instant with or without fractional seconds; invalid when it does not read.
QDateTime parseTimestamp(const QString& text);
// A UUID as the log writes it: upper case, no braces.
QString uuidText(const QUuid& id);
// The content of a message as an object; empty for text that is not a JSON object.
QJsonObject contentObject(const QString& content);

} // namespace ChatSyncEncoding

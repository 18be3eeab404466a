#pragma once

#include "Clock.h"

#include "chat/ChatSessionModels.h"

#include <QDateTime>
#include <QJsonObject>
#include <QString>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace lumen {

namespace db {
class Connection;
class Database;
} // namespace db

// A line of a client's chat log, before it has an id and a time: its kind ("assistant_text",
// "pending_emitted" ...) and its fields, all strings.
struct ChatLogLine {
    QString kind;
    QJsonObject fields;

    bool operator==(const ChatLogLine&) const = default;
};

// Each user's chat sessions and the server's copy of their messages. A session is known by
// the id its client chose, within its user: another user's session is told not to exist.
// Messages are numbered per session by a counter that never goes back, and a message id the
// session already holds is stored once, so re-sent messages never duplicate.
class ChatSessionService {
public:
    static constexpr int defaultMessageLimit = 400;
    static constexpr int maxMessageLimit = 1000;

    ChatSessionService(db::Database& database, std::shared_ptr<Clock> clock);

    // Every session of the user, archived ones too, the most recently active first.
    std::vector<wire::ChatSessionDTO> list(qint64 userId);
    // The session, and whether it was made now: an id the user already holds answers that
    // session unchanged, so a retried create neither fails nor forks.
    std::pair<wire::ChatSessionDTO, bool> create(qint64 userId, const wire::ChatSessionCreate& request);
    // Changes the fields present only.
    wire::ChatSessionDTO update(qint64 userId, const QString& id, const wire::ChatSessionPatch& patch);
    // The session and all its messages.
    void remove(qint64 userId, const QString& id);

    // The newest `limit` messages (clamped to 1..maxMessageLimit), oldest of them first.
    std::vector<wire::ChatMessageDTO> messages(qint64 userId, const QString& id, int limit);
    // The message's seq: a new one, or the one it already had when the id is known.
    int post(qint64 userId, const QString& id, const wire::ChatMessageCreate& message);
    // Empties the session; its numbering goes on where it was.
    void clear(qint64 userId, const QString& id);

    // The agent's resume id stored on the session; nothing for a session the user does not hold.
    std::optional<QString> resumeIdOf(qint64 userId, const QString& id);
    // Stores the resume id on the session when the user holds it; otherwise does nothing.
    void noteResumeId(qint64 userId, const QString& id, const QString& resumeId);
    // Writes the lines as assistant messages of the session, each with a new id and the time now,
    // in one transaction. Returns how many were written: none when the user holds no such session.
    int appendLines(qint64 userId, const QString& id, const std::vector<ChatLogLine>& lines);

    // The one text form of times in chat logs: UTC with milliseconds and "Z", so text order is time order.
    static QString timestamp(const QDateTime& time);

private:
    std::optional<qint64> rowOf(db::Connection& connection, qint64 userId, const QString& id);
    qint64 requireRow(db::Connection& connection, qint64 userId, const QString& id);
    wire::ChatSessionDTO sessionIn(db::Connection& connection, qint64 row);
    int insertMessage(db::Connection& connection, qint64 row, const wire::ChatMessageCreate& message);

    db::Database& m_database;
    std::shared_ptr<Clock> m_clock;
};

} // namespace lumen

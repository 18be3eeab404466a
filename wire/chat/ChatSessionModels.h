#pragma once

// Records of /chat/sessions and /chat/sessions/{id}/messages: the chat list and the
// server's copy of each conversation, shared by every machine of the user.

#include "json/JsonCoding.h"

#include <optional>

namespace wire {

// One chat session as the server keeps it. Dates are ISO 8601 instants.
struct ChatSessionDTO {
    QString id; // chosen by the client that made the session (an upper-case UUID or "default")
    std::optional<QString> title;
    std::optional<QString> model; // "haiku", "sonnet" or "opus"
    std::optional<QString> cli_session_id; // the agent's resume id of this conversation
    bool is_pinned = false;
    bool is_archived = false;
    std::optional<QString> created_at;
    std::optional<QString> last_active_at;

    bool operator==(const ChatSessionDTO&) const = default;
    static ChatSessionDTO fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

// POST /chat/sessions. An id the user already holds answers the existing session unchanged.
struct ChatSessionCreate {
    QString id;
    std::optional<QString> title;
    std::optional<QString> model;

    bool operator==(const ChatSessionCreate&) const = default;
    static ChatSessionCreate fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

// PATCH /chat/sessions/{id}: only the fields present change.
struct ChatSessionPatch {
    std::optional<QString> title;
    std::optional<QString> model;
    std::optional<QString> cli_session_id;
    std::optional<bool> is_pinned;
    std::optional<bool> is_archived;
    std::optional<QString> last_active_at;

    bool operator==(const ChatSessionPatch&) const = default;
    static ChatSessionPatch fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

// One message of a session's server copy. `content` is the whole log line of the message
// as compact JSON with sorted keys ({"id","text","ts","type"} for a text); `seq` rises by
// one per accepted message within a session.
struct ChatMessageDTO {
    QString id;
    int seq = 0;
    QString role; // "user" for kind "user_message", "assistant" otherwise
    QString kind; // "user_message", "assistant_text", "error", "pending_emitted", "query_result"
    QString content;
    QString ts;

    bool operator==(const ChatMessageDTO&) const = default;
    static ChatMessageDTO fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

// POST /chat/sessions/{id}/messages. The id is the client's; posting an id the session
// already holds stores nothing and answers the seq it has.
struct ChatMessageCreate {
    QString id;
    QString role;
    QString kind;
    QString content;
    QString ts;

    bool operator==(const ChatMessageCreate&) const = default;
    static ChatMessageCreate fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct ChatMessagePostResult {
    bool ok = false;
    std::optional<int> seq;

    bool operator==(const ChatMessagePostResult&) const = default;
    static ChatMessagePostResult fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

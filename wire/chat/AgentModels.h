#pragma once

// The body of POST /agent/chat. The stream that answers it is read event by event, not
// decoded as a record.

#include "json/JsonCoding.h"

namespace wire {

struct AgentImage {
    QString media_type;
    QString base64;

    bool operator==(const AgentImage&) const = default;
    static AgentImage fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct AgentChatRequest {
    QString message;
    std::optional<QString> session_id; // the agent's own resume id
    std::optional<QString> chat_session_id; // the client's chat session
    std::optional<QString> model;
    std::optional<std::vector<AgentImage>> images; // left out when there is none

    bool operator==(const AgentChatRequest&) const = default;
    static AgentChatRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

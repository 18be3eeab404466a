#pragma once

#include "AgentEvent.h"

#include "services/ChatSessionService.h"

#include <QTimeZone>

#include <vector>

namespace lumen::agent {

// What the desktop client writes to its chat log, and posts to the server, for the events of
// a turn: text gathers in a buffer that a tool step or the result turns into an
// "assistant_text"; a card takes the buffer along as its "pending_emitted"; a query result,
// a proposed delete and an error drop it; a time effect becomes a line of its own; the turn
// stops at its result, error or rate limit.
class ClientLogLines {
public:
    // The lines for events[heard..], for a client that heard the events before those (its
    // buffer then already holds the text it heard since its last line). `zone` is where the
    // clock of a time effect is read.
    static std::vector<ChatLogLine> unheard(
        const std::vector<AgentEvent>& events, std::size_t heard, const QTimeZone& zone);

    // "▶️ 开始 coding · 09:30" or "⏹ 结束 coding · 10:15", as the client shows a time effect.
    static QString timeEffectText(const QJsonObject& effect, const QTimeZone& zone);
};

} // namespace lumen::agent

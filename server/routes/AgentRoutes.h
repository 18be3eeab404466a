#pragma once

#include "RouteSupport.h"

namespace lumen::routes {

// POST /agent/chat (AgentChatRequest) → text/event-stream: session, then the turn's events
// (text_delta, tool_call_start, tool_result, pending_card, proposed_delete, query_result,
// time_effect), then result or error (or rate_limit alone), then "data: [DONE]".
void registerAgentRoutes(httplib::Server& server, RouteContext& context);

} // namespace lumen::routes

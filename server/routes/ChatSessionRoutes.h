#pragma once

#include "RouteSupport.h"

namespace lumen::routes {

// The signed-in user's chat sessions and the server's copy of their messages:
//   GET, POST /chat/sessions                  PATCH, DELETE /chat/sessions/{id}
//   GET /chat/sessions/{id}/messages?limit    POST, DELETE /chat/sessions/{id}/messages
void registerChatSessionRoutes(httplib::Server& server, RouteContext& context);

} // namespace lumen::routes

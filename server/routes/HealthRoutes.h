#pragma once

#include "RouteSupport.h"

namespace lumen::routes {

// GET /health: no token; an object of strings.
void registerHealthRoutes(httplib::Server& server, RouteContext& context);

} // namespace lumen::routes

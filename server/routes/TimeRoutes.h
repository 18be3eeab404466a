#pragma once

#include "RouteSupport.h"

namespace lumen::routes {

// The time ledger of the signed-in user:
//   GET /time/current → TimeCurrent          POST /time/start, /time/stop
//   GET /time/list?limit&date&confirmed      GET /time/summary?from&to
//   POST /time/manual                        PATCH, DELETE /time/{id}; POST /time/{id}/delete
//   GET, POST /time/categories               PATCH, DELETE /time/categories/{id}
void registerTimeRoutes(httplib::Server& server, RouteContext& context);

} // namespace lumen::routes

#pragma once

#include "RouteSupport.h"

namespace lumen::routes {

// Proposals of the signed-in user:
//   POST /pending (PendingCreate) → PendingItem     GET /pending?status=pending&domain= → [PendingItem]
//   GET /pending/{id}, PATCH /pending/{id} (PendingUpdate), POST /pending/{id}/commit, /reject → PendingItem
void registerPendingRoutes(httplib::Server& server, RouteContext& context);

} // namespace lumen::routes

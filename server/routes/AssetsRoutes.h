#pragma once

#include "RouteSupport.h"

namespace lumen::routes {

// GET /assets/list → AssetsListResponse; GET /assets/{slug} → AssetItem.
void registerAssetsRoutes(httplib::Server& server, RouteContext& context);

} // namespace lumen::routes

#pragma once

#include "RouteSupport.h"

namespace lumen::routes {

// The part of /finance this server answers so far: deleting a line the agent proposed to
// delete, and the household's own category words.
//   POST /finance/transactions/{id}/delete → GenericOK
//   GET /finance/keywords → [FinanceKeyword]; POST /finance/keywords (FinanceKeywordCreate) → FinanceKeyword;
//   DELETE /finance/keywords/{id} → GenericOK
void registerFinanceRoutes(httplib::Server& server, RouteContext& context);

} // namespace lumen::routes

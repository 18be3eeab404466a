#pragma once

#include "RouteSupport.h"

namespace lumen::routes {

// /auth: login, logout, me, and the owner's relations.
//   POST   /auth/login               LoginRequest → LoginResponse
//   POST   /auth/logout              revokes the presented token → {"ok":true}
//   GET    /auth/me                  → UserProfile with relations (always present, maybe empty)
//   POST   /auth/relations           AddRelationRequest → {"ok":true,"household_id":H,"member":Relation}
//   DELETE /auth/relations/{id}      → {"ok":true}
//   POST   /auth/relations/transfer  TransferOwnerRequest
//                                    → {"ok":true,"household_id":H,"owner_id":M,"previous_owner_id":O}
void registerAuthRoutes(httplib::Server& server, RouteContext& context);

} // namespace lumen::routes

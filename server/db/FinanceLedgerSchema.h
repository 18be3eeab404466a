#pragma once

namespace lumen::db {

// The household ledger in exact amounts, its categories and the lines awaiting review.
extern const char* const kFinanceLedgerSchema;

} // namespace lumen::db

#pragma once

#include <vector>

namespace lumen::db {

// One step of the schema. Versions rise strictly; a released step is never edited, only
// followed by a new one appended to the list.
struct Migration {
    int version;
    const char* name;
    const char* sql;
};

const std::vector<Migration>& migrations();

} // namespace lumen::db

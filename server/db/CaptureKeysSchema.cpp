#include "CaptureKeysSchema.h"

namespace lumen::db {

// A key outlives its entry: a segment resent after the user deleted its entry stays deleted.
const char* const kCaptureKeysSchema = R"sql(
CREATE TABLE time_capture_keys (
    user_id      INTEGER NOT NULL REFERENCES users(id),
    client_key   TEXT    NOT NULL,
    entry_id     INTEGER NOT NULL,
    duration_min REAL,
    created_at   INTEGER NOT NULL,
    PRIMARY KEY (user_id, client_key)
);
)sql";

} // namespace lumen::db

#pragma once

namespace lumen::db {

// The keys a capture client gives its segments, so that a segment sent again is not booked twice.
extern const char* const kCaptureKeysSchema;

} // namespace lumen::db

#pragma once

#include <QString>

namespace mintbridge {

// The relay's one bearer token: random, kept in a file only its owner can read.
class RelayToken {
public:
    // The token in `path`, trimmed. A missing or blank file gets a new random token, written
    // with mode 0600 in a 0700 folder. Throws std::runtime_error when neither works.
    static QString loadOrCreate(const QString& path);
    // 32 random bytes from the system's generator, as URL-safe base64 without padding.
    static QString generate();
    // Compares in time that does not depend on where the two differ.
    static bool matches(const QString& presented, const QString& expected);
};

} // namespace mintbridge

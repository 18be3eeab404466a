#pragma once

#include "Clock.h"

#include <QString>

#include <memory>
#include <optional>

namespace lumen {

namespace db {
class Connection;
class Database;
} // namespace db

// The user a bearer token speaks for.
struct AuthUser {
    qint64 userId = 0;
    qint64 tokenId = 0;
    QString username;
    QString displayName;
    std::optional<QString> avatarUrl;
};

// Bearer tokens: 32 random bytes handed out once, kept only as a BLAKE2b hash.
class TokenService {
public:
    TokenService(db::Database& database, std::shared_ptr<Clock> clock);

    // A fresh token for the user, written inside the caller's transaction if one is open.
    QString issue(db::Connection& connection, qint64 userId);
    QString issue(qint64 userId);
    // The token's user, or nothing when it is unknown or revoked.
    std::optional<AuthUser> authenticate(const QString& token);
    void revoke(qint64 tokenId);

private:
    db::Database& m_database;
    std::shared_ptr<Clock> m_clock;
};

} // namespace lumen

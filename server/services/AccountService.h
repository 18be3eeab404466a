#pragma once

#include "Clock.h"
#include "LoginThrottle.h"
#include "PasswordHasher.h"
#include "TokenService.h"

#include "session/SessionModels.h"

#include <QString>

#include <memory>
#include <optional>

namespace lumen {

namespace db {
class Connection;
class Database;
} // namespace db

class HouseholdService;

struct UserRecord {
    qint64 id = 0;
    QString username;
    QString displayName;
    std::optional<QString> avatarUrl;
};

// Accounts, sign-in and sign-out. Every new account founds a household of its own.
class AccountService {
public:
    AccountService(db::Database& database, HouseholdService& households, TokenService& tokens,
        const PasswordHasher& hasher, std::shared_ptr<Clock> clock);

    // Throws ApiError 409 when the name is taken, 422 when it is not a valid name or the
    // password is empty. An empty display name falls back to the name.
    UserRecord createUser(const QString& username, const QString& password, const QString& displayName = {});
    // The same inside the caller's transaction, with the password already hashed.
    UserRecord insertUser(
        db::Connection& connection, const QString& username, const QString& passwordHash, const QString& displayName);

    std::optional<UserRecord> findUser(const QString& username);
    std::optional<UserRecord> userById(qint64 id);

    // Throws ApiError 401 for a wrong name or password, 429 while the name is slowed down.
    wire::LoginResponse login(const QString& username, const QString& password);
    void logout(const AuthUser& user);
    std::optional<AuthUser> authenticate(const QString& bearer);
    // A token for a user without a password check, for tooling and tests.
    QString issueToken(qint64 userId);

    wire::UserProfile profile(const AuthUser& user);

    const PasswordHasher& hasher() const { return m_hasher; }
    LoginThrottle& throttle() { return m_throttle; }

private:
    db::Database& m_database;
    HouseholdService& m_households;
    TokenService& m_tokens;
    const PasswordHasher& m_hasher;
    std::shared_ptr<Clock> m_clock;
    LoginThrottle m_throttle;
};

} // namespace lumen

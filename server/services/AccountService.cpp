#include "AccountService.h"

#include "ApiError.h"
#include "HouseholdService.h"
#include "UserNames.h"
#include "db/Database.h"
#include "db/DbError.h"
#include "db/Transaction.h"

#include <sqlite3.h>

namespace lumen {

namespace {

const QString kWrongCredentials = QStringLiteral("用户名或密码错误");

std::optional<UserRecord> readUser(db::Statement& query)
{
    if (!query.step())
        return std::nullopt;
    return UserRecord { query.integer(0), query.text(1), query.text(2), query.optionalText(3) };
}

} // namespace

AccountService::AccountService(db::Database& database, HouseholdService& households, TokenService& tokens,
    const PasswordHasher& hasher, std::shared_ptr<Clock> clock)
    : m_database(database)
    , m_households(households)
    , m_tokens(tokens)
    , m_hasher(hasher)
    , m_clock(std::move(clock))
{
}

UserRecord AccountService::createUser(const QString& username, const QString& password, const QString& displayName)
{
    if (password.isEmpty())
        throw ApiError::unprocessable(QStringLiteral("密码不能为空"));
    // Hash before taking the write lock: argon2id is slow on purpose.
    const QString hash = m_hasher.hash(password);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    UserRecord user = insertUser(connection, username, hash, displayName);
    transaction.commit();
    return user;
}

UserRecord AccountService::insertUser(
    db::Connection& connection, const QString& username, const QString& passwordHash, const QString& displayName)
{
    const QString name = normalizedUsername(username);
    if (const auto problem = usernameProblem(name))
        throw ApiError::unprocessable(*problem);
    const QString shownName = displayName.trimmed().isEmpty() ? name : displayName.trimmed();
    try {
        connection
            .prepare("INSERT INTO users (username, display_name, password_hash, created_at) "
                     "VALUES (:name, :display, :hash, :now)")
            .bind(":name", name)
            .bind(":display", shownName)
            .bind(":hash", passwordHash)
            .bind(":now", m_clock->nowSecs())
            .run();
    } catch (const db::DbError& error) {
        if ((error.code() & 0xff) == SQLITE_CONSTRAINT)
            throw ApiError::conflict(QStringLiteral("用户名 %1 已被占用").arg(name));
        throw;
    }
    const qint64 userId = connection.lastInsertId();
    const qint64 householdId = m_households.foundHousehold(connection, userId);
    connection
        .prepare("INSERT INTO memberships (user_id, household_id, role, joined_at) "
                 "VALUES (:user, :household, 'owner', :now)")
        .bind(":user", userId)
        .bind(":household", householdId)
        .bind(":now", m_clock->nowSecs())
        .run();
    return { userId, name, shownName, std::nullopt };
}

std::optional<UserRecord> AccountService::findUser(const QString& username)
{
    auto query = m_database.connection().prepare(
        "SELECT id, username, display_name, avatar_url FROM users WHERE username = :name");
    query.bind(":name", normalizedUsername(username));
    return readUser(query);
}

std::optional<UserRecord> AccountService::userById(qint64 id)
{
    auto query
        = m_database.connection().prepare("SELECT id, username, display_name, avatar_url FROM users WHERE id = :id");
    query.bind(":id", id);
    return readUser(query);
}

wire::LoginResponse AccountService::login(const QString& username, const QString& password)
{
    const QString name = normalizedUsername(username);
    const qint64 now = m_clock->nowSecs();
    if (const auto wait = m_throttle.retryAfter(name, now)) {
        throw ApiError(429, QStringLiteral("登录失败次数过多，请 %1 秒后再试").arg(*wait), *wait);
    }

    std::optional<UserRecord> user;
    QString storedHash;
    {
        auto query = m_database.connection().prepare(
            "SELECT id, username, display_name, avatar_url, password_hash FROM users WHERE username = :name");
        query.bind(":name", name);
        if (query.step()) {
            user = UserRecord { query.integer(0), query.text(1), query.text(2), query.optionalText(3) };
            storedHash = query.text(4);
        }
    }
    const bool verified = user ? m_hasher.verify(storedHash, password) : (m_hasher.verifyNothing(password), false);
    if (!verified || password.isEmpty()) {
        m_throttle.recordFailure(name, now);
        throw ApiError::unauthorized(kWrongCredentials);
    }
    m_throttle.recordSuccess(name);
    const QString token = m_tokens.issue(user->id);
    return { token, int(user->id), user->username, user->displayName };
}

void AccountService::logout(const AuthUser& user)
{
    m_tokens.revoke(user.tokenId);
}

std::optional<AuthUser> AccountService::authenticate(const QString& bearer)
{
    return m_tokens.authenticate(bearer);
}

QString AccountService::issueToken(qint64 userId)
{
    if (!userById(userId))
        throw ApiError::notFound(QStringLiteral("用户不存在"));
    return m_tokens.issue(userId);
}

wire::UserProfile AccountService::profile(const AuthUser& user)
{
    return { int(user.userId), user.username, user.displayName, user.avatarUrl, m_households.relationsOf(user.userId) };
}

} // namespace lumen

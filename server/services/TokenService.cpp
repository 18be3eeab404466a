#include "TokenService.h"

#include "db/Database.h"

#include <sodium.h>

namespace lumen {

namespace {

constexpr size_t kTokenBytes = 32;
constexpr size_t kHashBytes = crypto_generichash_BYTES; // 32
// Recording every request would turn each read into a write; a minute's precision is enough.
constexpr qint64 kTouchEverySecs = 60;

QByteArray hashOf(const QByteArray& token)
{
    QByteArray digest(int(kHashBytes), Qt::Uninitialized);
    crypto_generichash(reinterpret_cast<unsigned char*>(digest.data()), kHashBytes,
        reinterpret_cast<const unsigned char*>(token.constData()), token.size(), nullptr, 0);
    return digest;
}

} // namespace

TokenService::TokenService(db::Database& database, std::shared_ptr<Clock> clock)
    : m_database(database)
    , m_clock(std::move(clock))
{
}

QString TokenService::issue(db::Connection& connection, qint64 userId)
{
    QByteArray raw(int(kTokenBytes), Qt::Uninitialized);
    randombytes_buf(raw.data(), kTokenBytes);
    const QByteArray token = raw.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    sodium_memzero(raw.data(), kTokenBytes);
    const qint64 now = m_clock->nowSecs();
    connection
        .prepare("INSERT INTO tokens (token_hash, user_id, created_at, last_used_at) "
                 "VALUES (:hash, :user, :now, :now)")
        .bind(":hash", hashOf(token))
        .bind(":user", userId)
        .bind(":now", now)
        .run();
    return QString::fromLatin1(token);
}

QString TokenService::issue(qint64 userId)
{
    return issue(m_database.connection(), userId);
}

std::optional<AuthUser> TokenService::authenticate(const QString& token)
{
    if (token.isEmpty() || token.size() > 256)
        return std::nullopt;
    const QByteArray digest = hashOf(token.toLatin1());
    db::Connection& connection = m_database.connection();
    AuthUser user;
    qint64 lastUsed = 0;
    {
        auto query = connection.prepare(
            "SELECT t.id, t.token_hash, t.last_used_at, u.id, u.username, u.display_name, u.avatar_url "
            "FROM tokens t JOIN users u ON u.id = t.user_id "
            "WHERE t.token_hash = :hash AND t.revoked_at IS NULL");
        query.bind(":hash", digest);
        if (!query.step())
            return std::nullopt;
        const QByteArray stored = query.blob(1);
        if (stored.size() != digest.size()
            || sodium_memcmp(stored.constData(), digest.constData(), size_t(digest.size())) != 0)
            return std::nullopt;
        user.tokenId = query.integer(0);
        lastUsed = query.integer(2);
        user.userId = query.integer(3);
        user.username = query.text(4);
        user.displayName = query.text(5);
        user.avatarUrl = query.optionalText(6);
    }
    const qint64 now = m_clock->nowSecs();
    if (now - lastUsed >= kTouchEverySecs) {
        connection.prepare("UPDATE tokens SET last_used_at = :now WHERE id = :id")
            .bind(":now", now)
            .bind(":id", user.tokenId)
            .run();
    }
    return user;
}

void TokenService::revoke(qint64 tokenId)
{
    m_database.connection()
        .prepare("UPDATE tokens SET revoked_at = :now WHERE id = :id AND revoked_at IS NULL")
        .bind(":now", m_clock->nowSecs())
        .bind(":id", tokenId)
        .run();
}

} // namespace lumen

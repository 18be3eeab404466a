#include "HouseholdService.h"

#include "ApiError.h"
#include "FinanceCategoryService.h"
#include "TimeCategoryService.h"
#include "UserNames.h"
#include "db/Database.h"
#include "db/Transaction.h"

namespace lumen {

namespace {

const QString kOwner = QStringLiteral("owner");
const QString kMember = QStringLiteral("member");
const QString kAdmin = QStringLiteral("admin");

struct UserRow {
    qint64 id = 0;
    QString username;
    QString displayName;
    std::optional<QString> avatarUrl;
};

std::optional<UserRow> userById(db::Connection& connection, qint64 id)
{
    auto query = connection.prepare("SELECT id, username, display_name, avatar_url FROM users WHERE id = :id");
    query.bind(":id", id);
    if (!query.step())
        return std::nullopt;
    return UserRow { query.integer(0), query.text(1), query.text(2), query.optionalText(3) };
}

wire::UserRelation relation(const UserRow& user, const QString& role, const QString& direction)
{
    return { int(user.id), user.username, user.displayName, user.avatarUrl, role, direction };
}

} // namespace

HouseholdService::HouseholdService(db::Database& database, std::shared_ptr<Clock> clock)
    : m_database(database)
    , m_clock(std::move(clock))
{
}

Household HouseholdService::householdOf(qint64 userId)
{
    return householdIn(m_database.connection(), userId);
}

Household HouseholdService::householdIn(db::Connection& connection, qint64 userId)
{
    auto query = connection.prepare("SELECT h.id, h.owner_id, h.timezone, h.currency, m.role "
                                    "FROM memberships m JOIN households h ON h.id = m.household_id "
                                    "WHERE m.user_id = :user");
    query.bind(":user", userId);
    if (!query.step())
        throw ApiError::notFound(QStringLiteral("用户不存在"));
    return { query.integer(0), query.integer(1), query.text(2), query.text(3), query.text(4) };
}

QStringList HouseholdService::memberNames(qint64 householdId)
{
    auto query = m_database.connection().prepare("SELECT u.display_name FROM memberships m "
                                                 "JOIN users u ON u.id = m.user_id "
                                                 "WHERE m.household_id = :household ORDER BY m.joined_at, u.id");
    query.bind(":household", householdId);
    QStringList names;
    while (query.step())
        names.append(query.text(0));
    return names;
}

std::optional<qint64> HouseholdService::homeHouseholdId()
{
    auto query = m_database.connection().prepare("SELECT value FROM meta WHERE key = 'home_household_id'");
    if (!query.step())
        return std::nullopt;
    bool ok = false;
    const qint64 id = query.text(0).toLongLong(&ok);
    return ok ? std::optional<qint64>(id) : std::nullopt;
}

std::vector<wire::UserRelation> HouseholdService::relationsOf(qint64 userId)
{
    db::Connection& connection = m_database.connection();
    db::Transaction snapshot(connection, db::Transaction::Mode::Read);
    const Household household = householdIn(connection, userId);
    std::vector<wire::UserRelation> relations;
    if (household.ownerId == userId) {
        auto query = connection.prepare("SELECT u.id, u.username, u.display_name, u.avatar_url, m.role "
                                        "FROM memberships m JOIN users u ON u.id = m.user_id "
                                        "WHERE m.household_id = :household AND m.user_id != :me "
                                        "ORDER BY m.joined_at, u.id");
        query.bind(":household", household.id).bind(":me", userId);
        while (query.step()) {
            const UserRow member { query.integer(0), query.text(1), query.text(2), query.optionalText(3) };
            relations.push_back(relation(member, query.text(4), QStringLiteral("outgoing")));
        }
    } else if (const auto owner = userById(connection, household.ownerId)) {
        relations.push_back(relation(*owner, household.role, QStringLiteral("incoming")));
    }
    snapshot.commit();
    return relations;
}

Household HouseholdService::requireOwner(db::Connection& connection, qint64 userId)
{
    Household household = householdIn(connection, userId);
    if (household.ownerId != userId)
        throw ApiError::forbidden(QStringLiteral("只有管理员可以绑定、移除或移交成员"));
    return household;
}

qint64 HouseholdService::foundHousehold(db::Connection& connection, qint64 ownerId)
{
    const qint64 now = m_clock->nowSecs();
    connection.prepare("INSERT INTO households (owner_id, created_at) VALUES (:owner, :now)")
        .bind(":owner", ownerId)
        .bind(":now", now)
        .run();
    const qint64 householdId = connection.lastInsertId();
    TimeCategoryService::seedDefaults(connection, householdId);
    FinanceCategoryService::seedDefaults(connection, householdId);
    connection.prepare("INSERT OR IGNORE INTO meta (key, value) VALUES ('home_household_id', :id)")
        .bind(":id", QString::number(householdId))
        .run();
    return householdId;
}

BindResult HouseholdService::bind(qint64 ownerId, const QString& username, const QString& role)
{
    const QString name = normalizedUsername(username);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    requireOwner(connection, ownerId);
    auto query = connection.prepare("SELECT id FROM users WHERE username = :name");
    query.bind(":name", name);
    if (name.isEmpty() || !query.step())
        throw ApiError::notFound(QStringLiteral("用户 %1 不存在").arg(name));
    const qint64 memberId = query.integer(0);
    BindResult result = bindUserIn(connection, ownerId, memberId, role);
    transaction.commit();
    return result;
}

BindResult HouseholdService::bindUser(qint64 ownerId, qint64 memberId, const QString& role)
{
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    BindResult result = bindUserIn(connection, ownerId, memberId, role);
    transaction.commit();
    return result;
}

BindResult HouseholdService::bindUserIn(
    db::Connection& connection, qint64 ownerId, qint64 memberId, const QString& role)
{
    const Household household = requireOwner(connection, ownerId);
    if (role != kMember && role != kAdmin)
        throw ApiError::unprocessable(QStringLiteral("字段 role 只能是 member 或 admin"));
    const auto member = userById(connection, memberId);
    if (!member)
        throw ApiError::notFound(QStringLiteral("用户不存在"));
    if (memberId == ownerId)
        throw ApiError::badRequest(QStringLiteral("不能绑定自己"));
    const Household current = householdIn(connection, memberId);
    if (current.id == household.id)
        throw ApiError::conflict(QStringLiteral("%1 已经绑定").arg(member->username));
    if (current.ownerId != memberId)
        throw ApiError::conflict(QStringLiteral("%1 已绑定到其他账户").arg(member->username));
    auto others
        = connection.prepare("SELECT COUNT(*) FROM memberships WHERE household_id = :household AND user_id != :member");
    others.bind(":household", current.id).bind(":member", memberId);
    if (others.step() && others.integer(0) > 0)
        throw ApiError::conflict(QStringLiteral("%1 已有自己绑定的成员，不能再被绑定").arg(member->username));

    // The member's own household stays behind, empty, so that removal can hand it back.
    connection
        .prepare("UPDATE memberships SET household_id = :household, role = :role, joined_at = :now "
                 "WHERE user_id = :member")
        .bind(":household", household.id)
        .bind(":role", role)
        .bind(":now", m_clock->nowSecs())
        .bind(":member", memberId)
        .run();
    return { household.id, relation(*member, role, QStringLiteral("outgoing")) };
}

void HouseholdService::remove(qint64 ownerId, qint64 memberId)
{
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const Household household = requireOwner(connection, ownerId);
    if (memberId == ownerId)
        throw ApiError::badRequest(QStringLiteral("不能移除自己"));
    auto membership
        = connection.prepare("SELECT 1 FROM memberships WHERE user_id = :member AND household_id = :household");
    membership.bind(":member", memberId).bind(":household", household.id);
    if (!membership.step())
        throw ApiError::notFound(QStringLiteral("该成员未绑定在你的家庭中"));

    // Give back the household the member left when bound, or found a new one.
    qint64 ownHousehold = 0;
    {
        auto empty = connection.prepare("SELECT h.id FROM households h WHERE h.owner_id = :member "
                                        "AND NOT EXISTS (SELECT 1 FROM memberships m WHERE m.household_id = h.id) "
                                        "ORDER BY h.id DESC LIMIT 1");
        empty.bind(":member", memberId);
        if (empty.step())
            ownHousehold = empty.integer(0);
    }
    if (ownHousehold == 0)
        ownHousehold = foundHousehold(connection, memberId);
    connection
        .prepare("UPDATE memberships SET household_id = :household, role = 'owner', joined_at = :now "
                 "WHERE user_id = :member")
        .bind(":household", ownHousehold)
        .bind(":now", m_clock->nowSecs())
        .bind(":member", memberId)
        .run();
    transaction.commit();
}

TransferResult HouseholdService::transfer(qint64 ownerId, qint64 memberId)
{
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const Household household = requireOwner(connection, ownerId);
    if (memberId == ownerId)
        throw ApiError::badRequest(QStringLiteral("你已经是管理员"));
    auto membership
        = connection.prepare("SELECT 1 FROM memberships WHERE user_id = :member AND household_id = :household");
    membership.bind(":member", memberId).bind(":household", household.id);
    if (!membership.step())
        throw ApiError::notFound(QStringLiteral("该成员未绑定在你的家庭中"));

    connection.prepare("UPDATE households SET owner_id = :member WHERE id = :household")
        .bind(":member", memberId)
        .bind(":household", household.id)
        .run();
    connection.prepare("UPDATE memberships SET role = 'owner' WHERE user_id = :member").bind(":member", memberId).run();
    connection.prepare("UPDATE memberships SET role = 'member' WHERE user_id = :owner").bind(":owner", ownerId).run();
    transaction.commit();
    return { household.id, memberId, ownerId };
}

} // namespace lumen

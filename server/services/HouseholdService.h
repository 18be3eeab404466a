#pragma once

#include "Clock.h"

#include "session/SessionModels.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace lumen {

namespace db {
class Connection;
class Database;
} // namespace db

// A household is one owner and the members bound to them. Finance is shared inside it;
// time, body and chat stay with each user.
struct Household {
    qint64 id = 0;
    qint64 ownerId = 0;
    QString timezone;
    QString currency;
    QString role; // the asking user's role in it: "owner", "member" or "admin"
};

// The answer of a bind: the relation as the owner now sees it.
struct BindResult {
    qint64 householdId = 0;
    wire::UserRelation member;
};

struct TransferResult {
    qint64 householdId = 0;
    qint64 ownerId = 0;
    qint64 previousOwnerId = 0;
};

class HouseholdService {
public:
    HouseholdService(db::Database& database, std::shared_ptr<Clock> clock);

    Household householdOf(qint64 userId);
    // Display names of everyone in the household, the owner first.
    QStringList memberNames(qint64 householdId);
    // The household whose notes live in the data folder: the first one ever founded there.
    std::optional<qint64> homeHouseholdId();

    // Each member for an owner ("outgoing"); the owner for a member ("incoming", with the
    // member's own role).
    std::vector<wire::UserRelation> relationsOf(qint64 userId);

    // Rules for all three: only the household's owner may act, and only on its members.
    BindResult bind(qint64 ownerId, const QString& username, const QString& role);
    BindResult bindUser(qint64 ownerId, qint64 memberId, const QString& role);
    void remove(qint64 ownerId, qint64 memberId);
    TransferResult transfer(qint64 ownerId, qint64 memberId);

    // Building blocks that run inside the caller's transaction.
    qint64 foundHousehold(db::Connection& connection, qint64 ownerId);
    BindResult bindUserIn(db::Connection& connection, qint64 ownerId, qint64 memberId, const QString& role);

private:
    Household householdIn(db::Connection& connection, qint64 userId);
    Household requireOwner(db::Connection& connection, qint64 userId);

    db::Database& m_database;
    std::shared_ptr<Clock> m_clock;
};

} // namespace lumen

#pragma once

#include "Clock.h"

#include "time/TimeDomainModels.h"

#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace lumen {

namespace db {
class Connection;
class Database;
} // namespace db

class HouseholdService;
class LexiconService;

// The household's time categories. Ids are numbered inside each household; a new household
// starts with the default set. Deleting hides a category (entries keep pointing to it), and
// creating one with a hidden category's name brings that one back with its old id.
class TimeCategoryService {
public:
    TimeCategoryService(
        db::Database& database, HouseholdService& households, LexiconService& lexicons, std::shared_ptr<Clock> clock);

    std::vector<wire::TimeCategory> list(qint64 userId);
    wire::TimeCategoryCreateResponse create(qint64 userId, const wire::TimeCategoryCreateRequest& request);
    void update(qint64 userId, int id, const wire::TimeCategoryUpdateRequest& request);
    void remove(qint64 userId, int id);

    // Building blocks inside the caller's transaction.
    static void seedDefaults(db::Connection& connection, qint64 householdId);
    static std::optional<wire::TimeCategory> liveCategory(db::Connection& connection, qint64 householdId, int id);
    static std::optional<int> liveIdByName(db::Connection& connection, qint64 householdId, const QString& name);

private:
    db::Database& m_database;
    HouseholdService& m_households;
    LexiconService& m_lexicons;
    std::shared_ptr<Clock> m_clock;
};

} // namespace lumen

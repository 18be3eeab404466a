#pragma once

#include "finance/FinanceCategory.h"

#include <QString>

#include <optional>
#include <vector>

namespace lumen {

namespace db {
class Connection;
class Database;
} // namespace db

class HouseholdService;
class LexiconService;

// A category as a line is booked under it.
struct CategoryRef {
    QString name;
    QString kind; // "expense" or "income"
};

// The household's finance categories. Names are unique in a household; lines refer to their
// category by name, so a rename carries the household's lines, cards and keywords along, and a
// delete leaves lines with the name they had. "转账" and "余额调整" are kept by the system.
class FinanceCategoryService {
public:
    FinanceCategoryService(db::Database& database, HouseholdService& households, LexiconService& lexicons);

    // In the household's order.
    std::vector<wire::FinanceCategory> list(qint64 userId);
    qint64 create(qint64 userId, const wire::CreateCategoryRequest& request);
    void update(qint64 userId, qint64 id, const wire::UpdateCategoryRequest& request);
    void remove(qint64 userId, qint64 id);

    // Copies the default categories into a new household.
    static void seedDefaults(db::Connection& connection, qint64 householdId);
    // The household's category of that name; 422 naming it when there is none.
    static CategoryRef requireNamed(db::Connection& connection, qint64 householdId, const QString& name);
    static std::optional<CategoryRef> named(db::Connection& connection, qint64 householdId, const QString& name);

private:
    wire::FinanceCategory requireIn(db::Connection& connection, qint64 householdId, qint64 id);

    db::Database& m_database;
    HouseholdService& m_households;
    LexiconService& m_lexicons;
};

} // namespace lumen

#pragma once

#include "Clock.h"

#include "finance/FinanceKeyword.h"

#include <QString>

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace language {
class Lexicon;
}

namespace lumen {

namespace db {
class Database;
} // namespace db

class HouseholdService;

// The words sentences are understood with: the compiled-in lexicon plus the household's own
// finance keywords and its time categories (names and keywords). One lexicon per household is
// built on first use and kept until the household's words change; readers hold a shared copy,
// so a rebuild never changes a lexicon that a parser is using.
class LexiconService {
public:
    LexiconService(db::Database& database, HouseholdService& households, std::shared_ptr<Clock> clock);

    std::shared_ptr<const language::Lexicon> lexiconFor(qint64 householdId);
    // Called whenever a household's finance keywords or time categories change.
    void invalidate(qint64 householdId);

    std::vector<wire::FinanceKeyword> financeWords(qint64 userId);
    // Adds a keyword, or points an existing one of the household to the new category.
    // Throws ApiError 422 for an empty keyword or category or an unknown kind.
    wire::FinanceKeyword addFinanceWord(qint64 userId, const wire::FinanceKeywordCreate& request);
    // Throws ApiError 404 for a keyword outside the user's household.
    void removeFinanceWord(qint64 userId, qint64 id);

private:
    std::shared_ptr<const language::Lexicon> build(qint64 householdId);

    db::Database& m_database;
    HouseholdService& m_households;
    std::shared_ptr<Clock> m_clock;
    std::mutex m_mutex;
    std::unordered_map<qint64, std::shared_ptr<const language::Lexicon>> m_cache;
    std::unordered_map<qint64, quint64> m_generations;
};

} // namespace lumen

#pragma once

#include "Clock.h"

#include "chat/PendingModels.h"

#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace lumen {

namespace db {
class Database;
} // namespace db

class FinanceLedgerService;
class HouseholdService;
class TimeLedgerService;

// Proposals waiting for a yes or no. Each belongs to the user it was made for; another user
// is told it does not exist. Committing writes the record of its domain ("finance" into the
// household's ledger, "time" into the user's) in the same transaction that marks it
// committed, so an item lands once or not at all; an item that is no longer pending cannot
// be committed, rejected or changed (409). An item of kind "update" rewrites the record it
// names instead of adding one.
class PendingService {
public:
    PendingService(db::Database& database, HouseholdService& households, FinanceLedgerService& finance,
        TimeLedgerService& time, std::shared_ptr<Clock> clock);

    wire::PendingItem create(qint64 userId, const wire::PendingCreate& request);
    // Newest first.
    std::vector<wire::PendingItem> list(
        qint64 userId, const QString& status, const std::optional<QString>& domain, int limit = 200);
    wire::PendingItem get(qint64 userId, const QString& id);
    wire::PendingItem update(qint64 userId, const QString& id, const wire::PendingUpdate& request);
    wire::PendingItem commit(qint64 userId, const QString& id);
    wire::PendingItem reject(qint64 userId, const QString& id);

    // The user's newest item still waiting, with when it was made.
    std::optional<std::pair<wire::PendingItem, qint64>> newestPending(qint64 userId);
    // The newest item proposed in a chat session, whatever became of it.
    std::optional<wire::PendingItem> newestFromSession(qint64 userId, const QString& sourceSession);

private:
    db::Database& m_database;
    HouseholdService& m_households;
    FinanceLedgerService& m_finance;
    TimeLedgerService& m_time;
    std::shared_ptr<Clock> m_clock;
};

} // namespace lumen

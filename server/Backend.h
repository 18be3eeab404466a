#pragma once

#include "Clock.h"
#include "db/Database.h"
#include "services/AccountService.h"
#include "services/AssetsService.h"
#include "services/ChatSessionService.h"
#include "services/DemoSeeder.h"
#include "services/FinanceCategoryService.h"
#include "services/FinanceLedgerService.h"
#include "services/FinancePendingService.h"
#include "services/FinanceSummaryService.h"
#include "services/HouseholdService.h"
#include "services/LexiconService.h"
#include "services/PasswordHasher.h"
#include "services/PendingService.h"
#include "services/TimeCategoryService.h"
#include "services/TimeLedgerService.h"
#include "services/TokenService.h"

#include <QString>

#include <memory>

namespace lumen {

namespace agent {
class TurnContextStore;
class TurnRunner;
} // namespace agent

// Everything lumen-api knows, without the HTTP: the data folder, its database (migrated on
// opening) and the services over it. The server and the command line share it.
class Backend {
public:
    // Creates the folder (0700) and the database file (0600) when they are missing.
    Backend(QString dataDir, PasswordCost cost, std::shared_ptr<Clock> clock);
    Backend(const Backend&) = delete;
    Backend& operator=(const Backend&) = delete;
    ~Backend();

    const QString& dataDir() const { return m_dataDir; }
    QString databasePath() const;
    QString assetsDir() const;

    Clock& clock() { return *m_clock; }
    db::Database& database() { return m_database; }
    AccountService& accounts() { return m_accounts; }
    HouseholdService& households() { return m_households; }
    AssetsService& assets() { return m_assets; }
    LexiconService& lexicons() { return m_lexicons; }
    TimeCategoryService& timeCategories() { return m_timeCategories; }
    TimeLedgerService& timeLedger() { return m_timeLedger; }
    FinanceLedgerService& financeLedger() { return m_financeLedger; }
    FinanceCategoryService& financeCategories() { return m_financeCategories; }
    FinanceSummaryService& financeSummaries() { return m_financeSummaries; }
    FinancePendingService& financePending() { return m_financePending; }
    PendingService& pending() { return m_pending; }
    ChatSessionService& chatSessions() { return m_chatSessions; }
    // Chat turns: the agents, the per-user rate limit and the hook for finished turns.
    agent::TurnRunner& turns() { return *m_turns; }
    DemoSeeder& seeder() { return m_seeder; }

private:
    static QString prepareFolder(const QString& dataDir);

    QString m_dataDir;
    std::shared_ptr<Clock> m_clock;
    PasswordHasher m_hasher;
    db::Database m_database;
    HouseholdService m_households;
    TokenService m_tokens;
    AccountService m_accounts;
    AssetsService m_assets;
    LexiconService m_lexicons;
    TimeCategoryService m_timeCategories;
    TimeLedgerService m_timeLedger;
    FinanceLedgerService m_financeLedger;
    FinanceCategoryService m_financeCategories;
    FinanceSummaryService m_financeSummaries;
    FinancePendingService m_financePending;
    PendingService m_pending;
    ChatSessionService m_chatSessions;
    DemoSeeder m_seeder;
    std::unique_ptr<agent::TurnContextStore> m_turnContexts;
    std::unique_ptr<agent::TurnRunner> m_turns;
};

} // namespace lumen

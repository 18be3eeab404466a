#pragma once

#include "Clock.h"
#include "DemoFinanceYear.h"
#include "DemoLedgers.h"

#include <QString>
#include <QStringList>

#include <memory>

#include <optional>
#include <vector>

namespace lumen {

namespace db {
class Database;
} // namespace db

class AccountService;
class FinanceLedgerService;
class FinancePendingService;
class HouseholdService;
class TimeLedgerService;

struct DemoAccount {
    QString username;
    QString displayName;
    QString role;
    QString password; // as given, or generated and shown only this once
};

struct SeedResult {
    bool alreadySeeded = false;
    std::vector<DemoAccount> accounts;
    QStringList notesWritten; // slugs of the asset notes written
    DemoLedgerCounts ledgers;
    DemoFinanceCounts finance;
};

// Makes the demo household in a fresh data folder: owner "velmar" with member "sefa" bound to
// him, a recent fortnight of their time, a year of their money, plus a few asset notes. A folder seeded once, or
// already holding either name, is left exactly as it is.
class DemoSeeder {
public:
    DemoSeeder(db::Database& database, AccountService& accounts, HouseholdService& households, TimeLedgerService& time,
        FinanceLedgerService& finance, FinancePendingService& financePending, std::shared_ptr<Clock> clock,
        QString assetsDir);

    SeedResult seed(const std::optional<QString>& password = std::nullopt);
    bool isSeeded();

    static QString generatePassword();

private:
    void writeNotes(SeedResult& result) const;

    db::Database& m_database;
    AccountService& m_accounts;
    HouseholdService& m_households;
    TimeLedgerService& m_time;
    FinanceLedgerService& m_finance;
    FinancePendingService& m_financePending;
    std::shared_ptr<Clock> m_clock;
    QString m_assetsDir;
};

} // namespace lumen

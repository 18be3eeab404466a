#pragma once

#include <QDate>
#include <QString>

namespace lumen {

namespace db {
class Connection;
} // namespace db

class FinanceLedgerService;
class FinancePendingService;

struct DemoFinanceCounts {
    int lines = 0;
    int itemizedLines = 0;
    int pending = 0;
};

// The demo household's money of the last twelve months up to today: rent, bills, groceries
// (some with their receipts' items), meals, transport, subscriptions (one in USD), a trip home
// paid in CNY, both members' income, a card repayment and a balance adjustment, and a few
// lines from the bank still awaiting review. The same today gives the same year.
class DemoFinanceYear {
public:
    DemoFinanceYear(FinanceLedgerService& ledger, FinancePendingService& pending);

    struct Household {
        qint64 id = 0;
        qint64 ownerId = 0;
        qint64 memberId = 0;
        QString ownerName;
        QString memberName;
    };

    DemoFinanceCounts write(db::Connection& connection, const Household& household, QDate today);

private:
    FinanceLedgerService& m_ledger;
    FinancePendingService& m_pending;
};

} // namespace lumen

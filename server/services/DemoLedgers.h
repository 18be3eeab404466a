#pragma once

#include <QString>

namespace lumen {

namespace db {
class Connection;
} // namespace db

class FinanceLedgerService;
class LocalClock;
class TimeLedgerService;

struct DemoLedgerCounts {
    int confirmedBlocks = 0;
    int capturedEntries = 0;
    int financeLines = 0;
};

// A recent fortnight of the demo household, relative to the server's today: confirmed time of
// both members across the household's categories, an evening and a morning of the owner's
// (and an evening of the member's) captured screen time waiting for review, and the
// household's money of those two weeks. The same today gives the same ledgers.
class DemoLedgers {
public:
    DemoLedgers(TimeLedgerService& time, FinanceLedgerService& finance);

    DemoLedgerCounts write(
        db::Connection& connection, const LocalClock& local, qint64 householdId, qint64 ownerId, qint64 memberId);

private:
    TimeLedgerService& m_time;
    FinanceLedgerService& m_finance;
};

} // namespace lumen

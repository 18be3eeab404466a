#pragma once

#include <QString>

namespace lumen {

namespace db {
class Connection;
} // namespace db

class LocalClock;
class TimeLedgerService;

struct DemoLedgerCounts {
    int confirmedBlocks = 0;
    int capturedEntries = 0;
};

// A recent fortnight of the demo household's time, relative to the server's today: confirmed
// time of both members across the household's categories, and an evening and a morning of the
// owner's (and an evening of the member's) captured screen time waiting for review. The same
// today gives the same ledgers.
class DemoLedgers {
public:
    explicit DemoLedgers(TimeLedgerService& time);

    DemoLedgerCounts write(db::Connection& connection, const LocalClock& local, qint64 ownerId, qint64 memberId);

private:
    TimeLedgerService& m_time;
};

} // namespace lumen

#pragma once

// What every reading of a sentence shares: the sentence marked with its days, clocks, lengths of
// time, parts of the day, payers and numbered spans, and the amounts and money candidates left.
// The agent reads one sentence as a booking and as a time record; both start from one scan.

#include "AmountScanner.h"
#include "BookingShape.h"
#include "ClockScanner.h"
#include "Context.h"
#include "DateScanner.h"
#include "MarkedText.h"

#include <QList>
#include <QString>

#include <optional>

namespace language {

struct SentenceScan {
    MarkedText text;
    DateFindings when;
    ClockFindings clocks;
    std::optional<double> length; // minutes of the first length of time said
    DayPeriod standalonePeriod = DayPeriod::none;
    bool justNow = false; // 刚才, 刚刚
    QString spender; // a member's name, "shared", or empty
    QList<AmountMention> amounts; // with a currency word, and bare candidates, in sentence order
    // Why the sentence names money without spending it, if it does; read once for every reading.
    std::optional<FinanceProblem> refusal;
    // What says the amounts are money (none when refused).
    BookingShape::Evidence evidence = BookingShape::Evidence::none;

    static SentenceScan of(QStringView sentence, const Context& context);
};

} // namespace language

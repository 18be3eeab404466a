#include "SentenceScan.h"

#include "NumberSpans.h"
#include "SpenderScanner.h"

namespace language {

SentenceScan SentenceScan::of(QStringView sentence, const Context& context)
{
    SentenceScan scan { MarkedText(sentence), {}, {}, {}, DayPeriod::none, false, {}, {}, {},
        BookingShape::Evidence::none };
    MarkedText& text = scan.text;
    const DateScanner dates(context.today());
    scan.when = dates.scan(text);
    const ClockScanner clocks;
    scan.clocks = clocks.scan(text);
    scan.length = clocks.scanDuration(text);
    scan.standalonePeriod = dates.scanPeriod(text);
    for (QStringView word : { u"刚才", u"刚刚" })
        scan.justNow = text.take(word, Mark::marker) || scan.justNow;
    scan.spender = SpenderScanner(context.members).scan(text);
    NumberSpans::scan(text);
    scan.amounts = AmountScanner(context.defaultCurrency, context.words()).scan(text);
    scan.refusal = BookingShape::refusal(text, scan.when, context.today());
    if (!scan.refusal)
        scan.evidence = BookingShape::evidence(text, scan.amounts, context.words());
    return scan;
}

} // namespace language

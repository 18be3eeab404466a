#pragma once

// Reads one finance sentence: "今天午餐 50", "昨天 uber 23.5", "超市 牛奶 5 面包 3.5".
//
// Order of reading: the shared scan (days, clocks, lengths of time, the payer, numbered spans,
// amounts and money candidates: see SentenceScan), a total marker (一共, 合计 ...), then the
// sentence's shape: what names money without spending it is refused, and bare numbers become
// money only with evidence (see BookingShape). One amount is the booking. Several amounts, each after its own word, are
// priced items; the total is what follows the total marker, or else their sum, and words before the first item name the
// shop ("超市"). Several amounts that do not each have a name fall back to the one after the total marker, else the one
// with a currency word, else the last. A sentence without an amount is not a booking (problem `noAmount`).

#include "Context.h"
#include "FinanceParse.h"
#include "SentenceScan.h"

#include <QStringView>

namespace language {

class FinanceParser {
public:
    explicit FinanceParser(Context context)
        : m_context(std::move(context))
    {
    }

    FinanceParse parse(QStringView sentence) const;
    FinanceParse parse(const SentenceScan& scan) const;

private:
    Context m_context;
};

} // namespace language

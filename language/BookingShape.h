#pragma once

// Whether a sentence that mentions money books it. Two questions, asked once every other number
// has been claimed by its own span:
//
// refusal   Sentences that name money without spending it never book: questions ("电费是不是
//           180？"), plans and budgets ("下周预算 300", a day still to come), reminders ("提醒我
//           周五交电费 210"), price changes and discounts ("鸡蛋涨到 6 块了", "打 8 折"), and
//           measurements ("体重 65.5"). A price change said with a purchase ("打折买了件外套 80")
//           is a booking.
// evidence  A bare number is money only when something says so: a currency word beside any
//           amount, a word of the finance lexicon (a thing bought, a shop, a category), a verb
//           of paying, or at least a word standing right beside it ("猫抓板 35"). The strength
//           of the evidence is what the reading's confidence starts from.

#include "AmountScanner.h"
#include "DateScanner.h"
#include "FinanceParse.h"
#include "Lexicon.h"
#include "MarkedText.h"

#include <optional>

namespace language {

class BookingShape {
public:
    // Weakest first.
    enum class Evidence { none, thing, verb, category, currency };

    static std::optional<FinanceProblem> refusal(const MarkedText& text, const DateFindings& when, QDate today);
    static Evidence evidence(const MarkedText& text, const QList<AmountMention>& amounts, const Lexicon& lexicon);
};

} // namespace language

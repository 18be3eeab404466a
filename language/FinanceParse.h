#pragma once

// A finance sentence understood: what the relay's "finance" section answers in `parsed`, and what
// the agent turns into a draft booking.

#include "Lexicon.h"

#include <QDate>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

namespace language {

struct FinanceItem {
    QString name;
    double amount = 0;
    bool operator==(const FinanceItem&) const = default;
};

// Why a sentence is not a booking. The last five are sentences that name money without spending
// it: they never book, whatever their numbers.
enum class FinanceProblem { emptySentence, noAmount, question, plan, reminder, priceChange, measurement };

// True for a sentence that is about something other than money spent or received.
bool isNonBooking(FinanceProblem problem);

struct FinanceParse {
    std::optional<double> amount; // the total; with items, the stated total or their sum
    QString currency; // three-letter code
    QString category; // a finance category name
    EntryKind kind = EntryKind::expense;
    QString spender; // a member's name, "shared", or empty for the speaker
    QDate date; // the day of the booking in the household's zone
    QString description; // what was bought, in the sentence's own words
    QList<FinanceItem> items; // priced items listed in the sentence
    double confidence = 0; // 0..1
    std::optional<FinanceProblem> problem;

    bool isIncome() const { return kind == EntryKind::income; }
    bool isBooking() const { return amount.has_value() && !problem; }
    // The reason in the household's language; empty when there is no problem.
    QString error() const;

    // The relay's `parsed` object: amount, currency, category, spender, date ("yyyy-MM-dd"),
    // description, confidence, error, items [{name, amount}]. Absent values are left out, and so
    // is an empty spender, so that a booking without one falls to the default member.
    QJsonObject toParsedJson() const;

    bool operator==(const FinanceParse&) const = default;
};

QString problemText(FinanceProblem problem);

} // namespace language

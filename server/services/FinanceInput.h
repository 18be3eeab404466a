#pragma once

#include "finance/Money.h"

#include <QDate>
#include <QString>

#include <optional>

namespace lumen {

// The checks every finance write shares, whichever road it came by (a direct request, a chat
// card, a line awaiting review). Each throws ApiError 422 with the reason in the user's words.
class FinanceInput {
public:
    static constexpr int maxTextLength = 500;
    static constexpr int maxNameLength = 40;

    // A positive amount in exact cents. `what` names it in the message ("金额", "明细第 2 项的金额").
    static wire::Money positiveAmount(std::optional<double> value, const QString& what);
    // "yyyy-MM-dd" or "dd/MM/yyyy".
    static QDate day(const QString& text);
    static std::optional<QDate> optionalDay(const std::optional<QString>& text);
    // An upper-cased currency the ledger books in; empty takes `fallback`.
    static QString currency(const QString& text, const QString& fallback);
    // Trimmed, at most `maxLength` characters; `field` names it in the message.
    static QString text(const QString& value, const QString& field, int maxLength = maxTextLength);
    // The first day of a "yyyy-MM" month.
    static QDate month(const QString& text);
};

} // namespace lumen

#pragma once

// Money of the household ledger. The backend keeps every amount as an integer count of minor
// units (cents: each currency the ledger knows has two decimals), so sums never drift; the
// wire carries them as doubles in the record's currency. The AUD figure of a line is fixed
// once by the backend; readers that meet a line without it use the fixed fallbacks below.

#include <QString>
#include <QStringList>

#include <compare>
#include <optional>

namespace wire {

class Money {
public:
    // The largest amount one line may hold: a billion in its currency.
    static constexpr qint64 maxMinor = qint64(1'000'000'000) * 100;

    Money() = default;
    static Money fromMinor(qint64 minor) { return Money(minor); }
    // The exact cents of a wire amount; nothing when it is not finite, has more than two
    // decimals, or lies beyond `maxMinor` either way.
    static std::optional<Money> fromAmount(double amount);

    qint64 minor() const { return m_minor; }
    double amount() const { return double(m_minor) / 100.0; }
    // "1234.50", "-3.00": two decimals, no grouping.
    QString text() const;
    // The same amount in another currency, rounded half away from zero to the cent.
    Money convertedAt(double rate) const;

    Money operator+(Money other) const { return Money(m_minor + other.m_minor); }
    Money operator-(Money other) const { return Money(m_minor - other.m_minor); }
    Money& operator+=(Money other)
    {
        m_minor += other.m_minor;
        return *this;
    }
    auto operator<=>(const Money&) const = default;

private:
    explicit Money(qint64 minor)
        : m_minor(minor)
    {
    }
    qint64 m_minor = 0;
};

// The currencies the household books in: AUD (its reporting currency), CNY and USD.
const QStringList& ledgerCurrencies();
bool isLedgerCurrency(const QString& code);

// The rate to AUD used when none was fixed: CNY 0.21, USD 1.5, AUD 1, any other currency 1
// (taken at face value). Deliberately constants, not a setting.
double fallbackAudRate(const std::optional<QString>& currency);

// The AUD figure of an amount: `amountAud` when the backend fixed it; otherwise the amount
// times `fxRate`, or times the fallback rate of its currency.
double audEquiv(double amount, const std::optional<QString>& currency, std::optional<double> fxRate,
    std::optional<double> amountAud);

// Whether an item list's sum is close enough to its line's amount: within the larger of 0.05
// and 5 percent of the amount (receipts round, and tips or fees go unlisted).
bool itemsAgreeWith(double itemsSum, double amount);

} // namespace wire

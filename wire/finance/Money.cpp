#include "Money.h"

#include <cmath>

namespace wire {

namespace {

constexpr double kCnyToAud = 0.21;
constexpr double kUsdToAud = 1.5;

} // namespace

std::optional<Money> Money::fromAmount(double amount)
{
    if (!std::isfinite(amount))
        return std::nullopt;
    const double cents = amount * 100.0;
    const double rounded = std::round(cents);
    if (std::abs(rounded) > double(maxMinor))
        return std::nullopt;
    // 18.9 arrives as 1889.9999999999998 cents; a third decimal is further off than that.
    if (std::abs(cents - rounded) > 1e-6 * std::max(1.0, std::abs(cents)))
        return std::nullopt;
    return Money(qint64(rounded));
}

QString Money::text() const
{
    const qint64 magnitude = m_minor < 0 ? -m_minor : m_minor;
    return QStringLiteral("%1%2.%3")
        .arg(m_minor < 0 ? QStringLiteral("-") : QString())
        .arg(magnitude / 100)
        .arg(magnitude % 100, 2, 10, QLatin1Char('0'));
}

Money Money::convertedAt(double rate) const
{
    return Money(qint64(std::llround(double(m_minor) * rate)));
}

const QStringList& ledgerCurrencies()
{
    static const QStringList codes { QStringLiteral("AUD"), QStringLiteral("CNY"), QStringLiteral("USD") };
    return codes;
}

bool isLedgerCurrency(const QString& code)
{
    return ledgerCurrencies().contains(code);
}

double fallbackAudRate(const std::optional<QString>& currency)
{
    if (currency == QStringLiteral("CNY"))
        return kCnyToAud;
    if (currency == QStringLiteral("USD"))
        return kUsdToAud;
    return 1.0;
}

double audEquiv(double amount, const std::optional<QString>& currency, std::optional<double> fxRate,
    std::optional<double> amountAud)
{
    if (amountAud)
        return *amountAud;
    if (!currency || *currency == QStringLiteral("AUD"))
        return amount;
    if (*currency == QStringLiteral("CNY") || *currency == QStringLiteral("USD"))
        return amount * fxRate.value_or(fallbackAudRate(currency));
    return amount;
}

bool itemsAgreeWith(double itemsSum, double amount)
{
    const double limit = std::max(0.05, 0.05 * std::abs(amount));
    return std::abs(itemsSum - amount) <= limit + 1e-9;
}

} // namespace wire

#include "FinanceInput.h"

#include "ApiError.h"
#include "LocalClock.h"

#include <QRegularExpression>

#include <cmath>

namespace lumen {

wire::Money FinanceInput::positiveAmount(std::optional<double> value, const QString& what)
{
    if (!value)
        throw ApiError::unprocessable(QStringLiteral("缺少%1").arg(what));
    const auto money = wire::Money::fromAmount(*value);
    if (!money) {
        if (!std::isfinite(*value))
            throw ApiError::unprocessable(QStringLiteral("%1不是有效数字").arg(what));
        if (std::abs(*value) * 100 > double(wire::Money::maxMinor))
            throw ApiError::unprocessable(QStringLiteral("%1过大").arg(what));
        throw ApiError::unprocessable(QStringLiteral("%1最多两位小数：%2").arg(what).arg(*value, 0, 'f', 6));
    }
    if (money->minor() <= 0)
        throw ApiError::unprocessable(QStringLiteral("%1必须大于 0").arg(what));
    return *money;
}

QDate FinanceInput::day(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        throw ApiError::unprocessable(QStringLiteral("缺少日期"));
    if (const auto parsed = LocalClock::parseDay(trimmed))
        return *parsed;
    const QDate dmy = QDate::fromString(trimmed, QStringLiteral("dd/MM/yyyy"));
    if (dmy.isValid())
        return dmy;
    throw ApiError::unprocessable(QStringLiteral("日期格式应为 yyyy-MM-dd 或 dd/MM/yyyy：%1").arg(trimmed.left(40)));
}

std::optional<QDate> FinanceInput::optionalDay(const std::optional<QString>& text)
{
    if (!text || text->trimmed().isEmpty())
        return std::nullopt;
    return day(*text);
}

QString FinanceInput::currency(const QString& text, const QString& fallback)
{
    const QString code = text.trimmed().isEmpty() ? fallback : text.trimmed().toUpper();
    if (!wire::isLedgerCurrency(code)) {
        throw ApiError::unprocessable(QStringLiteral("不支持的币种「%1」，可用 %2")
                                          .arg(code.left(10), wire::ledgerCurrencies().join(QStringLiteral("、"))));
    }
    return code;
}

QString FinanceInput::text(const QString& value, const QString& field, int maxLength)
{
    const QString trimmed = value.trimmed();
    if (trimmed.size() > maxLength)
        throw ApiError::unprocessable(QStringLiteral("%1最多 %2 个字").arg(field).arg(maxLength));
    return trimmed;
}

QDate FinanceInput::month(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("^\\d{4}-\\d{2}$"));
    const QDate first = form.match(text).hasMatch()
        ? QDate::fromString(text + QStringLiteral("-01"), QStringLiteral("yyyy-MM-dd"))
        : QDate();
    if (!first.isValid())
        throw ApiError::unprocessable(QStringLiteral("月份格式应为 yyyy-MM：%1").arg(text.left(20)));
    return first;
}

} // namespace lumen

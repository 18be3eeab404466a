#include "ReplyText.h"

#include <QLocale>

#include <cmath>

namespace lumen::agent {

QString ReplyText::money(double amount, const QString& currency)
{
    const QString figure = QLocale(QLocale::English, QLocale::UnitedStates).toString(amount, 'f', 2);
    if (currency == QLatin1String("AUD"))
        return QStringLiteral("A$") + figure;
    if (currency == QLatin1String("CNY"))
        return QStringLiteral("¥") + figure;
    if (currency == QLatin1String("USD"))
        return QStringLiteral("$") + figure;
    if (currency == QLatin1String("EUR"))
        return QStringLiteral("€") + figure;
    if (currency == QLatin1String("HKD"))
        return QStringLiteral("HK$") + figure;
    return currency + u' ' + figure;
}

QString ReplyText::duration(double minutes)
{
    const long long whole = std::max(0LL, std::llround(minutes));
    if (whole < 60)
        return QStringLiteral("%1m").arg(whole);
    const long long hours = whole / 60;
    const long long rest = whole % 60;
    return rest == 0 ? QStringLiteral("%1h").arg(hours) : QStringLiteral("%1h%2m").arg(hours).arg(rest);
}

QString ReplyText::day(QDate day, QDate today)
{
    const qint64 back = day.daysTo(today);
    if (back == 0)
        return QStringLiteral("今天");
    if (back == 1)
        return QStringLiteral("昨天");
    if (back == 2)
        return QStringLiteral("前天");
    if (day.year() != today.year())
        return QStringLiteral("%1年%2月%3日").arg(day.year()).arg(day.month()).arg(day.day());
    return QStringLiteral("%1月%2日").arg(day.month()).arg(day.day());
}

QString ReplyText::period(QDate from, QDate to, QDate today)
{
    if (from == to)
        return day(from, today);
    const QDate monday = today.addDays(1 - today.dayOfWeek());
    if (from == monday && to == monday.addDays(6))
        return QStringLiteral("本周");
    if (from == monday.addDays(-7) && to == monday.addDays(-1))
        return QStringLiteral("上周");
    const bool wholeMonth = from.day() == 1 && to == from.addMonths(1).addDays(-1);
    if (wholeMonth) {
        const QDate thisMonth(today.year(), today.month(), 1);
        if (from == thisMonth)
            return QStringLiteral("本月");
        if (from == thisMonth.addMonths(-1))
            return QStringLiteral("上个月");
        return from.year() == today.year() ? QStringLiteral("%1月").arg(from.month())
                                           : QStringLiteral("%1年%2月").arg(from.year()).arg(from.month());
    }
    if (from == QDate(today.year(), 1, 1) && to == QDate(today.year(), 12, 31))
        return QStringLiteral("今年");
    return QStringLiteral("%1至%2").arg(day(from, today), day(to, today));
}

QString ReplyText::clockRange(const QString& start, const QString& end)
{
    return start + u'–' + end;
}

} // namespace lumen::agent

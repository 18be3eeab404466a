#include "LocalClock.h"

#include <QRegularExpression>

namespace lumen {

namespace {

constexpr int kMinutesPerDay = 24 * 60;

QTimeZone zoneNamed(const QString& name)
{
    QTimeZone zone(name.toUtf8());
    return zone.isValid() ? zone : QTimeZone::systemTimeZone();
}

} // namespace

LocalClock::LocalClock(const Clock& clock, const QString& zoneName)
    : m_clock(clock)
    , m_zone(zoneNamed(zoneName))
{
}

QDateTime LocalClock::now() const
{
    return m_clock.now().toTimeZone(m_zone);
}

QDateTime LocalClock::at(QDate day, int minutes) const
{
    return QDateTime(day, QTime(0, 0), m_zone).addSecs(qint64(minutes) * 60);
}

QString LocalClock::clockOf(const QDateTime& instant) const
{
    return instant.toTimeZone(m_zone).toString(QStringLiteral("HH:mm"));
}

std::optional<QDateTime> LocalClock::parseInstant(const QString& text) const
{
    const QString trimmed = text.trimmed();
    if (const auto minutes = parseClock(trimmed); minutes && !trimmed.contains(u'T')) {
        const QDateTime current = now();
        QDateTime candidate = at(current.date(), *minutes);
        if (candidate > current)
            candidate = at(current.date().addDays(-1), *minutes);
        return candidate;
    }
    QDateTime instant = QDateTime::fromString(trimmed, Qt::ISODateWithMs);
    if (!instant.isValid())
        instant = QDateTime::fromString(trimmed, Qt::ISODate);
    if (!instant.isValid())
        return std::nullopt;
    // A time without an offset is the household's wall clock.
    if (instant.timeSpec() == Qt::LocalTime)
        instant = QDateTime(instant.date(), instant.time(), m_zone);
    return instant;
}

std::optional<int> LocalClock::parseClock(const QString& text)
{
    const QStringList parts = text.trimmed().split(u':');
    if (parts.size() < 2 || parts.size() > 3)
        return std::nullopt;
    static const QRegularExpression digits(QStringLiteral("^[0-9]{1,2}$"));
    if (!digits.match(parts[0]).hasMatch() || !digits.match(parts[1]).hasMatch())
        return std::nullopt;
    const int hours = parts[0].toInt();
    const int minutes = parts[1].toInt();
    if (hours > 23 || minutes > 59)
        return std::nullopt;
    return hours * 60 + minutes;
}

QString LocalClock::clockText(int minutes)
{
    const int m = ((minutes % kMinutesPerDay) + kMinutesPerDay) % kMinutesPerDay;
    return QStringLiteral("%1:%2").arg(m / 60, 2, 10, QLatin1Char('0')).arg(m % 60, 2, 10, QLatin1Char('0'));
}

std::optional<QDate> LocalClock::parseDay(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("^[0-9]{4}-[0-9]{2}-[0-9]{2}$"));
    if (!form.match(text.trimmed()).hasMatch())
        return std::nullopt;
    const QDate day = QDate::fromString(text.trimmed(), QStringLiteral("yyyy-MM-dd"));
    return day.isValid() ? std::optional<QDate>(day) : std::nullopt;
}

double LocalClock::durationMinutes(int startMinutes, int endMinutes)
{
    int minutes = endMinutes - startMinutes;
    if (minutes <= 0)
        minutes += kMinutesPerDay;
    return minutes;
}

QString LocalClock::isoUtc(qint64 secsSinceEpoch)
{
    return QDateTime::fromSecsSinceEpoch(secsSinceEpoch, Qt::UTC).toString(Qt::ISODate);
}

} // namespace lumen

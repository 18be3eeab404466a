#pragma once

#include "Clock.h"

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QTimeZone>

#include <optional>

namespace lumen {

// Days and clock times as a household reads them: "today" and "HH:mm" are taken in the
// household's zone, from the server's (injectable) clock.
class LocalClock {
public:
    LocalClock(const Clock& clock, const QString& zoneName);

    const QTimeZone& zone() const { return m_zone; }
    QDateTime now() const;
    QDate today() const { return now().date(); }
    // The instant of a day's clock time in the household's zone.
    QDateTime at(QDate day, int minutes) const;
    // "HH:mm" of an instant in the household's zone.
    QString clockOf(const QDateTime& instant) const;
    // An ISO 8601 instant, or a bare clock time meaning its latest occurrence at or before now.
    std::optional<QDateTime> parseInstant(const QString& text) const;

    // "9:5" and "09:05" are 545; hours above 23 or minutes above 59 are not clock times.
    static std::optional<int> parseClock(const QString& text);
    static QString clockText(int minutes);
    // A strict yyyy-MM-dd day.
    static std::optional<QDate> parseDay(const QString& text);
    static QString dayText(QDate day) { return day.toString(QStringLiteral("yyyy-MM-dd")); }
    // End minus start; an end not after the start lies on the next day.
    static double durationMinutes(int startMinutes, int endMinutes);
    // "2026-11-21T09:30:00Z".
    static QString isoUtc(qint64 secsSinceEpoch);

private:
    const Clock& m_clock;
    QTimeZone m_zone;
};

} // namespace lumen

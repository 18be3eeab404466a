#pragma once

#include "session/Clock.h"

#include "time/TimeDomainModels.h"

#include <QDate>
#include <QObject>
#include <QPointer>
#include <QString>

#include <qcoro/qcorotask.h>

#include <map>
#include <memory>
#include <optional>
#include <vector>

class LumenAPIClient;

// What the day, week and month screens ask for, kept in memory so they open without a wait:
// a day's confirmed entries and date-range summaries. Nothing is written to disk and nothing
// expires; every writer of time entries calls invalidateAround. Days are in the system zone.
// The app has one, owned by AppState; tests build their own.
class TimeCache : public QObject {
    Q_OBJECT

public:
    TimeCache(LumenAPIClient* api, std::shared_ptr<const Clock> clock, QObject* parent = nullptr);

    // "yyyy-MM-dd", the form of every day key.
    static QString dayString(const QDate& day);
    static QString rangeKey(const QString& from, const QString& to);

    std::optional<std::vector<wire::TimeEntry>> entries(const QString& day) const;
    std::optional<wire::TimeSummary> summary(const QString& from, const QString& to) const;
    void storeEntries(std::vector<wire::TimeEntry> entries, const QString& day);
    void storeSummary(wire::TimeSummary summary, const QString& from, const QString& to);

    // Drops the day and its two neighbours (an entry can cross midnight, and an edit can move
    // it to the next day) and every summary whose range holds the day. A day that does not
    // read as a date drops everything.
    void invalidateAround(const QString& day);
    void invalidateAll();

    // Fills what the time screens open on: each of the last `daysBack` days (entries and the
    // day's summary), this week (Monday to Sunday) and this month. One call at a time, to be
    // light on the server; a failed call leaves its piece uncached and the rest goes on.
    QCoro::Task<void> prefetchRecent(int daysBack);

    QDate today() const;

private:
    static QCoro::Task<void> fetchSummaryIfMissing(QPointer<TimeCache> self, LumenAPIClient* api, QDate from, QDate to);

    LumenAPIClient* m_api;
    std::shared_ptr<const Clock> m_clock;
    std::map<QString, std::vector<wire::TimeEntry>> m_entriesByDate;
    std::map<QString, wire::TimeSummary> m_summaryByKey;
};

#include "TimeCache.h"

#include "session/LumenAPIClient.h"

#include <QPointer>

TimeCache::TimeCache(LumenAPIClient* api, std::shared_ptr<const Clock> clock, QObject* parent)
    : QObject(parent)
    , m_api(api)
    , m_clock(std::move(clock))
{
}

QString TimeCache::dayString(const QDate& day)
{
    return day.toString(QStringLiteral("yyyy-MM-dd"));
}

QString TimeCache::rangeKey(const QString& from, const QString& to)
{
    return from + QStringLiteral("..") + to;
}

QDate TimeCache::today() const
{
    return m_clock->now().toLocalTime().date();
}

std::optional<std::vector<wire::TimeEntry>> TimeCache::entries(const QString& day) const
{
    const auto found = m_entriesByDate.find(day);
    if (found == m_entriesByDate.end())
        return std::nullopt;
    return found->second;
}

std::optional<wire::TimeSummary> TimeCache::summary(const QString& from, const QString& to) const
{
    const auto found = m_summaryByKey.find(rangeKey(from, to));
    if (found == m_summaryByKey.end())
        return std::nullopt;
    return found->second;
}

void TimeCache::storeEntries(std::vector<wire::TimeEntry> entries, const QString& day)
{
    m_entriesByDate[day] = std::move(entries);
}

void TimeCache::storeSummary(wire::TimeSummary summary, const QString& from, const QString& to)
{
    m_summaryByKey[rangeKey(from, to)] = std::move(summary);
}

void TimeCache::invalidateAround(const QString& day)
{
    const QDate date = QDate::fromString(day, QStringLiteral("yyyy-MM-dd"));
    if (!date.isValid()) {
        invalidateAll();
        return;
    }
    for (int offset = -1; offset <= 1; ++offset)
        m_entriesByDate.erase(dayString(date.addDays(offset)));
    // Text order is date order in this form, so the range test needs no parsing.
    const QString normalized = dayString(date);
    std::erase_if(m_summaryByKey, [&normalized](const auto& item) {
        const QStringList bounds = item.first.split(QStringLiteral(".."));
        return bounds.size() == 2 && bounds[0] <= normalized && normalized <= bounds[1];
    });
}

void TimeCache::invalidateAll()
{
    m_entriesByDate.clear();
    m_summaryByKey.clear();
}

// A summary is fetched only when missing; a failure leaves it missing.
QCoro::Task<void> TimeCache::fetchSummaryIfMissing(QPointer<TimeCache> self, LumenAPIClient* api, QDate from, QDate to)
{
    const QString first = dayString(from);
    const QString last = dayString(to);
    if (!self || self->summary(first, last))
        co_return;
    try {
        wire::TimeSummary summary = co_await api->timeSummary(first, last);
        if (self)
            self->storeSummary(std::move(summary), first, last);
    } catch (...) {
    }
}

QCoro::Task<void> TimeCache::prefetchRecent(int daysBack)
{
    QPointer<TimeCache> self(this);
    LumenAPIClient* api = m_api;
    const QDate today = this->today();

    for (int i = 0; i < daysBack; ++i) {
        const QDate date = today.addDays(-i);
        const QString day = dayString(date);
        if (!self->entries(day)) {
            try {
                std::vector<wire::TimeEntry> list = co_await api->timeList(day, 100, 1);
                if (!self)
                    co_return;
                self->storeEntries(std::move(list), day);
            } catch (...) {
            }
            if (!self)
                co_return;
        }
        co_await fetchSummaryIfMissing(self, api, date, date);
        if (!self)
            co_return;
    }

    const QDate monday = today.addDays(1 - today.dayOfWeek());
    const QDate sunday = monday.addDays(6);
    co_await fetchSummaryIfMissing(self, api, monday, sunday);
    if (!self)
        co_return;
    const QDate firstOfMonth(today.year(), today.month(), 1);
    const QDate lastOfMonth = firstOfMonth.addDays(firstOfMonth.daysInMonth() - 1);
    co_await fetchSummaryIfMissing(self, api, firstOfMonth, lastOfMonth);
}

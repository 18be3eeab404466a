#include "TimeWidgetModel.h"

#include "session/AppState.h"
#include "time/TimeDomain.h"
#include "time/TimeStore.h"

#include <QMap>

#include <algorithm>
#include <cmath>

TimeWidgetModel::TimeWidgetModel(QObject* parent)
    : QObject(parent)
{
}

void TimeWidgetModel::setAppState(AppState* appState)
{
    if (m_appState == appState)
        return;
    for (const auto& connection : m_connections)
        disconnect(connection);
    m_connections.clear();
    m_appState = appState;
    if (m_appState) {
        m_connections << connect(m_appState->time(), &TimeStore::entriesChanged, this, &TimeWidgetModel::recompute);
        m_connections << connect(m_appState->time(), &TimeStore::categoriesChanged, this, &TimeWidgetModel::recompute);
    }
    emit appStateChanged();
    recompute();
}

QString TimeWidgetModel::totalText() const
{
    return timeHM(m_totalMinutes);
}

void TimeWidgetModel::recompute()
{
    struct Bucket {
        QString name;
        QString color;
        double minutes = 0;
    };
    QMap<int, Bucket> buckets; // by category id; -1 for none
    double total = 0;
    int count = 0;
    if (m_appState) {
        const TimeStore* store = m_appState->time();
        const QString today = m_appState->deps().clock->now().toLocalTime().date().toString(Qt::ISODate);
        for (const wire::TimeEntry& entry : store->entries()) {
            if (entry.date != today || !entry.duration_min)
                continue;
            ++count;
            total += *entry.duration_min;
            const int key = entry.category_id.value_or(-1);
            Bucket& bucket = buckets[key];
            if (bucket.name.isEmpty()) {
                const auto category = store->category(entry.category_id);
                bucket.name = category ? category->name : QStringLiteral("未分类");
                bucket.color = category ? category->color.value_or(QString()) : QString();
            }
            bucket.minutes += *entry.duration_min;
        }
    }
    QList<Bucket> sorted = buckets.values();
    std::stable_sort(
        sorted.begin(), sorted.end(), [](const Bucket& a, const Bucket& b) { return a.minutes > b.minutes; });
    if (sorted.size() > maxRows) {
        Bucket rest { QStringLiteral("其他"), QString(), 0 };
        for (qsizetype i = maxRows - 1; i < sorted.size(); ++i)
            rest.minutes += sorted[i].minutes;
        sorted = sorted.mid(0, maxRows - 1);
        sorted << rest;
    }
    QVariantList rows;
    for (const Bucket& bucket : sorted) {
        rows << QVariantMap { { QStringLiteral("name"), bucket.name }, { QStringLiteral("color"), bucket.color },
            { QStringLiteral("minutes"), bucket.minutes }, { QStringLiteral("text"), timeHM(bucket.minutes) },
            { QStringLiteral("share"), total > 0 ? bucket.minutes / total : 0.0 } };
    }
    const int totalMinutes = static_cast<int>(std::lround(total));
    if (totalMinutes == m_totalMinutes && rows == m_categoryRows && count == m_entryCount)
        return;
    m_totalMinutes = totalMinutes;
    m_categoryRows = std::move(rows);
    m_entryCount = count;
    emit summaryChanged();
}

#pragma once

#include "Clock.h"

#include "time/TimeDomainModels.h"

#include <QDate>
#include <QDateTime>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace lumen {

namespace db {
class Connection;
class Database;
} // namespace db

class HouseholdService;
class LexiconService;
class LocalClock;

struct TimeListQuery {
    std::optional<QDate> date;
    std::optional<QDate> from; // with `to`: a range of days, both included
    std::optional<QDate> to;
    std::optional<int> confirmed;
    int limit = 100;
};

// A block about to be written; its duration is computed on the way in.
struct NewTimeEntry {
    QDate date;
    int startMinutes = 0;
    std::optional<int> endMinutes;
    QString activity;
    std::optional<int> categoryId;
    QString source;
    int confirmed = 1;
    std::optional<QString> rawNote;
    std::optional<QString> restQuality;
    std::optional<QString> place;
};

struct TimeStopResult {
    QString activity;
    QDateTime startedAt;
    QDateTime endedAt;
    double durationMin = 0;
    std::vector<wire::TimeEntry> entries; // one, or one per day for a run of a day or more
};

struct TimeStartResult {
    wire::TimeCurrent current;
    std::optional<TimeStopResult> stopped; // the activity that was running before
};

// The time ledger of each user: entries, the running activity and summaries. Dates and
// clocks are the household's; every read and write is confined to the asking user.
class TimeLedgerService {
public:
    TimeLedgerService(
        db::Database& database, HouseholdService& households, LexiconService& lexicons, std::shared_ptr<Clock> clock);

    // Newest first: by date, start and id, all descending.
    std::vector<wire::TimeEntry> list(qint64 userId, const TimeListQuery& query);
    wire::TimeEntry entry(qint64 userId, qint64 id);
    // Entries from a capture source wait for confirmation and take a learnt habit's category.
    // A client key already seen for this user answers with the entry it made, and books nothing.
    wire::TimeEntry addManual(
        qint64 userId, const wire::TimeManualRequest& request, const std::optional<QString>& clientKey = std::nullopt);
    wire::TimeConfirmResponse update(qint64 userId, qint64 id, const wire::TimeEntryUpdateRequest& request);
    void remove(qint64 userId, qint64 id);
    // Confirmed entries of the days from..to, counted on the day each began.
    wire::TimeSummary summary(qint64 userId, const QString& from, const QString& to);

    wire::TimeCurrent current(qint64 userId);
    // Starting while something runs stops that first, at the new start.
    TimeStartResult start(qint64 userId, const wire::TimeStartRequest& request);
    // Throws ApiError 400 when nothing is running.
    TimeStopResult stop(qint64 userId, const wire::TimeStopRequest& request);

    // The newest entry the user wrote (not one the sensor captured), with when it was written.
    std::optional<std::pair<wire::TimeEntry, qint64>> lastWritten(qint64 userId);

    // Building blocks inside the caller's transaction.
    wire::TimeEntry insertIn(db::Connection& connection, qint64 userId, const NewTimeEntry& entry);
    std::optional<wire::TimeEntry> entryIn(db::Connection& connection, qint64 userId, qint64 id);
    std::optional<wire::TimeEntry> keyedEntryIn(
        db::Connection& connection, qint64 userId, const QString& clientKey, const NewTimeEntry& asked);
    // `update` inside the caller's transaction; throws ApiError 404 when the entry is gone.
    wire::TimeConfirmResponse updateIn(db::Connection& connection, qint64 userId, qint64 householdId, qint64 id,
        const wire::TimeEntryUpdateRequest& request);
    // A category for an activity said without one: a learnt habit, then the household's words.
    std::optional<int> guessCategoryIn(
        db::Connection& connection, qint64 userId, qint64 householdId, const QString& activity);
    // Checks a category id of the household; throws ApiError 422 for an unknown one.
    static void requireCategoryIn(db::Connection& connection, qint64 householdId, int categoryId);

private:
    TimeStopResult stopIn(db::Connection& connection, qint64 userId, const LocalClock& local, QDateTime endedAt,
        const std::optional<QString>& note);
    std::optional<int> resolveStartCategory(
        db::Connection& connection, qint64 userId, qint64 householdId, const wire::TimeStartRequest& request);

    db::Database& m_database;
    HouseholdService& m_households;
    LexiconService& m_lexicons;
    std::shared_ptr<Clock> m_clock;
};

} // namespace lumen

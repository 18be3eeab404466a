#include "TimeLedgerService.h"

#include "ApiError.h"
#include "HouseholdService.h"
#include "LexiconService.h"
#include "LocalClock.h"
#include "TimeCategoryService.h"
#include "TimeHabits.h"
#include "db/Database.h"
#include "db/Transaction.h"

#include "Lexicon.h"

#include <QRegularExpression>

#include <algorithm>
#include <map>

namespace lumen {

namespace {

constexpr int kMaxListLimit = 5000;
constexpr int kMaxSummaryDays = 366;
constexpr int kMaxActivityLength = 200;
constexpr int kMaxNoteLength = 4000;

#define TIME_ENTRY_COLUMNS                                                                                             \
    "id, date, start_time, end_time, duration_min, activity, category_id, source, confirmed, raw_note, rest_quality, " \
    "place"

wire::TimeEntry entryRow(db::Statement& query)
{
    wire::TimeEntry entry;
    entry.id = int(query.integer(0));
    entry.date = query.text(1);
    entry.start_time = query.text(2);
    entry.end_time = query.optionalText(3);
    if (!query.isNull(4))
        entry.duration_min = query.real(4);
    entry.activity = query.text(5);
    if (!query.isNull(6))
        entry.category_id = int(query.integer(6));
    entry.source = query.text(7);
    entry.confirmed = int(query.integer(8));
    entry.raw_note = query.optionalText(9);
    entry.rest_quality = query.optionalText(10);
    entry.place = query.optionalText(11);
    return entry;
}

QDate checkedDay(const QString& text)
{
    const auto day = LocalClock::parseDay(text);
    if (!day)
        throw ApiError::unprocessable(QStringLiteral("日期格式应为 yyyy-MM-dd：%1").arg(text.left(40)));
    return *day;
}

int checkedClock(const QString& text)
{
    const auto minutes = LocalClock::parseClock(text);
    if (!minutes)
        throw ApiError::unprocessable(QStringLiteral("时间格式应为 HH:mm：%1").arg(text.left(40)));
    return *minutes;
}

QString checkedActivity(const QString& text)
{
    const QString activity = text.trimmed();
    if (activity.size() > kMaxActivityLength)
        throw ApiError::unprocessable(QStringLiteral("活动名称最多 %1 个字").arg(kMaxActivityLength));
    return activity;
}

// Letters, digits and -_.: only, so a key is safe to log and to compare byte for byte.
void checkedClientKey(const QString& key)
{
    static const QRegularExpression form(QStringLiteral("^[A-Za-z0-9._:-]{1,64}$"));
    if (!form.match(key).hasMatch())
        throw ApiError::unprocessable(QStringLiteral("Idempotency-Key 应为 1 到 64 个字母、数字或 -_.:"));
}

std::optional<QString> checkedNote(const std::optional<QString>& note)
{
    if (note && note->size() > kMaxNoteLength)
        throw ApiError::unprocessable(QStringLiteral("备注最多 %1 个字").arg(kMaxNoteLength));
    return note;
}

} // namespace

TimeLedgerService::TimeLedgerService(
    db::Database& database, HouseholdService& households, LexiconService& lexicons, std::shared_ptr<Clock> clock)
    : m_database(database)
    , m_households(households)
    , m_lexicons(lexicons)
    , m_clock(std::move(clock))
{
}

void TimeLedgerService::requireCategoryIn(db::Connection& connection, qint64 householdId, int categoryId)
{
    if (!TimeCategoryService::liveCategory(connection, householdId, categoryId))
        throw ApiError::unprocessable(QStringLiteral("时间分类 %1 不存在").arg(categoryId));
}

std::optional<int> TimeLedgerService::guessCategoryIn(
    db::Connection& connection, qint64 userId, qint64 householdId, const QString& activity)
{
    if (const auto habit = TimeHabits::categoryFor(connection, userId, TimeHabits::appOf(activity));
        habit && TimeCategoryService::liveCategory(connection, householdId, *habit))
        return habit;
    const auto lexicon = m_lexicons.lexiconFor(householdId);
    const QString folded = activity.toLower();
    if (const auto name = lexicon->matchTime(folded))
        return TimeCategoryService::liveIdByName(connection, householdId, *name);
    return std::nullopt;
}

std::vector<wire::TimeEntry> TimeLedgerService::list(qint64 userId, const TimeListQuery& query)
{
    if (query.limit < 1)
        throw ApiError::unprocessable(QStringLiteral("limit 应为正整数"));
    if (query.confirmed && *query.confirmed != 0 && *query.confirmed != 1)
        throw ApiError::unprocessable(QStringLiteral("confirmed 只能是 0 或 1"));
    const QString day = query.date ? LocalClock::dayText(*query.date) : QString();
    auto statement = m_database.connection().prepare(
        "SELECT " TIME_ENTRY_COLUMNS " FROM time_entries WHERE user_id = :user "
        "AND (:day = '' OR date = :day) AND (:from = '' OR date >= :from) AND (:to = '' OR date <= :to) "
        "AND (:confirmed < 0 OR confirmed = :confirmed) "
        "ORDER BY date DESC, start_time DESC, id DESC LIMIT :limit");
    statement.bind(":user", userId)
        .bind(":day", day)
        .bind(":from", query.from ? LocalClock::dayText(*query.from) : QString())
        .bind(":to", query.to ? LocalClock::dayText(*query.to) : QString())
        .bind(":confirmed", query.confirmed.value_or(-1))
        .bind(":limit", std::min(query.limit, kMaxListLimit));
    std::vector<wire::TimeEntry> entries;
    while (statement.step())
        entries.push_back(entryRow(statement));
    return entries;
}

std::optional<wire::TimeEntry> TimeLedgerService::entryIn(db::Connection& connection, qint64 userId, qint64 id)
{
    auto query
        = connection.prepare("SELECT " TIME_ENTRY_COLUMNS " FROM time_entries WHERE id = :id AND user_id = :user");
    query.bind(":id", id).bind(":user", userId);
    if (!query.step())
        return std::nullopt;
    return entryRow(query);
}

wire::TimeEntry TimeLedgerService::entry(qint64 userId, qint64 id)
{
    if (auto found = entryIn(m_database.connection(), userId, id))
        return *found;
    throw ApiError::notFound(QStringLiteral("时间记录不存在"));
}

wire::TimeEntry TimeLedgerService::insertIn(db::Connection& connection, qint64 userId, const NewTimeEntry& entry)
{
    std::optional<double> duration;
    if (entry.endMinutes)
        duration = LocalClock::durationMinutes(entry.startMinutes, *entry.endMinutes);
    std::optional<int> categoryId = entry.categoryId;
    if (!categoryId && TimeHabits::isCaptureSource(entry.source))
        categoryId = TimeHabits::categoryFor(connection, userId, TimeHabits::appOf(entry.activity));
    const qint64 now = m_clock->nowSecs();
    auto insert = connection.prepare(
        "INSERT INTO time_entries (user_id, date, start_time, end_time, duration_min, activity, category_id, source, "
        "confirmed, raw_note, rest_quality, place, created_at, updated_at) VALUES (:user, :date, :start, :end, "
        ":duration, :activity, :category, :source, :confirmed, :note, :rest, :place, :now, :now)");
    insert.bind(":user", userId)
        .bind(":date", LocalClock::dayText(entry.date))
        .bind(":start", LocalClock::clockText(entry.startMinutes))
        .bind(
            ":end", entry.endMinutes ? std::optional<QString>(LocalClock::clockText(*entry.endMinutes)) : std::nullopt)
        .bind(":activity", entry.activity)
        .bind(":source", entry.source)
        .bind(":confirmed", entry.confirmed)
        .bind(":note", entry.rawNote)
        .bind(":rest", entry.restQuality)
        .bind(":place", entry.place)
        .bind(":now", now);
    if (duration)
        insert.bind(":duration", *duration);
    else
        insert.bindNull(":duration");
    if (categoryId)
        insert.bind(":category", *categoryId);
    else
        insert.bindNull(":category");
    insert.run();
    return *entryIn(connection, userId, connection.lastInsertId());
}

wire::TimeEntry TimeLedgerService::addManual(
    qint64 userId, const wire::TimeManualRequest& request, const std::optional<QString>& clientKey)
{
    if (clientKey)
        checkedClientKey(*clientKey);
    NewTimeEntry entry;
    entry.date = checkedDay(request.date);
    entry.startMinutes = checkedClock(request.start_time);
    entry.endMinutes = checkedClock(request.end_time);
    entry.activity = checkedActivity(request.activity);
    entry.source = request.source.trimmed().isEmpty() ? QStringLiteral("app") : request.source.trimmed();
    entry.rawNote = checkedNote(request.raw_note);
    const bool captured = TimeHabits::isCaptureSource(entry.source);
    // The sensor's offscreen blocks have no name on purpose; people's entries need one.
    if (entry.activity.isEmpty() && !captured)
        throw ApiError::unprocessable(QStringLiteral("活动名称不能为空"));
    entry.confirmed = captured ? 0 : 1;

    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    if (clientKey) {
        if (auto earlier = keyedEntryIn(connection, userId, *clientKey, entry))
            return *earlier;
    }
    if (request.category_id)
        requireCategoryIn(connection, household.id, *request.category_id);
    entry.categoryId = request.category_id;
    if (!entry.categoryId && !captured)
        entry.categoryId = guessCategoryIn(connection, userId, household.id, entry.activity);
    wire::TimeEntry written = insertIn(connection, userId, entry);
    if (clientKey) {
        connection
            .prepare("INSERT INTO time_capture_keys (user_id, client_key, entry_id, duration_min, created_at) "
                     "VALUES (:user, :key, :entry, :duration, :now)")
            .bind(":user", userId)
            .bind(":key", *clientKey)
            .bind(":entry", written.id)
            .bind(":duration", written.duration_min.value_or(0))
            .bind(":now", m_clock->nowSecs())
            .run();
    }
    transaction.commit();
    return written;
}

std::optional<wire::TimeEntry> TimeLedgerService::keyedEntryIn(
    db::Connection& connection, qint64 userId, const QString& clientKey, const NewTimeEntry& asked)
{
    auto query = connection.prepare(
        "SELECT entry_id, duration_min FROM time_capture_keys WHERE user_id = :user AND client_key = :key");
    query.bind(":user", userId).bind(":key", clientKey);
    if (!query.step())
        return std::nullopt;
    const qint64 id = query.integer(0);
    if (auto found = entryIn(connection, userId, id))
        return found;
    // The user has deleted it since: answer as before, and leave it deleted.
    wire::TimeEntry gone;
    gone.id = int(id);
    gone.date = LocalClock::dayText(asked.date);
    gone.start_time = LocalClock::clockText(asked.startMinutes);
    gone.activity = asked.activity;
    gone.source = asked.source;
    gone.duration_min = query.real(1);
    return gone;
}

wire::TimeConfirmResponse TimeLedgerService::update(
    qint64 userId, qint64 id, const wire::TimeEntryUpdateRequest& request)
{
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const wire::TimeConfirmResponse response = updateIn(connection, userId, household.id, id, request);
    transaction.commit();
    return response;
}

wire::TimeConfirmResponse TimeLedgerService::updateIn(db::Connection& connection, qint64 userId, qint64 householdId,
    qint64 id, const wire::TimeEntryUpdateRequest& request)
{
    if (request.confirmed && *request.confirmed != 0 && *request.confirmed != 1)
        throw ApiError::unprocessable(QStringLiteral("confirmed 只能是 0 或 1"));
    const auto found = entryIn(connection, userId, id);
    if (!found)
        throw ApiError::notFound(QStringLiteral("时间记录不存在"));
    wire::TimeEntry entry = *found;

    if (request.date)
        entry.date = LocalClock::dayText(checkedDay(*request.date));
    if (request.start_time)
        entry.start_time = LocalClock::clockText(checkedClock(*request.start_time));
    if (request.end_time)
        entry.end_time = LocalClock::clockText(checkedClock(*request.end_time));
    if (request.activity) {
        entry.activity = checkedActivity(*request.activity);
        if (entry.activity.isEmpty() && !TimeHabits::isCaptureSource(entry.source))
            throw ApiError::unprocessable(QStringLiteral("活动名称不能为空"));
    }
    if (request.category_id) {
        requireCategoryIn(connection, householdId, *request.category_id);
        entry.category_id = request.category_id;
    }
    if (request.confirmed)
        entry.confirmed = *request.confirmed;
    if (request.rest_quality)
        entry.rest_quality = request.rest_quality->trimmed().left(40);
    const auto start = LocalClock::parseClock(entry.start_time);
    const auto end = entry.end_time ? LocalClock::parseClock(*entry.end_time) : std::nullopt;
    entry.duration_min = start && end ? std::optional<double>(LocalClock::durationMinutes(*start, *end)) : std::nullopt;

    auto statement = connection.prepare(
        "UPDATE time_entries SET date = :date, start_time = :start, end_time = :end, duration_min = :duration, "
        "activity = :activity, category_id = :category, confirmed = :confirmed, rest_quality = :rest, "
        "updated_at = :now WHERE id = :id AND user_id = :user");
    statement.bind(":date", entry.date)
        .bind(":start", entry.start_time)
        .bind(":end", entry.end_time)
        .bind(":activity", entry.activity)
        .bind(":confirmed", entry.confirmed)
        .bind(":rest", entry.rest_quality)
        .bind(":now", m_clock->nowSecs())
        .bind(":id", id)
        .bind(":user", userId);
    if (entry.duration_min)
        statement.bind(":duration", *entry.duration_min);
    else
        statement.bindNull(":duration");
    if (entry.category_id)
        statement.bind(":category", *entry.category_id);
    else
        statement.bindNull(":category");
    statement.run();

    bool learned = false;
    const bool confirmedNow = found->confirmed == 0 && entry.confirmed == 1;
    if (confirmedNow && entry.category_id && TimeHabits::isCaptureSource(entry.source)) {
        learned = TimeHabits::recordConfirmation(
            connection, userId, TimeHabits::appOf(entry.activity), *entry.category_id, m_clock->nowSecs());
    }
    return { true, learned };
}

void TimeLedgerService::remove(qint64 userId, qint64 id)
{
    const int removed = m_database.connection()
                            .prepare("DELETE FROM time_entries WHERE id = :id AND user_id = :user")
                            .bind(":id", id)
                            .bind(":user", userId)
                            .run();
    if (removed == 0)
        throw ApiError::notFound(QStringLiteral("时间记录不存在"));
}

std::optional<std::pair<wire::TimeEntry, qint64>> TimeLedgerService::lastWritten(qint64 userId)
{
    auto query = m_database.connection().prepare("SELECT " TIME_ENTRY_COLUMNS ", created_at FROM time_entries "
                                                 "WHERE user_id = :user AND source != 'mac-sensor' "
                                                 "ORDER BY created_at DESC, id DESC LIMIT 1");
    query.bind(":user", userId);
    if (!query.step())
        return std::nullopt;
    return std::make_pair(entryRow(query), query.integer(12));
}

wire::TimeSummary TimeLedgerService::summary(qint64 userId, const QString& from, const QString& to)
{
    const QDate first = checkedDay(from);
    const QDate last = checkedDay(to);
    if (first > last)
        throw ApiError::unprocessable(QStringLiteral("开始日期不能晚于结束日期"));
    if (first.daysTo(last) >= kMaxSummaryDays)
        throw ApiError::unprocessable(QStringLiteral("查询范围不能超过 %1 天").arg(kMaxSummaryDays));

    wire::TimeSummary summary = wire::TimeSummary::empty(LocalClock::dayText(first), LocalClock::dayText(last));
    // Keyed by category id; an entry without a category counts under -1, sent as no id.
    std::map<QString, std::map<int, double>> byDay;
    std::map<int, double> totals;
    auto query = m_database.connection().prepare(
        "SELECT date, category_id, duration_min FROM time_entries WHERE user_id = :user AND confirmed = 1 "
        "AND date >= :from AND date <= :to AND duration_min IS NOT NULL");
    query.bind(":user", userId).bind(":from", summary.from).bind(":to", summary.to);
    while (query.step()) {
        const int category = query.isNull(1) ? -1 : int(query.integer(1));
        const double minutes = query.real(2);
        byDay[query.text(0)][category] += minutes;
        totals[category] += minutes;
        summary.total_min += minutes;
        ++summary.entry_count;
    }
    auto minutesList = [](const std::map<int, double>& minutes) {
        std::vector<wire::TimeCategoryMinutes> list;
        for (const auto& [category, total] : minutes)
            list.push_back({ category < 0 ? std::nullopt : std::optional<int>(category), total });
        std::stable_sort(list.begin(), list.end(), [](const auto& a, const auto& b) { return a.minutes > b.minutes; });
        return list;
    };
    for (const auto& [day, minutes] : byDay) {
        double total = 0;
        for (const auto& [category, value] : minutes)
            total += value;
        summary.days.push_back({ day, total, minutesList(minutes) });
    }
    summary.category_totals = minutesList(totals);
    return summary;
}

} // namespace lumen

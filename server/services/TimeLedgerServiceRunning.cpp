// The running activity: one per user, started and stopped by the app, the chat and the relay.

#include "ApiError.h"
#include "HouseholdService.h"
#include "LocalClock.h"
#include "TimeCategoryService.h"
#include "TimeLedgerService.h"
#include "db/Database.h"
#include "db/Transaction.h"

namespace lumen {

namespace {

constexpr qint64 kSecsPerDay = 24 * 60 * 60;
// A start a little ahead of the server's clock is the client's clock running fast, not the future.
constexpr qint64 kClockSkewSecs = 60;

struct Running {
    QString activity;
    std::optional<int> categoryId;
    qint64 startedAt = 0;
    QString source;
    qint64 updatedAt = 0;
};

std::optional<Running> runningIn(db::Connection& connection, qint64 userId)
{
    auto query = connection.prepare(
        "SELECT activity, category_id, started_at, source, updated_at FROM time_current WHERE user_id = :user");
    query.bind(":user", userId);
    if (!query.step())
        return std::nullopt;
    Running running { query.text(0), std::nullopt, query.integer(2), query.text(3), query.integer(4) };
    if (!query.isNull(1))
        running.categoryId = int(query.integer(1));
    return running;
}

int minuteOfDay(const QDateTime& local)
{
    return local.time().hour() * 60 + local.time().minute();
}

// The blocks one run leaves in the ledger. Under a day it is one block, which may end after
// midnight; a run of a day or more (a timer left on) is cut at each midnight so that no block
// claims more than its day.
std::vector<NewTimeEntry> blocksOf(const LocalClock& local, const QDateTime& startedAt, const QDateTime& endedAt)
{
    const QDateTime start = startedAt.toTimeZone(local.zone());
    QDateTime end = endedAt.toTimeZone(local.zone());
    std::vector<NewTimeEntry> blocks;
    auto block = [](QDate day, int from, int to) {
        NewTimeEntry entry;
        entry.date = day;
        entry.startMinutes = from;
        entry.endMinutes = to;
        return entry;
    };
    if (start.secsTo(end) < kSecsPerDay) {
        int endMinute = minuteOfDay(end);
        // Started and stopped within one minute: a minute, not a whole day.
        if (endMinute == minuteOfDay(start) && start.date() == end.date())
            endMinute = (endMinute + 1) % (24 * 60);
        blocks.push_back(block(start.date(), minuteOfDay(start), endMinute));
        return blocks;
    }
    QDateTime pieceStart = start;
    while (pieceStart < end) {
        const QDateTime midnight = local.at(pieceStart.date().addDays(1), 0);
        const QDateTime pieceEnd = std::min(midnight, end);
        if (pieceStart.secsTo(pieceEnd) >= 60)
            blocks.push_back(
                block(pieceStart.date(), minuteOfDay(pieceStart), minuteOfDay(pieceEnd.toTimeZone(local.zone()))));
        pieceStart = pieceEnd;
    }
    return blocks;
}

} // namespace

wire::TimeCurrent TimeLedgerService::current(qint64 userId)
{
    const auto running = runningIn(m_database.connection(), userId);
    if (!running)
        return wire::TimeCurrent {};
    return { true, running->activity, running->categoryId, LocalClock::isoUtc(running->startedAt), running->source,
        LocalClock::isoUtc(running->updatedAt) };
}

std::optional<int> TimeLedgerService::resolveStartCategory(
    db::Connection& connection, qint64 userId, qint64 householdId, const wire::TimeStartRequest& request)
{
    if (request.category_id) {
        requireCategoryIn(connection, householdId, *request.category_id);
        return request.category_id;
    }
    if (request.category && !request.category->trimmed().isEmpty()) {
        const auto id = TimeCategoryService::liveIdByName(connection, householdId, *request.category);
        if (!id)
            throw ApiError::unprocessable(QStringLiteral("时间分类「%1」不存在").arg(request.category->trimmed()));
        return id;
    }
    return guessCategoryIn(connection, userId, householdId, request.activity);
}

TimeStartResult TimeLedgerService::start(qint64 userId, const wire::TimeStartRequest& request)
{
    const QString activity = request.activity.trimmed();
    if (activity.isEmpty())
        throw ApiError::unprocessable(QStringLiteral("活动名称不能为空"));
    if (activity.size() > 200)
        throw ApiError::unprocessable(QStringLiteral("活动名称最多 200 个字"));
    const Household household = m_households.householdOf(userId);
    const LocalClock local(*m_clock, household.timezone);
    const QDateTime now = m_clock->now();
    QDateTime startedAt = now;
    if (request.start_time) {
        const auto parsed = local.parseInstant(*request.start_time);
        if (!parsed)
            throw ApiError::unprocessable(QStringLiteral("开始时间格式应为 HH:mm 或 ISO 8601"));
        if (parsed->toSecsSinceEpoch() > now.toSecsSinceEpoch() + kClockSkewSecs)
            throw ApiError::unprocessable(QStringLiteral("开始时间不能晚于现在"));
        startedAt = std::min(*parsed, now);
    }
    const QString source = request.source.trimmed().isEmpty() ? QStringLiteral("app") : request.source.trimmed();

    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const std::optional<int> categoryId = resolveStartCategory(connection, userId, household.id, request);
    TimeStartResult result;
    if (const auto running = runningIn(connection, userId)) {
        if (startedAt.toSecsSinceEpoch() < running->startedAt)
            throw ApiError::unprocessable(QStringLiteral("开始时间早于正在进行的「%1」").arg(running->activity));
        result.stopped = stopIn(connection, userId, local, startedAt, std::nullopt);
    }
    auto insert = connection.prepare("INSERT INTO time_current (user_id, activity, category_id, started_at, source, "
                                     "updated_at) VALUES (:user, :activity, :category, :started, :source, :now)");
    insert.bind(":user", userId)
        .bind(":activity", activity)
        .bind(":started", startedAt.toSecsSinceEpoch())
        .bind(":source", source)
        .bind(":now", now.toSecsSinceEpoch());
    if (categoryId)
        insert.bind(":category", *categoryId);
    else
        insert.bindNull(":category");
    insert.run();
    transaction.commit();
    result.current = { true, activity, categoryId, LocalClock::isoUtc(startedAt.toSecsSinceEpoch()), source,
        LocalClock::isoUtc(now.toSecsSinceEpoch()) };
    return result;
}

TimeStopResult TimeLedgerService::stop(qint64 userId, const wire::TimeStopRequest& request)
{
    const Household household = m_households.householdOf(userId);
    const LocalClock local(*m_clock, household.timezone);
    const QDateTime now = m_clock->now();
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const auto running = runningIn(connection, userId);
    if (!running)
        throw ApiError::badRequest(QStringLiteral("当前没有进行中的活动"));
    QDateTime endedAt = now;
    if (request.end_time) {
        const auto parsed = local.parseInstant(*request.end_time);
        if (!parsed)
            throw ApiError::unprocessable(QStringLiteral("结束时间格式应为 HH:mm 或 ISO 8601"));
        if (parsed->toSecsSinceEpoch() < running->startedAt)
            throw ApiError::unprocessable(QStringLiteral("结束时间早于开始时间"));
        endedAt = std::min(*parsed, now);
    }
    if (request.note && request.note->size() > 4000)
        throw ApiError::unprocessable(QStringLiteral("备注最多 4000 个字"));
    TimeStopResult result = stopIn(connection, userId, local, endedAt, request.note);
    transaction.commit();
    return result;
}

TimeStopResult TimeLedgerService::stopIn(db::Connection& connection, qint64 userId, const LocalClock& local,
    QDateTime endedAt, const std::optional<QString>& note)
{
    const auto running = runningIn(connection, userId);
    TimeStopResult result;
    result.activity = running->activity;
    result.startedAt = QDateTime::fromSecsSinceEpoch(running->startedAt, Qt::UTC);
    result.endedAt = endedAt;
    const std::optional<QString> rawNote
        = note && !note->trimmed().isEmpty() ? std::optional<QString>(note->trimmed()) : std::nullopt;
    for (NewTimeEntry block : blocksOf(local, result.startedAt, endedAt)) {
        block.activity = running->activity;
        block.categoryId = running->categoryId;
        block.source = running->source;
        block.rawNote = rawNote;
        wire::TimeEntry written = insertIn(connection, userId, block);
        result.durationMin += written.duration_min.value_or(0);
        result.entries.push_back(std::move(written));
    }
    connection.prepare("DELETE FROM time_current WHERE user_id = :user").bind(":user", userId).run();
    return result;
}

} // namespace lumen

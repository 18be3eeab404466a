#include "FinanceSummaryService.h"

#include "ApiError.h"
#include "FinanceInput.h"
#include "HouseholdService.h"
#include "LocalClock.h"
#include "db/Database.h"
#include "db/Transaction.h"

#include "finance/Money.h"

#include <algorithm>
#include <map>

namespace lumen {

namespace {

// Every figure reads the month index only; the reserved names are spelt out so it can.
#define COUNTED_LINES                                                                                                  \
    "household_id = :household AND date >= :from AND date < :to "                                                      \
    "AND (category IS NULL OR category NOT IN ('转账', '余额调整'))"

struct Flow {
    wire::Money expense;
    wire::Money income;
    int count = 0;

    void add(const QString& direction, wire::Money amount, int lines)
    {
        (direction == QStringLiteral("income") ? income : expense) += amount;
        count += lines;
    }
};

QString monthText(QDate first)
{
    return first.toString(QStringLiteral("yyyy-MM"));
}

Flow flowIn(db::Connection& connection, qint64 householdId, QDate from, QDate to)
{
    auto query = connection.prepare("SELECT direction, SUM(amount_aud_minor), COUNT(*) FROM finance_transactions "
                                    "WHERE " COUNTED_LINES " GROUP BY direction");
    query.bind(":household", householdId).bind(":from", LocalClock::dayText(from)).bind(":to", LocalClock::dayText(to));
    Flow flow;
    while (query.step())
        flow.add(query.text(0), wire::Money::fromMinor(query.integer(1)), int(query.integer(2)));
    return flow;
}

} // namespace

FinanceSummaryService::FinanceSummaryService(db::Database& database, HouseholdService& households)
    : m_database(database)
    , m_households(households)
{
}

QStringList FinanceSummaryService::months(qint64 userId)
{
    const Household household = m_households.householdOf(userId);
    // One probe per month, newest first: each jumps the index to the month before.
    db::Connection& connection = m_database.connection();
    QStringList months;
    QString before = QStringLiteral("9999-99");
    for (;;) {
        auto query = connection.prepare("SELECT MAX(date) FROM finance_transactions "
                                        "WHERE household_id = :household AND date < :before");
        query.bind(":household", household.id).bind(":before", before);
        if (!query.step() || query.isNull(0))
            break;
        const QString month = query.text(0).left(7);
        months.append(month);
        before = month;
    }
    return months;
}

wire::FinanceSummary FinanceSummaryService::summary(qint64 userId, const QString& month)
{
    const QDate first = FinanceInput::month(month);
    const QDate next = first.addMonths(1);
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction snapshot(connection, db::Transaction::Mode::Read);

    std::map<QString, std::optional<QString>> colors;
    {
        auto query = connection.prepare("SELECT name, color FROM finance_categories WHERE household_id = :household");
        query.bind(":household", household.id);
        while (query.step())
            colors[query.text(0)] = query.optionalText(1);
    }

    struct Bucket {
        wire::Money amount;
        int count = 0;
    };
    std::map<std::pair<QString, QString>, Bucket> byCategory; // (direction, category)
    std::map<QString, Flow> bySpender;
    std::map<QString, Flow> byDay;
    Flow total;
    auto query = connection.prepare(
        "SELECT direction, COALESCE(category, '其他'), COALESCE(spender, ''), date, SUM(amount_aud_minor), COUNT(*) "
        "FROM finance_transactions WHERE " COUNTED_LINES " GROUP BY direction, category, spender, date");
    query.bind(":household", household.id)
        .bind(":from", LocalClock::dayText(first))
        .bind(":to", LocalClock::dayText(next));
    while (query.step()) {
        const QString direction
            = query.text(0) == QStringLiteral("income") ? QStringLiteral("income") : QStringLiteral("expense");
        const wire::Money amount = wire::Money::fromMinor(query.integer(4));
        const int count = int(query.integer(5));
        Bucket& bucket = byCategory[{ direction, query.text(1) }];
        bucket.amount += amount;
        bucket.count += count;
        bySpender[query.text(2)].add(direction, amount, count);
        byDay[query.text(3)].add(direction, amount, count);
        total.add(direction, amount, count);
    }

    wire::FinanceSummary summary;
    summary.month = monthText(first);
    summary.currency = QStringLiteral("AUD");
    summary.expense = total.expense.amount();
    summary.income = total.income.amount();
    summary.net = (total.income - total.expense).amount();
    summary.count = total.count;
    summary.previous_expense = flowIn(connection, household.id, first.addMonths(-1), first).expense.amount();
    for (const auto& [key, bucket] : byCategory) {
        const wire::Money whole = key.first == QStringLiteral("income") ? total.income : total.expense;
        const auto color = colors.find(key.second);
        summary.by_category.push_back(
            { key.second, key.first, color == colors.end() ? std::nullopt : color->second, bucket.amount.amount(),
                bucket.count, whole.minor() > 0 ? double(bucket.amount.minor()) / double(whole.minor()) : 0.0 });
    }
    std::stable_sort(summary.by_category.begin(), summary.by_category.end(), [](const auto& a, const auto& b) {
        if (a.kind != b.kind)
            return a.kind == QStringLiteral("expense");
        return a.amount > b.amount;
    });
    for (const auto& [spender, flow] : bySpender)
        summary.by_spender.push_back({ spender, flow.expense.amount(), flow.income.amount(), flow.count });
    std::stable_sort(summary.by_spender.begin(), summary.by_spender.end(),
        [](const auto& a, const auto& b) { return a.expense > b.expense; });
    for (QDate day = first; day < next; day = day.addDays(1)) {
        const auto found = byDay.find(LocalClock::dayText(day));
        const Flow flow = found == byDay.end() ? Flow() : found->second;
        summary.daily.push_back({ LocalClock::dayText(day), flow.expense.amount(), flow.income.amount() });
    }
    snapshot.commit();
    return summary;
}

wire::FinanceTrend FinanceSummaryService::trend(qint64 userId, const QString& granularity, const QString& month)
{
    const QDate last = FinanceInput::month(month);
    const bool byDay = granularity == QStringLiteral("day");
    if (!byDay && granularity != QStringLiteral("month"))
        throw ApiError::unprocessable(QStringLiteral("granularity 只能是 month 或 day"));
    const QDate from = byDay ? last : last.addMonths(-11);
    const QDate to = last.addMonths(1);
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();

    std::map<QString, Flow> flows;
    auto query = connection.prepare(
        "SELECT CASE WHEN :by_day THEN date ELSE substr(date, 1, 7) END AS period, direction, "
        "SUM(amount_aud_minor), COUNT(*) FROM finance_transactions WHERE " COUNTED_LINES " GROUP BY period, direction");
    query.bind(":by_day", byDay ? 1 : 0)
        .bind(":household", household.id)
        .bind(":from", LocalClock::dayText(from))
        .bind(":to", LocalClock::dayText(to));
    while (query.step())
        flows[query.text(0)].add(query.text(1), wire::Money::fromMinor(query.integer(2)), int(query.integer(3)));

    wire::FinanceTrend trend;
    trend.granularity = byDay ? QStringLiteral("day") : QStringLiteral("month");
    trend.month = monthText(last);
    for (QDate period = from; period < to; period = byDay ? period.addDays(1) : period.addMonths(1)) {
        const QString key = byDay ? LocalClock::dayText(period) : monthText(period);
        const auto found = flows.find(key);
        const Flow flow = found == flows.end() ? Flow() : found->second;
        trend.points.push_back(
            { key, flow.expense.amount(), flow.income.amount(), (flow.income - flow.expense).amount(), flow.count });
    }
    return trend;
}

wire::CashFlow FinanceSummaryService::cashFlow(qint64 userId, const QString& month)
{
    const QDate first = FinanceInput::month(month);
    const Household household = m_households.householdOf(userId);
    const Flow flow = flowIn(m_database.connection(), household.id, first, first.addMonths(1));
    return { monthText(first), flow.income.amount(), flow.expense.amount(), (flow.income - flow.expense).amount() };
}

} // namespace lumen

// Questions about the ledgers.

#include "BuiltinAgent.h"
#include "RecordPreview.h"
#include "ReplyText.h"
#include "TurnChannel.h"

#include "Backend.h"
#include "services/LocalClock.h"

#include <cmath>
#include <map>

namespace lumen::agent {

namespace {

const QString kFinance = QStringLiteral("finance");
const QString kTime = QStringLiteral("time");
constexpr std::size_t kMaxRows = 50;

QString share(double part, double whole)
{
    return whole > 0 ? QStringLiteral("%1%").arg(std::llround(part / whole * 100)) : QStringLiteral("0%");
}

} // namespace

void BuiltinAgent::answerQuery(Turn& turn)
{
    const language::Query& query = *turn.intent.query;
    if (query.domain == language::QueryDomain::time)
        answerTimeQuery(turn, query);
    else
        answerFinanceQuery(turn, query);
}

void BuiltinAgent::answerFinanceQuery(Turn& turn, const language::Query& query)
{
    const QDate today = turn.context.today();
    const QString period = ReplyText::period(query.range.from, query.range.to, today);
    const QString direction
        = query.flow == language::MoneyFlow::income ? QStringLiteral("income") : QStringLiteral("expense");
    const QString flowWord = direction == QLatin1String("income") ? QStringLiteral("收入") : QStringLiteral("支出");
    const QString tool = turn.channel.startTool(QStringLiteral("query_ledger"),
        { { QStringLiteral("domain"), kFinance }, { QStringLiteral("from"), LocalClock::dayText(query.range.from) },
            { QStringLiteral("to"), LocalClock::dayText(query.range.to) }, { QStringLiteral("direction"), direction },
            { QStringLiteral("category"), query.category } });
    const FinanceTotals totals = m_backend.financeLedger().totals(
        turn.request.user.userId, query.range.from, query.range.to, direction, query.category);
    turn.channel.finishTool(tool, true, QStringLiteral("%1 笔").arg(totals.count));

    const QString subject = query.category.isEmpty() ? flowWord : query.category + flowWord;
    const QString title = period + subject;
    const QString total = ReplyText::money(totals.totalAud, QStringLiteral("AUD"));
    std::vector<QJsonObject> rows;
    QString idHint;
    if (!query.category.isEmpty()) {
        idHint = QStringLiteral("id");
        for (const wire::Transaction& line : totals.lines) {
            if (rows.size() == kMaxRows)
                break;
            rows.push_back({ { QStringLiteral("日期"), RecordPreview::shortDay(line.date) },
                { QStringLiteral("金额"),
                    ReplyText::money(line.amount, line.currency.value_or(QStringLiteral("AUD"))) },
                { QStringLiteral("说明"), line.desc.value_or(QString()) },
                { QStringLiteral("id"), QString::number(line.id) } });
        }
    } else {
        for (const auto& [category, amount] : totals.byCategory) {
            rows.push_back({ { QStringLiteral("分类"), category },
                { QStringLiteral("金额"), ReplyText::money(amount, QStringLiteral("AUD")) },
                { QStringLiteral("占比"), share(amount, totals.totalAud) } });
        }
    }
    const QString summary = QStringLiteral("共 %1，%2 笔").arg(total).arg(totals.count);
    if (totals.count == 0)
        turn.channel.say(QStringLiteral("%1还没有%2记录。").arg(period, subject));
    else
        turn.channel.say(QStringLiteral("%1%2 %3，共 %4 笔。").arg(period, subject, total).arg(totals.count));
    turn.channel.send(AgentEvent::queryResult(kFinance, title, summary, rows, idHint));
}

void BuiltinAgent::answerTimeQuery(Turn& turn, const language::Query& query)
{
    const QDate today = turn.context.today();
    const QString period = ReplyText::period(query.range.from, query.range.to, today);
    const qint64 userId = turn.request.user.userId;
    std::optional<int> categoryId;
    if (!query.category.isEmpty())
        categoryId = timeCategoryFor(turn, query.category, query.category);
    const QString tool = turn.channel.startTool(QStringLiteral("query_ledger"),
        { { QStringLiteral("domain"), kTime }, { QStringLiteral("from"), LocalClock::dayText(query.range.from) },
            { QStringLiteral("to"), LocalClock::dayText(query.range.to) },
            { QStringLiteral("category"), query.category } });
    TimeListQuery confirmed;
    confirmed.from = query.range.from;
    confirmed.to = query.range.to;
    confirmed.confirmed = 1;
    confirmed.limit = 5000;
    std::vector<wire::TimeEntry> entries = m_backend.timeLedger().list(userId, confirmed);
    if (!query.category.isEmpty()) {
        std::erase_if(entries, [&](const wire::TimeEntry& e) { return !categoryId || e.category_id != categoryId; });
    }
    TimeListQuery waiting = confirmed;
    waiting.confirmed = 0;
    const std::size_t unconfirmed = m_backend.timeLedger().list(userId, waiting).size();
    turn.channel.finishTool(tool, true, QStringLiteral("%1 段").arg(entries.size()));

    std::map<int, QString> names;
    for (const wire::TimeCategory& category : m_backend.timeCategories().list(userId))
        names.emplace(category.id, category.name);
    auto categoryName = [&](const std::optional<int>& id) {
        const auto found = id ? names.find(*id) : names.end();
        return found == names.end() ? QStringLiteral("未分类") : found->second;
    };

    double total = 0;
    for (const wire::TimeEntry& entry : entries)
        total += entry.duration_min.value_or(0);
    std::vector<QJsonObject> rows;
    QString idHint;
    if (query.range.from == query.range.to) {
        idHint = QStringLiteral("id");
        // The day in its own order, earliest first.
        for (auto it = entries.rbegin(); it != entries.rend() && rows.size() < kMaxRows; ++it) {
            rows.push_back(
                { { QStringLiteral("时间"), ReplyText::clockRange(it->start_time, it->end_time.value_or(QString())) },
                    { QStringLiteral("活动"), it->activity }, { QStringLiteral("分类"), categoryName(it->category_id) },
                    { QStringLiteral("时长"), ReplyText::duration(it->duration_min.value_or(0)) },
                    { QStringLiteral("id"), QString::number(it->id) } });
        }
    } else {
        std::map<QString, double> byCategory;
        for (const wire::TimeEntry& entry : entries)
            byCategory[categoryName(entry.category_id)] += entry.duration_min.value_or(0);
        std::vector<std::pair<QString, double>> sorted(byCategory.begin(), byCategory.end());
        std::stable_sort(
            sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
        for (const auto& [name, minutes] : sorted) {
            rows.push_back({ { QStringLiteral("分类"), name }, { QStringLiteral("时长"), ReplyText::duration(minutes) },
                { QStringLiteral("占比"), share(minutes, total) } });
        }
    }
    const QString subject = query.category.isEmpty() ? QStringLiteral("的时间") : query.category;
    QString summary = QStringLiteral("共 %1，%2 段").arg(ReplyText::duration(total)).arg(entries.size());
    QString reply;
    if (entries.empty())
        reply = QStringLiteral("%1还没有%2记录。")
                    .arg(period, query.category.isEmpty() ? QStringLiteral("时间") : query.category);
    else if (query.category.isEmpty())
        reply = QStringLiteral("%1共记录 %2，%3 段。").arg(period, ReplyText::duration(total)).arg(entries.size());
    else
        reply = QStringLiteral("%1%2共 %3，%4 段。")
                    .arg(period, query.category, ReplyText::duration(total))
                    .arg(entries.size());
    if (unconfirmed > 0) {
        const QString note = QStringLiteral("另有 %1 段自动记录待确认").arg(unconfirmed);
        summary += QStringLiteral("；") + note;
        reply += note + QStringLiteral("。");
    }
    turn.channel.say(reply);
    turn.channel.send(AgentEvent::queryResult(kTime, period + subject, summary, rows, idHint));
}

} // namespace lumen::agent

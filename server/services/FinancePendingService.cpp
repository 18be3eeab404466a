#include "FinancePendingService.h"

#include "ApiError.h"
#include "FinanceInput.h"
#include "FinanceLedgerService.h"
#include "HouseholdService.h"
#include "LexiconService.h"
#include "LocalClock.h"
#include "db/Database.h"
#include "db/Transaction.h"

#include "FinanceParser.h"
#include "Lexicon.h"

#include <set>

namespace lumen {

namespace {

const QString kNoPending = QStringLiteral("待审条目不存在");
constexpr std::size_t kMaxBatch = 500;
constexpr int kMaxSentence = 500;

#define PENDING_COLUMNS                                                                                                \
    "id, date, amount_minor, amount_aud_minor, currency, fx_rate, description, description_cn, category, spender, "    \
    "note, raw_text, created_at, account_id, origin, origin_meta, direction, status"

struct PendingRow {
    wire::PendingImport line;
    QString direction;
    QString status;
};

PendingRow pendingRow(db::Statement& query)
{
    PendingRow row;
    wire::PendingImport& line = row.line;
    line.id = int(query.integer(0));
    line.date = query.optionalText(1);
    if (!query.isNull(2))
        line.amount = wire::Money::fromMinor(query.integer(2)).amount();
    if (!query.isNull(3))
        line.amount_aud = wire::Money::fromMinor(query.integer(3)).amount();
    line.currency = query.optionalText(4);
    if (!query.isNull(5))
        line.fx_rate = query.real(5);
    line.description = query.optionalText(6);
    line.description_cn = query.optionalText(7);
    line.category = query.optionalText(8);
    line.spender = query.optionalText(9);
    line.note = query.optionalText(10);
    line.raw_text = query.optionalText(11);
    line.created_at = LocalClock::isoUtc(query.integer(12));
    if (!query.isNull(13))
        line.account_id = int(query.integer(13));
    line.origin = query.optionalText(14);
    line.origin_meta = query.optionalText(15);
    row.direction = query.text(16);
    row.status = query.text(17);
    return row;
}

PendingRow requirePending(db::Connection& connection, qint64 householdId, qint64 id)
{
    auto query = connection.prepare(
        "SELECT " PENDING_COLUMNS " FROM finance_pending_imports WHERE id = :id AND household_id = :household");
    query.bind(":id", id).bind(":household", householdId);
    if (!query.step())
        throw ApiError::notFound(kNoPending);
    PendingRow row = pendingRow(query);
    if (row.status != QStringLiteral("pending"))
        throw ApiError::conflict(row.status == QStringLiteral("confirmed") ? QStringLiteral("这条已经入账了")
                                                                           : QStringLiteral("这条已经跳过了"));
    return row;
}

QString nonEmpty(const std::optional<QString>& value)
{
    return value.value_or(QString()).trimmed();
}

} // namespace

FinancePendingService::FinancePendingService(db::Database& database, HouseholdService& households,
    FinanceLedgerService& ledger, LexiconService& lexicons, std::shared_ptr<Clock> clock)
    : m_database(database)
    , m_households(households)
    , m_ledger(ledger)
    , m_lexicons(lexicons)
    , m_clock(std::move(clock))
{
}

qint64 FinancePendingService::insertIn(
    db::Connection& connection, qint64 householdId, qint64 userId, const NewPendingImport& line)
{
    const QString currency = FinanceInput::currency(line.currency, QStringLiteral("AUD"));
    const double rate = FinanceLedgerService::audRate(currency);
    auto insert = connection.prepare(
        "INSERT INTO finance_pending_imports (household_id, created_by, date, amount_minor, amount_aud_minor, "
        "currency, fx_rate, description, description_cn, category, spender, note, raw_text, account_id, direction, "
        "origin, origin_meta, created_at) VALUES (:household, :user, :date, :amount, :aud, :currency, :fx, "
        ":description, :description_cn, :category, :spender, :note, :raw, :account, :direction, :origin, :meta, :now)");
    auto orNull = [](const QString& text) { return text.isEmpty() ? std::nullopt : std::optional(text); };
    insert.bind(":household", householdId)
        .bind(":user", userId)
        .bind(":date", line.date ? std::optional(LocalClock::dayText(*line.date)) : std::nullopt)
        .bind(":currency", currency)
        .bind(":fx", rate)
        .bind(":description", orNull(line.description))
        .bind(":description_cn", orNull(line.descriptionCn))
        .bind(":category", orNull(line.category))
        .bind(":spender", orNull(line.spender))
        .bind(":note", orNull(line.note))
        .bind(":raw", orNull(line.rawText))
        .bind(":direction", line.direction)
        .bind(":origin", orNull(line.origin))
        .bind(":meta", line.originMeta)
        .bind(":now", m_clock->nowSecs());
    if (line.amount)
        insert.bind(":amount", line.amount->minor()).bind(":aud", line.amount->convertedAt(rate).minor());
    else
        insert.bindNull(":amount").bindNull(":aud");
    if (line.accountId)
        insert.bind(":account", *line.accountId);
    else
        insert.bindNull(":account");
    insert.run();
    return connection.lastInsertId();
}

wire::PendingListResponse FinancePendingService::list(qint64 userId)
{
    const Household household = m_households.householdOf(userId);
    auto query = m_database.connection().prepare("SELECT " PENDING_COLUMNS " FROM finance_pending_imports "
                                                 "WHERE household_id = :household AND status = 'pending' ORDER BY id");
    query.bind(":household", household.id);
    wire::PendingListResponse response;
    while (query.step())
        response.items.push_back(pendingRow(query).line);
    response.count = int(response.items.size());
    return response;
}

qint64 FinancePendingService::confirmIn(db::Connection& connection, qint64 householdId, qint64 userId, qint64 id,
    const wire::ConfirmPendingRequest& request)
{
    const PendingRow row = requirePending(connection, householdId, id);
    const wire::PendingImport& pending = row.line;
    if (!pending.amount)
        throw ApiError::unprocessable(QStringLiteral("这条待审缺少金额，不能入账"));
    if (nonEmpty(pending.date).isEmpty())
        throw ApiError::unprocessable(QStringLiteral("这条待审缺少日期，不能入账"));

    NewTransaction line;
    line.date = FinanceInput::day(*pending.date);
    line.amount = FinanceInput::positiveAmount(pending.amount, QStringLiteral("金额"));
    line.currency = pending.currency.value_or(QStringLiteral("AUD"));
    line.direction = row.direction;
    line.category = nonEmpty(request.category);
    if (line.category.isEmpty())
        line.category = nonEmpty(pending.category);
    if (line.category.isEmpty())
        line.category = row.direction == QStringLiteral("income") ? QStringLiteral("其他收入") : QStringLiteral("其他");
    line.spender = FinanceInput::text(nonEmpty(request.spender), QStringLiteral("花费人"), FinanceInput::maxNameLength);
    if (line.spender.isEmpty())
        line.spender = nonEmpty(pending.spender);
    if (line.spender.isEmpty()) {
        auto name = connection.prepare("SELECT display_name FROM users WHERE id = :user");
        name.bind(":user", userId);
        if (name.step())
            line.spender = name.text(0);
    }
    const QString note
        = request.note ? FinanceInput::text(*request.note, QStringLiteral("备注")) : nonEmpty(pending.note);
    if (!note.isEmpty())
        line.note = note;
    line.description = nonEmpty(pending.description);
    line.descriptionCn = nonEmpty(pending.description_cn);
    line.source = nonEmpty(pending.origin).isEmpty() ? QStringLiteral("import") : *pending.origin;
    const qint64 transactionId = m_ledger.insertIn(connection, householdId, userId, line);
    connection
        .prepare("UPDATE finance_pending_imports SET status = 'confirmed', transaction_id = :tx, decided_by = :user, "
                 "decided_at = :now WHERE id = :id")
        .bind(":tx", transactionId)
        .bind(":user", userId)
        .bind(":now", m_clock->nowSecs())
        .bind(":id", id)
        .run();
    return transactionId;
}

void FinancePendingService::skipIn(db::Connection& connection, qint64 householdId, qint64 userId, qint64 id)
{
    requirePending(connection, householdId, id);
    connection
        .prepare("UPDATE finance_pending_imports SET status = 'skipped', decided_by = :user, decided_at = :now "
                 "WHERE id = :id")
        .bind(":user", userId)
        .bind(":now", m_clock->nowSecs())
        .bind(":id", id)
        .run();
}

qint64 FinancePendingService::confirm(qint64 userId, qint64 id, const wire::ConfirmPendingRequest& request)
{
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const qint64 transactionId = confirmIn(connection, household.id, userId, id, request);
    transaction.commit();
    return transactionId;
}

void FinancePendingService::skip(qint64 userId, qint64 id)
{
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    skipIn(connection, household.id, userId, id);
    transaction.commit();
}

std::vector<qint64> FinancePendingService::checkedIds(const wire::BatchIdsRequest& request)
{
    if (request.ids.empty())
        throw ApiError::unprocessable(QStringLiteral("ids 不能为空"));
    if (request.ids.size() > kMaxBatch)
        throw ApiError::unprocessable(QStringLiteral("一次最多处理 %1 条").arg(kMaxBatch));
    std::vector<qint64> ids;
    std::set<qint64> seen;
    for (int id : request.ids) {
        if (seen.insert(id).second)
            ids.push_back(id);
    }
    return ids;
}

// A refusal names the line it stopped at, and nothing of the batch is kept.
void FinancePendingService::confirmBatch(qint64 userId, const wire::BatchIdsRequest& request)
{
    const std::vector<qint64> ids = checkedIds(request);
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    for (qint64 id : ids) {
        try {
            confirmIn(connection, household.id, userId, id, {});
        } catch (const ApiError& error) {
            throw ApiError(error.status(), QStringLiteral("#%1：%2").arg(id).arg(error.detail()));
        }
    }
    transaction.commit();
}

void FinancePendingService::skipBatch(qint64 userId, const wire::BatchIdsRequest& request)
{
    const std::vector<qint64> ids = checkedIds(request);
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    for (qint64 id : ids) {
        try {
            skipIn(connection, household.id, userId, id);
        } catch (const ApiError& error) {
            throw ApiError(error.status(), QStringLiteral("#%1：%2").arg(id).arg(error.detail()));
        }
    }
    transaction.commit();
}

wire::VoiceTextResponse FinancePendingService::voiceText(qint64 userId, const wire::VoiceTextRequest& request)
{
    const QString text = request.text.trimmed();
    if (text.isEmpty())
        throw ApiError::unprocessable(QStringLiteral("没有听到内容"));
    if (text.size() > kMaxSentence)
        throw ApiError::unprocessable(QStringLiteral("一句话最多 %1 个字").arg(kMaxSentence));
    const Household household = m_households.householdOf(userId);
    const QString currency = FinanceInput::currency(request.currency.value_or(QString()), household.currency);
    const auto lexicon = m_lexicons.lexiconFor(household.id);

    language::Context context;
    context.now = m_clock->now();
    context.zone = LocalClock(*m_clock, household.timezone).zone();
    context.defaultCurrency = currency;
    const QStringList members = m_households.memberNames(household.id);
    if (!members.isEmpty())
        context.members = members;
    context.lexicon = lexicon.get();
    const language::FinanceParse parse = language::FinanceParser(context).parse(text);
    if (!parse.isBooking())
        throw ApiError::unprocessable(QStringLiteral("没听出金额：%1").arg(text.left(60)));

    NewPendingImport line;
    line.date = parse.date.isValid() ? parse.date : context.today();
    line.amount = FinanceInput::positiveAmount(parse.amount, QStringLiteral("金额"));
    line.currency = parse.currency.isEmpty() ? currency : parse.currency;
    line.description = parse.description;
    line.category = parse.category;
    line.spender = parse.spender.isEmpty() ? nonEmpty(request.spender) : parse.spender;
    line.rawText = text;
    line.direction = parse.isIncome() ? QStringLiteral("income") : QStringLiteral("expense");
    line.origin = QStringLiteral("voice");

    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const qint64 id = insertIn(connection, household.id, userId, line);
    transaction.commit();
    return { true, int(id), parse.toParsedJson() };
}

} // namespace lumen

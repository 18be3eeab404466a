#include "FinanceLedgerService.h"

#include "ApiError.h"
#include "HouseholdService.h"
#include "LocalClock.h"
#include "db/Database.h"
#include "db/Transaction.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace lumen {

namespace {

const QString kNoTransaction = QStringLiteral("账目不存在");
// Rates used for a line whose AUD figure was not fixed when it was booked.
constexpr double kCnyToAud = 0.21;
constexpr double kUsdToAud = 1.5;

#define TRANSACTION_COLUMNS                                                                                            \
    "t.id, t.date, t.amount, t.amount_aud, t.currency, t.fx_rate, t.category, t.spender, t.description, "              \
    "t.description_cn, t.note, t.source, t.confirmation_status, t.reconciled_with, "                                   \
    "(SELECT COUNT(*) FROM finance_transaction_items i WHERE i.transaction_id = t.id), t.account_id, t.direction, "    \
    "t.owner, t.split_ratio, t.amount_cny, t.created_at"

std::optional<double> optionalReal(db::Statement& query, int column)
{
    return query.isNull(column) ? std::nullopt : std::optional<double>(query.real(column));
}

std::optional<int> optionalInt(db::Statement& query, int column)
{
    return query.isNull(column) ? std::nullopt : std::optional<int>(int(query.integer(column)));
}

bool isBookkeeping(const QString& category)
{
    return category == QStringLiteral("转账") || category == QStringLiteral("余额调整");
}

wire::Transaction transactionRow(db::Statement& query)
{
    wire::Transaction tx;
    tx.id = int(query.integer(0));
    tx.date = query.text(1);
    tx.amount = query.real(2);
    tx.amount_aud = optionalReal(query, 3);
    tx.currency = query.optionalText(4);
    tx.fx_rate = optionalReal(query, 5);
    tx.category = query.optionalText(6);
    tx.spender = query.optionalText(7);
    tx.desc = query.optionalText(8);
    tx.desc_cn = query.optionalText(9);
    tx.note = query.optionalText(10);
    tx.source = query.optionalText(11);
    tx.confirmation_status = query.optionalText(12);
    tx.reconciled_with = query.optionalText(13);
    tx.items_count = int(query.integer(14));
    tx.account_id = optionalInt(query, 15);
    tx.direction = query.optionalText(16);
    tx.owner = query.optionalText(17);
    tx.split_ratio = optionalReal(query, 18);
    tx.amount_cny = optionalReal(query, 19);
    return tx;
}

} // namespace

FinanceLedgerService::FinanceLedgerService(
    db::Database& database, HouseholdService& households, std::shared_ptr<Clock> clock)
    : m_database(database)
    , m_households(households)
    , m_clock(std::move(clock))
{
}

double FinanceLedgerService::audEquivalent(double amount, const QString& currency, std::optional<double> amountAud)
{
    if (amountAud)
        return *amountAud;
    if (currency == QLatin1String("CNY"))
        return amount * kCnyToAud;
    if (currency == QLatin1String("USD"))
        return amount * kUsdToAud;
    return amount;
}

qint64 FinanceLedgerService::insertIn(
    db::Connection& connection, qint64 householdId, qint64 userId, const NewTransaction& line)
{
    const qint64 now = m_clock->nowSecs();
    const bool aud = line.currency == QLatin1String("AUD");
    auto insert = connection.prepare(
        "INSERT INTO finance_transactions (household_id, created_by, date, amount, amount_aud, currency, fx_rate, "
        "category, spender, description, note, source, confirmation_status, account_name, direction, created_at) "
        "VALUES (:household, :user, :date, :amount, :aud, :currency, :fx, :category, :spender, :description, :note, "
        ":source, 'confirmed', :account, :direction, :now)");
    insert.bind(":household", householdId)
        .bind(":user", userId)
        .bind(":date", LocalClock::dayText(line.date))
        .bind(":amount", line.amount)
        .bind(":currency", line.currency)
        .bind(":category", line.category)
        .bind(":spender", line.spender)
        .bind(":description", line.description)
        .bind(":note", line.note)
        .bind(":source", line.source)
        .bind(":account", line.accountName)
        .bind(":direction", line.direction)
        .bind(":now", now);
    // Other currencies get their AUD figure once a rate is known; until then readers fall back.
    if (aud)
        insert.bind(":aud", line.amount).bind(":fx", 1.0);
    else
        insert.bindNull(":aud").bindNull(":fx");
    insert.run();
    const qint64 id = connection.lastInsertId();
    insertItemsIn(connection, id, line.items);
    return id;
}

void FinanceLedgerService::insertItemsIn(
    db::Connection& connection, qint64 transactionId, const std::vector<NewTransactionItem>& items)
{
    int order = 0;
    for (const NewTransactionItem& item : items) {
        connection
            .prepare("INSERT INTO finance_transaction_items (transaction_id, name, amount, amount_cents, sort_order, "
                     "created_at) VALUES (:tx, :name, :amount, :cents, :order, :now)")
            .bind(":tx", transactionId)
            .bind(":name", item.name)
            .bind(":amount", item.amount)
            .bind(":cents", qint64(std::llround(item.amount * 100)))
            .bind(":order", order++)
            .bind(":now", m_clock->nowSecs())
            .run();
    }
}

void FinanceLedgerService::updateIn(
    db::Connection& connection, qint64 householdId, qint64 id, const NewTransaction& line)
{
    double oldAmount = 0;
    {
        auto query = connection.prepare(
            "SELECT amount FROM finance_transactions WHERE id = :id AND household_id = :household");
        query.bind(":id", id).bind(":household", householdId);
        if (!query.step())
            throw ApiError::notFound(kNoTransaction);
        oldAmount = query.real(0);
    }
    auto update = connection.prepare(
        "UPDATE finance_transactions SET date = :date, amount = :amount, amount_aud = :aud, currency = :currency, "
        "fx_rate = :fx, category = :category, spender = :spender, description = :description, "
        "direction = :direction, note = COALESCE(:note, note), account_name = COALESCE(:account, account_name) "
        "WHERE id = :id AND household_id = :household");
    update.bind(":date", LocalClock::dayText(line.date))
        .bind(":amount", line.amount)
        .bind(":currency", line.currency)
        .bind(":category", line.category)
        .bind(":spender", line.spender)
        .bind(":description", line.description)
        .bind(":direction", line.direction)
        .bind(":note", line.note)
        .bind(":account", line.accountName)
        .bind(":id", id)
        .bind(":household", householdId);
    // As when booking: an AUD line is its own AUD figure; another currency waits for a rate.
    if (line.currency == QLatin1String("AUD"))
        update.bind(":aud", line.amount).bind(":fx", 1.0);
    else
        update.bindNull(":aud").bindNull(":fx");
    update.run();
    if (!line.items.empty() || std::abs(line.amount - oldAmount) >= 0.005) {
        connection.prepare("DELETE FROM finance_transaction_items WHERE transaction_id = :id").bind(":id", id).run();
        insertItemsIn(connection, id, line.items);
    }
}

wire::Transaction FinanceLedgerService::transaction(qint64 userId, qint64 id)
{
    const Household household = m_households.householdOf(userId);
    auto query = m_database.connection().prepare("SELECT " TRANSACTION_COLUMNS " FROM finance_transactions t "
                                                 "WHERE t.id = :id AND t.household_id = :household");
    query.bind(":id", id).bind(":household", household.id);
    if (!query.step())
        throw ApiError::notFound(kNoTransaction);
    return transactionRow(query);
}

std::vector<wire::Transaction> FinanceLedgerService::list(
    qint64 userId, std::optional<QDate> from, std::optional<QDate> to)
{
    const Household household = m_households.householdOf(userId);
    auto query = m_database.connection().prepare(
        "SELECT " TRANSACTION_COLUMNS " FROM finance_transactions t WHERE t.household_id = :household "
        "AND (:from = '' OR t.date >= :from) AND (:to = '' OR t.date <= :to) ORDER BY t.id DESC");
    query.bind(":household", household.id)
        .bind(":from", from ? LocalClock::dayText(*from) : QString())
        .bind(":to", to ? LocalClock::dayText(*to) : QString());
    std::vector<wire::Transaction> lines;
    while (query.step())
        lines.push_back(transactionRow(query));
    return lines;
}

void FinanceLedgerService::remove(qint64 userId, qint64 id)
{
    const Household household = m_households.householdOf(userId);
    const int removed = m_database.connection()
                            .prepare("DELETE FROM finance_transactions WHERE id = :id AND household_id = :household")
                            .bind(":id", id)
                            .bind(":household", household.id)
                            .run();
    if (removed == 0)
        throw ApiError::notFound(kNoTransaction);
}

std::optional<std::pair<wire::Transaction, qint64>> FinanceLedgerService::lastWrittenBy(qint64 userId)
{
    const Household household = m_households.householdOf(userId);
    auto query = m_database.connection().prepare(
        "SELECT " TRANSACTION_COLUMNS " FROM finance_transactions t WHERE t.household_id = :household "
        "AND t.created_by = :user ORDER BY t.created_at DESC, t.id DESC LIMIT 1");
    query.bind(":household", household.id).bind(":user", userId);
    if (!query.step())
        return std::nullopt;
    return std::make_pair(transactionRow(query), query.integer(20));
}

FinanceTotals FinanceLedgerService::totals(
    qint64 userId, QDate from, QDate to, const QString& direction, const QString& category)
{
    FinanceTotals totals;
    std::map<QString, double> byCategory;
    for (wire::Transaction& line : list(userId, from, to)) {
        const QString lineDirection = line.direction.value_or(QStringLiteral("expense"));
        if (!direction.isEmpty() && lineDirection != direction)
            continue;
        if (!category.isEmpty() && line.category.value_or(QString()) != category)
            continue;
        // Moving money between accounts and settling a balance are no spending or earning.
        if (category.isEmpty() && isBookkeeping(line.category.value_or(QString())))
            continue;
        const double aud = audEquivalent(line.amount, line.currency.value_or(QString()), line.amount_aud);
        totals.totalAud += aud;
        ++totals.count;
        byCategory[line.category.value_or(QStringLiteral("其他"))] += aud;
        totals.lines.push_back(std::move(line));
    }
    totals.byCategory.assign(byCategory.begin(), byCategory.end());
    std::stable_sort(totals.byCategory.begin(), totals.byCategory.end(),
        [](const auto& a, const auto& b) { return a.second > b.second; });
    return totals;
}

} // namespace lumen

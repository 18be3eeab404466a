#include "FinanceLedgerService.h"

#include "ApiError.h"
#include "FinanceCategoryService.h"
#include "FinanceInput.h"
#include "HouseholdService.h"
#include "LocalClock.h"
#include "db/Database.h"
#include "db/Transaction.h"

#include "finance/FinanceCategory.h"

#include <algorithm>
#include <map>

namespace lumen {

namespace {

const QString kNoTransaction = QStringLiteral("账目不存在");
const QString kNoItem = QStringLiteral("明细不存在");
constexpr qint64 kMaxItems = 200;

#define TRANSACTION_COLUMNS                                                                                            \
    "t.id, t.date, t.amount_minor, t.amount_aud_minor, t.currency, t.fx_rate, t.category, t.spender, t.description, "  \
    "t.description_cn, t.note, t.source, t.confirmation_status, t.reconciled_with, "                                   \
    "(SELECT COUNT(*) FROM finance_transaction_items i WHERE i.transaction_id = t.id), t.account_id, t.direction, "    \
    "t.owner, t.split_ratio, t.amount_cny_minor, t.created_at"

std::optional<double> optionalReal(db::Statement& query, int column)
{
    return query.isNull(column) ? std::nullopt : std::optional<double>(query.real(column));
}

std::optional<double> optionalMoney(db::Statement& query, int column)
{
    return query.isNull(column) ? std::nullopt
                                : std::optional<double>(wire::Money::fromMinor(query.integer(column)).amount());
}

std::optional<int> optionalInt(db::Statement& query, int column)
{
    return query.isNull(column) ? std::nullopt : std::optional<int>(int(query.integer(column)));
}

wire::Transaction transactionRow(db::Statement& query)
{
    wire::Transaction tx;
    tx.id = int(query.integer(0));
    tx.date = query.text(1);
    tx.amount = wire::Money::fromMinor(query.integer(2)).amount();
    tx.amount_aud = optionalMoney(query, 3);
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
    tx.amount_cny = optionalMoney(query, 19);
    return tx;
}

wire::TransactionItem itemRow(db::Statement& query)
{
    wire::TransactionItem item;
    item.id = int(query.integer(0));
    item.transaction_id = int(query.integer(1));
    item.name = query.text(2);
    item.amount_cents = query.integer(3);
    item.amount = wire::Money::fromMinor(item.amount_cents).amount();
    item.sort_order = int(query.integer(4));
    item.created_at = LocalClock::isoUtc(query.integer(5));
    return item;
}

QString statusOfReviewed(int reviewed)
{
    return reviewed == 0 ? QStringLiteral("unreviewed") : QStringLiteral("confirmed");
}

std::vector<NewTransactionItem> checkedItems(const std::vector<wire::CreateTransactionItem>& items)
{
    if (qint64(items.size()) > kMaxItems)
        throw ApiError::unprocessable(QStringLiteral("明细最多 %1 项").arg(kMaxItems));
    std::vector<std::pair<int, NewTransactionItem>> ordered;
    int index = 0;
    for (const wire::CreateTransactionItem& item : items) {
        ++index;
        const QString name = FinanceInput::text(item.name, QStringLiteral("明细名称"), FinanceInput::maxNameLength);
        if (name.isEmpty())
            throw ApiError::unprocessable(QStringLiteral("明细第 %1 项缺少名称").arg(index));
        ordered.push_back({ item.sort_order.value_or(index),
            { name, FinanceInput::positiveAmount(item.amount, QStringLiteral("明细第 %1 项的金额").arg(index)) } });
    }
    std::stable_sort(ordered.begin(), ordered.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<NewTransactionItem> out;
    for (auto& [order, item] : ordered)
        out.push_back(std::move(item));
    return out;
}

void requireItemsAgree(wire::Money itemsSum, wire::Money amount)
{
    if (!wire::itemsAgreeWith(itemsSum.amount(), amount.amount())) {
        throw ApiError::unprocessable(
            QStringLiteral("明细合计 %1 与金额 %2 对不上").arg(itemsSum.text(), amount.text()));
    }
}

} // namespace

FinanceLedgerService::FinanceLedgerService(
    db::Database& database, HouseholdService& households, std::shared_ptr<Clock> clock)
    : m_database(database)
    , m_households(households)
    , m_clock(std::move(clock))
{
}

double FinanceLedgerService::audRate(const QString& currency)
{
    return wire::fallbackAudRate(currency);
}

QString FinanceLedgerService::displayNameOf(db::Connection& connection, qint64 userId)
{
    auto name = connection.prepare("SELECT display_name FROM users WHERE id = :user");
    name.bind(":user", userId);
    return name.step() ? name.text(0) : QString();
}

FinanceLedgerService::Checked FinanceLedgerService::check(
    db::Connection& connection, qint64 householdId, const NewTransaction& line, bool categoryKnown)
{
    if (!line.date.isValid())
        throw ApiError::unprocessable(QStringLiteral("缺少日期"));
    if (line.amount.minor() <= 0 || line.amount.minor() > wire::Money::maxMinor)
        throw ApiError::unprocessable(QStringLiteral("金额必须大于 0"));
    const QString currency = FinanceInput::currency(line.currency, QString());
    Checked checked;
    if (categoryKnown) {
        checked.direction = line.direction.value_or(QStringLiteral("expense"));
    } else {
        const CategoryRef category = FinanceCategoryService::requireNamed(connection, householdId, line.category);
        checked.direction = line.direction.value_or(category.kind);
    }
    if (checked.direction != QStringLiteral("expense") && checked.direction != QStringLiteral("income"))
        throw ApiError::unprocessable(QStringLiteral("direction 只能是 expense 或 income"));
    FinanceInput::text(line.spender, QStringLiteral("花费人"), FinanceInput::maxNameLength);
    FinanceInput::text(line.description, QStringLiteral("描述"));
    FinanceInput::text(line.descriptionCn, QStringLiteral("中文描述"));
    if (line.note)
        FinanceInput::text(*line.note, QStringLiteral("备注"));
    if (!line.items.empty()) {
        if (qint64(line.items.size()) > kMaxItems)
            throw ApiError::unprocessable(QStringLiteral("明细最多 %1 项").arg(kMaxItems));
        wire::Money sum;
        for (const NewTransactionItem& item : line.items) {
            if (item.name.trimmed().isEmpty() || item.amount.minor() <= 0)
                throw ApiError::unprocessable(QStringLiteral("每项明细都要有名称和大于 0 的金额"));
            sum += item.amount;
        }
        requireItemsAgree(sum, line.amount);
    }
    checked.rate = audRate(currency);
    checked.amountAud = line.amount.convertedAt(checked.rate);
    return checked;
}

qint64 FinanceLedgerService::insertIn(
    db::Connection& connection, qint64 householdId, qint64 userId, const NewTransaction& line)
{
    const Checked checked = check(connection, householdId, line, false);
    const qint64 now = m_clock->nowSecs();
    auto insert = connection.prepare(
        "INSERT INTO finance_transactions (household_id, created_by, updated_by, date, amount_minor, amount_aud_minor, "
        "amount_cny_minor, currency, fx_rate, category, spender, description, description_cn, note, source, "
        "confirmation_status, account_name, direction, created_at, updated_at) "
        "VALUES (:household, :user, :user, :date, :amount, :aud, :cny, :currency, :fx, :category, :spender, "
        ":description, :description_cn, :note, :source, :status, :account, :direction, :now, :now)");
    insert.bind(":household", householdId)
        .bind(":user", userId)
        .bind(":date", LocalClock::dayText(line.date))
        .bind(":amount", line.amount.minor())
        .bind(":aud", checked.amountAud.minor())
        .bind(":currency", line.currency)
        .bind(":fx", checked.rate)
        .bind(":category", line.category.trimmed())
        .bind(":spender", line.spender)
        .bind(":description", line.description)
        .bind(":description_cn", line.descriptionCn.isEmpty() ? std::nullopt : std::optional(line.descriptionCn))
        .bind(":note", line.note)
        .bind(":source", line.source)
        .bind(":status", line.confirmationStatus)
        .bind(":account", line.accountName)
        .bind(":direction", checked.direction)
        .bind(":now", now);
    // A CNY line is its own CNY figure; the others get one when a rate to CNY is known.
    if (line.currency == QStringLiteral("CNY"))
        insert.bind(":cny", line.amount.minor());
    else
        insert.bindNull(":cny");
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
            .prepare("INSERT INTO finance_transaction_items (transaction_id, name, amount_cents, sort_order, "
                     "created_at) VALUES (:tx, :name, :cents, :order, :now)")
            .bind(":tx", transactionId)
            .bind(":name", item.name.trimmed())
            .bind(":cents", item.amount.minor())
            .bind(":order", order++)
            .bind(":now", m_clock->nowSecs())
            .run();
    }
}

void FinanceLedgerService::updateIn(
    db::Connection& connection, qint64 householdId, qint64 userId, qint64 id, const NewTransaction& line)
{
    const wire::Transaction current = requireIn(connection, householdId, id);
    const Checked checked = check(connection, householdId, line, false);
    auto update = connection.prepare(
        "UPDATE finance_transactions SET date = :date, amount_minor = :amount, amount_aud_minor = :aud, "
        "amount_cny_minor = :cny, currency = :currency, fx_rate = :fx, category = :category, spender = :spender, "
        "description = :description, direction = :direction, note = COALESCE(:note, note), "
        "account_name = COALESCE(:account, account_name), updated_by = :user, updated_at = :now "
        "WHERE id = :id AND household_id = :household");
    update.bind(":date", LocalClock::dayText(line.date))
        .bind(":amount", line.amount.minor())
        .bind(":aud", checked.amountAud.minor())
        .bind(":currency", line.currency)
        .bind(":fx", checked.rate)
        .bind(":category", line.category.trimmed())
        .bind(":spender", line.spender)
        .bind(":description", line.description)
        .bind(":direction", checked.direction)
        .bind(":note", line.note)
        .bind(":account", line.accountName)
        .bind(":user", userId)
        .bind(":now", m_clock->nowSecs())
        .bind(":id", id)
        .bind(":household", householdId);
    if (line.currency == QStringLiteral("CNY"))
        update.bind(":cny", line.amount.minor());
    else
        update.bindNull(":cny");
    update.run();
    const bool amountChanged = wire::Money::fromAmount(current.amount) != std::optional(line.amount);
    if (!line.items.empty() || amountChanged) {
        connection.prepare("DELETE FROM finance_transaction_items WHERE transaction_id = :id").bind(":id", id).run();
        insertItemsIn(connection, id, line.items);
    }
}

wire::Transaction FinanceLedgerService::requireIn(db::Connection& connection, qint64 householdId, qint64 id)
{
    auto query = connection.prepare("SELECT " TRANSACTION_COLUMNS " FROM finance_transactions t "
                                    "WHERE t.id = :id AND t.household_id = :household");
    query.bind(":id", id).bind(":household", householdId);
    if (!query.step())
        throw ApiError::notFound(kNoTransaction);
    return transactionRow(query);
}

wire::Money FinanceLedgerService::itemsSumIn(db::Connection& connection, qint64 transactionId)
{
    auto query = connection.prepare(
        "SELECT COALESCE(SUM(amount_cents), 0) FROM finance_transaction_items WHERE transaction_id = :id");
    query.bind(":id", transactionId);
    query.step();
    return wire::Money::fromMinor(query.integer(0));
}

wire::Transaction FinanceLedgerService::transaction(qint64 userId, qint64 id)
{
    const Household household = m_households.householdOf(userId);
    return requireIn(m_database.connection(), household.id, id);
}

std::vector<wire::Transaction> FinanceLedgerService::list(qint64 userId, const TransactionQuery& filter)
{
    const Household household = m_households.householdOf(userId);
    auto query = m_database.connection().prepare(
        "SELECT " TRANSACTION_COLUMNS " FROM finance_transactions t WHERE t.household_id = :household "
        "AND (:from = '' OR t.date >= :from) AND (:to = '' OR t.date <= :to) "
        "AND (:category IS NULL OR t.category = :category) AND (:spender IS NULL OR t.spender = :spender) "
        "AND (:direction IS NULL OR t.direction = :direction) "
        "ORDER BY t.id DESC LIMIT :limit OFFSET :offset");
    query.bind(":household", household.id)
        .bind(":from", filter.from ? LocalClock::dayText(*filter.from) : QString())
        .bind(":to", filter.to ? LocalClock::dayText(*filter.to) : QString())
        .bind(":category", filter.category)
        .bind(":spender", filter.spender)
        .bind(":direction", filter.direction)
        .bind(":limit", filter.limit.value_or(-1))
        .bind(":offset", filter.offset);
    std::vector<wire::Transaction> lines;
    while (query.step())
        lines.push_back(transactionRow(query));
    return lines;
}

std::vector<wire::Transaction> FinanceLedgerService::list(
    qint64 userId, std::optional<QDate> from, std::optional<QDate> to)
{
    TransactionQuery query;
    query.from = from;
    query.to = to;
    return list(userId, query);
}

wire::CreateTransactionResponse FinanceLedgerService::create(
    qint64 userId, const wire::CreateTransactionRequest& request)
{
    const Household household = m_households.householdOf(userId);
    NewTransaction line;
    line.date = FinanceInput::day(request.date);
    line.amount = FinanceInput::positiveAmount(request.amount, QStringLiteral("金额"));
    line.currency = FinanceInput::currency(request.currency, household.currency);
    line.category = request.category.trimmed();
    line.description = FinanceInput::text(request.description, QStringLiteral("描述"));
    line.descriptionCn = FinanceInput::text(request.description_cn, QStringLiteral("中文描述"));
    line.spender = FinanceInput::text(request.spender, QStringLiteral("花费人"), FinanceInput::maxNameLength);
    const QString note = FinanceInput::text(request.note, QStringLiteral("备注"));
    if (!note.isEmpty())
        line.note = note;
    line.source = QStringLiteral("app");
    line.confirmationStatus = statusOfReviewed(request.reviewed);
    if (request.items)
        line.items = checkedItems(*request.items);

    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    if (line.spender.isEmpty())
        line.spender = displayNameOf(connection, userId);
    const qint64 id = insertIn(connection, household.id, userId, line);
    transaction.commit();
    return { true, int(id), int(line.items.size()), false };
}

void FinanceLedgerService::update(qint64 userId, qint64 id, const wire::UpdateTransactionRequest& request)
{
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const wire::Transaction current = requireIn(connection, household.id, id);

    NewTransaction line;
    line.date = request.date ? FinanceInput::day(*request.date) : FinanceInput::day(current.date);
    line.amount = request.amount ? FinanceInput::positiveAmount(request.amount, QStringLiteral("金额"))
                                 : *wire::Money::fromAmount(current.amount);
    line.currency = current.currency.value_or(household.currency);
    line.category = request.category ? request.category->trimmed() : current.category.value_or(QString());
    line.spender = request.spender
        ? FinanceInput::text(*request.spender, QStringLiteral("花费人"), FinanceInput::maxNameLength)
        : current.spender.value_or(QString());
    line.description = request.description ? FinanceInput::text(*request.description, QStringLiteral("描述"))
                                           : current.desc.value_or(QString());
    line.descriptionCn = request.description_cn
        ? FinanceInput::text(*request.description_cn, QStringLiteral("中文描述"))
        : current.desc_cn.value_or(QString());
    line.note = request.note ? std::optional(FinanceInput::text(*request.note, QStringLiteral("备注"))) : current.note;
    line.confirmationStatus = request.confirmation_status
        ? FinanceInput::text(*request.confirmation_status, QStringLiteral("确认状态"), FinanceInput::maxNameLength)
        : request.reviewed ? statusOfReviewed(*request.reviewed)
                           : current.confirmation_status.value_or(QStringLiteral("confirmed"));

    // A line keeps a category that was deleted after it was booked, and its direction with it.
    const bool categoryChanged = line.category != current.category.value_or(QString());
    if (!categoryChanged)
        line.direction = current.direction.value_or(QStringLiteral("expense"));
    const Checked checked = check(connection, household.id, line, !categoryChanged);
    const wire::Money items = itemsSumIn(connection, id);
    if (items.minor() > 0 && request.amount)
        requireItemsAgree(items, line.amount);

    auto write = connection.prepare(
        "UPDATE finance_transactions SET date = :date, amount_minor = :amount, amount_aud_minor = :aud, "
        "amount_cny_minor = CASE WHEN currency = 'CNY' THEN :amount ELSE amount_cny_minor END, fx_rate = :fx, "
        "category = :category, spender = :spender, description = :description, description_cn = :description_cn, "
        "note = :note, confirmation_status = :status, direction = :direction, updated_by = :user, "
        "updated_at = :now WHERE id = :id");
    write.bind(":date", LocalClock::dayText(line.date))
        .bind(":amount", line.amount.minor())
        .bind(":aud", checked.amountAud.minor())
        .bind(":fx", checked.rate)
        .bind(":category", line.category)
        .bind(":spender", line.spender)
        .bind(":description", line.description)
        .bind(":description_cn", line.descriptionCn.isEmpty() ? std::nullopt : std::optional(line.descriptionCn))
        .bind(":note", line.note)
        .bind(":status", line.confirmationStatus)
        .bind(":direction", checked.direction)
        .bind(":user", userId)
        .bind(":now", m_clock->nowSecs())
        .bind(":id", id)
        .run();
    transaction.commit();
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

std::vector<wire::TransactionItem> FinanceLedgerService::items(qint64 userId, qint64 transactionId)
{
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    requireIn(connection, household.id, transactionId);
    auto query = connection.prepare("SELECT id, transaction_id, name, amount_cents, sort_order, created_at "
                                    "FROM finance_transaction_items WHERE transaction_id = :tx "
                                    "ORDER BY sort_order, id");
    query.bind(":tx", transactionId);
    std::vector<wire::TransactionItem> items;
    while (query.step())
        items.push_back(itemRow(query));
    return items;
}

wire::TransactionItem FinanceLedgerService::addItem(
    qint64 userId, qint64 transactionId, const wire::CreateTransactionItem& request)
{
    const NewTransactionItem item = checkedItems({ request }).front();
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const wire::Transaction line = requireIn(connection, household.id, transactionId);
    if (line.items_count.value_or(0) >= kMaxItems)
        throw ApiError::unprocessable(QStringLiteral("明细最多 %1 项").arg(kMaxItems));
    // Items may be listed one by one, but together they may not outgrow the line.
    const wire::Money amount = *wire::Money::fromAmount(line.amount);
    const wire::Money sum = itemsSumIn(connection, transactionId) + item.amount;
    if (sum > amount && !wire::itemsAgreeWith(sum.amount(), amount.amount()))
        requireItemsAgree(sum, amount);
    int order = request.sort_order.value_or(-1);
    if (order < 0) {
        auto last = connection.prepare(
            "SELECT COALESCE(MAX(sort_order) + 1, 0) FROM finance_transaction_items WHERE transaction_id = :tx");
        last.bind(":tx", transactionId);
        last.step();
        order = int(last.integer(0));
    }
    connection
        .prepare("INSERT INTO finance_transaction_items (transaction_id, name, amount_cents, sort_order, created_at) "
                 "VALUES (:tx, :name, :cents, :order, :now)")
        .bind(":tx", transactionId)
        .bind(":name", item.name)
        .bind(":cents", item.amount.minor())
        .bind(":order", order)
        .bind(":now", m_clock->nowSecs())
        .run();
    const qint64 itemId = connection.lastInsertId();
    connection.prepare("UPDATE finance_transactions SET updated_by = :user, updated_at = :now WHERE id = :id")
        .bind(":user", userId)
        .bind(":now", m_clock->nowSecs())
        .bind(":id", transactionId)
        .run();
    auto row = connection.prepare("SELECT id, transaction_id, name, amount_cents, sort_order, created_at "
                                  "FROM finance_transaction_items WHERE id = :id");
    row.bind(":id", itemId);
    row.step();
    wire::TransactionItem created = itemRow(row);
    transaction.commit();
    return created;
}

void FinanceLedgerService::removeItem(qint64 userId, qint64 transactionId, qint64 itemId)
{
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    requireIn(connection, household.id, transactionId);
    const int removed
        = connection.prepare("DELETE FROM finance_transaction_items WHERE id = :id AND transaction_id = :tx")
              .bind(":id", itemId)
              .bind(":tx", transactionId)
              .run();
    if (removed == 0)
        throw ApiError::notFound(kNoItem);
    transaction.commit();
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
    std::map<QString, wire::Money> byCategory;
    wire::Money total;
    for (wire::Transaction& line : list(userId, from, to)) {
        const QString lineDirection = line.direction.value_or(QStringLiteral("expense"));
        if (!direction.isEmpty() && lineDirection != direction)
            continue;
        if (!category.isEmpty() && line.category.value_or(QString()) != category)
            continue;
        // Moving money between accounts and settling a balance are no spending or earning.
        if (category.isEmpty() && wire::FinanceCategory::isReservedName(line.category.value_or(QString())))
            continue;
        const wire::Money aud = wire::Money::fromAmount(line.audEquiv()).value_or(wire::Money());
        total += aud;
        ++totals.count;
        byCategory[line.category.value_or(QStringLiteral("其他"))] += aud;
        totals.lines.push_back(std::move(line));
    }
    totals.totalAud = total.amount();
    for (const auto& [name, sum] : byCategory)
        totals.byCategory.emplace_back(name, sum.amount());
    std::stable_sort(totals.byCategory.begin(), totals.byCategory.end(),
        [](const auto& a, const auto& b) { return a.second > b.second; });
    return totals;
}

} // namespace lumen

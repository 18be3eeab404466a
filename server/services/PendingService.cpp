#include "PendingService.h"

#include "ApiError.h"
#include "FinanceLedgerService.h"
#include "HouseholdService.h"
#include "LocalClock.h"
#include "PendingPayloads.h"
#include "TimeLedgerService.h"
#include "db/Database.h"
#include "db/Transaction.h"

#include <QRegularExpression>

#include <algorithm>

namespace lumen {

namespace {

const QString kPending = QStringLiteral("pending");
const QString kCommitted = QStringLiteral("committed");
const QString kRejected = QStringLiteral("rejected");
const QString kNoItem = QStringLiteral("待确认条目不存在");
constexpr qsizetype kMaxPayloadBytes = 64 * 1024;
constexpr int kMaxSourceTextLength = 2000;

#define PENDING_COLUMNS                                                                                                \
    "id, domain, payload, source_session, source_text, status, committed_ref, created_at, committed_at, rejected_at"

std::optional<QString> isoOf(db::Statement& query, int column)
{
    return query.isNull(column) ? std::nullopt : std::optional<QString>(LocalClock::isoUtc(query.integer(column)));
}

wire::PendingItem itemRow(db::Statement& query)
{
    wire::PendingItem item;
    item.id = QString::number(query.integer(0));
    item.domain = query.text(1);
    try {
        item.payload = wire::fromBytes<wire::AnyDict>(query.text(2).toUtf8());
    } catch (const wire::DecodeError&) {
        item.payload = {}; // written by this server, so never expected; shown empty rather than failing the list
    }
    item.source_session = query.optionalText(3);
    item.source_text = query.optionalText(4);
    item.status = query.text(5);
    item.committed_ref = query.optionalText(6);
    item.created_at = LocalClock::isoUtc(query.integer(7));
    item.committed_at = isoOf(query, 8);
    item.rejected_at = isoOf(query, 9);
    return item;
}

qint64 itemId(const QString& id)
{
    bool ok = false;
    const qint64 value = id.trimmed().toLongLong(&ok);
    if (!ok || value <= 0)
        throw ApiError::notFound(kNoItem);
    return value;
}

wire::AnyDict withKind(wire::AnyDict payload)
{
    payload.try_emplace(QStringLiteral("_kind"), QStringLiteral("create"));
    return payload;
}

QByteArray storedPayload(const wire::AnyDict& payload)
{
    const QByteArray bytes = wire::toBytes(payload);
    if (bytes.size() > kMaxPayloadBytes)
        throw ApiError::unprocessable(QStringLiteral("内容过大（上限 %1 KB）").arg(kMaxPayloadBytes / 1024));
    return bytes;
}

std::optional<wire::PendingItem> itemIn(db::Connection& connection, qint64 userId, qint64 id)
{
    auto query = connection.prepare("SELECT " PENDING_COLUMNS " FROM pending_items WHERE id = :id AND user_id = :user");
    query.bind(":id", id).bind(":user", userId);
    if (!query.step())
        return std::nullopt;
    return itemRow(query);
}

wire::PendingItem requireItem(db::Connection& connection, qint64 userId, const QString& id)
{
    if (auto item = itemIn(connection, userId, itemId(id)))
        return *item;
    throw ApiError::notFound(kNoItem);
}

} // namespace

PendingService::PendingService(db::Database& database, HouseholdService& households, FinanceLedgerService& finance,
    TimeLedgerService& time, std::shared_ptr<Clock> clock)
    : m_database(database)
    , m_households(households)
    , m_finance(finance)
    , m_time(time)
    , m_clock(std::move(clock))
{
}

wire::PendingItem PendingService::create(qint64 userId, const wire::PendingCreate& request)
{
    static const QRegularExpression domainForm(QStringLiteral("^[a-z][a-z_]{0,31}$"));
    const QString domain = request.domain.trimmed();
    if (!domainForm.match(domain).hasMatch())
        throw ApiError::unprocessable(QStringLiteral("domain 应为小写英文，例如 finance 或 time"));
    if (request.source_text && request.source_text->size() > kMaxSourceTextLength)
        throw ApiError::unprocessable(QStringLiteral("原句最多 %1 个字").arg(kMaxSourceTextLength));
    const QByteArray payload = storedPayload(withKind(request.payload));
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    connection
        .prepare("INSERT INTO pending_items (user_id, domain, payload, source_session, source_text, created_at) "
                 "VALUES (:user, :domain, :payload, :session, :text, :now)")
        .bind(":user", userId)
        .bind(":domain", domain)
        .bind(":payload", QString::fromUtf8(payload))
        .bind(":session", request.source_session)
        .bind(":text", request.source_text)
        .bind(":now", m_clock->nowSecs())
        .run();
    wire::PendingItem item = *itemIn(connection, userId, connection.lastInsertId());
    transaction.commit();
    return item;
}

std::vector<wire::PendingItem> PendingService::list(
    qint64 userId, const QString& status, const std::optional<QString>& domain, int limit)
{
    if (status != kPending && status != kCommitted && status != kRejected)
        throw ApiError::unprocessable(QStringLiteral("status 只能是 pending、committed 或 rejected"));
    auto query
        = m_database.connection().prepare("SELECT " PENDING_COLUMNS " FROM pending_items "
                                          "WHERE user_id = :user AND status = :status "
                                          "AND (:domain = '' OR domain = :domain) ORDER BY id DESC LIMIT :limit");
    query.bind(":user", userId)
        .bind(":status", status)
        .bind(":domain", domain.value_or(QString()).trimmed())
        .bind(":limit", std::clamp(limit, 1, 1000));
    std::vector<wire::PendingItem> items;
    while (query.step())
        items.push_back(itemRow(query));
    return items;
}

wire::PendingItem PendingService::get(qint64 userId, const QString& id)
{
    return requireItem(m_database.connection(), userId, id);
}

wire::PendingItem PendingService::update(qint64 userId, const QString& id, const wire::PendingUpdate& request)
{
    const QByteArray payload = storedPayload(withKind(request.payload));
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const wire::PendingItem item = requireItem(connection, userId, id);
    if (item.status != kPending)
        throw ApiError::conflict(QStringLiteral("这条已处理，不能再修改"));
    connection.prepare("UPDATE pending_items SET payload = :payload WHERE id = :id")
        .bind(":payload", QString::fromUtf8(payload))
        .bind(":id", itemId(id))
        .run();
    wire::PendingItem updated = *itemIn(connection, userId, itemId(id));
    transaction.commit();
    return updated;
}

wire::PendingItem PendingService::commit(qint64 userId, const QString& id)
{
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const wire::PendingItem item = requireItem(connection, userId, id);
    if (item.status == kCommitted)
        throw ApiError::conflict(QStringLiteral("这条已经确认过了"));
    if (item.status == kRejected)
        throw ApiError::conflict(QStringLiteral("这条已撤销，不能再确认"));
    const QString kind = PendingPayloads::kindOf(item.payload);
    const bool update = kind == QLatin1String("update");
    if (kind != QLatin1String("create") && !update)
        throw ApiError::unprocessable(QStringLiteral("暂不支持的操作：%1").arg(kind.left(20)));

    QString reference;
    if (item.domain == QLatin1String("finance")) {
        QString speaker;
        {
            auto name = connection.prepare("SELECT display_name FROM users WHERE id = :user");
            name.bind(":user", userId);
            if (name.step())
                speaker = name.text(0);
        }
        const LocalClock local(*m_clock, household.timezone);
        NewTransaction line = PendingPayloads::finance(item.payload, { household.currency, speaker, local.today() });
        if (update) {
            const qint64 target = PendingPayloads::targetOf(item.payload);
            m_finance.updateIn(connection, household.id, userId, target, line);
            reference = QStringLiteral("finance:%1").arg(target);
        } else {
            line.source = QStringLiteral("chat");
            if (!line.note && item.source_text && !item.source_text->isEmpty())
                line.note = QStringLiteral("cc:") + *item.source_text;
            reference = QStringLiteral("finance:%1").arg(m_finance.insertIn(connection, household.id, userId, line));
        }
    } else if (item.domain == QLatin1String("time")) {
        if (update) {
            const qint64 target = PendingPayloads::targetOf(item.payload);
            m_time.updateIn(connection, userId, household.id, target, PendingPayloads::timeChange(item.payload));
            reference = QStringLiteral("time:%1").arg(target);
        } else {
            const NewTimeEntry entry = PendingPayloads::time(item.payload);
            if (entry.categoryId)
                TimeLedgerService::requireCategoryIn(connection, household.id, *entry.categoryId);
            reference = QStringLiteral("time:%1").arg(m_time.insertIn(connection, userId, entry).id);
        }
    } else {
        throw ApiError::unprocessable(QStringLiteral("暂不支持确认「%1」类型的条目").arg(item.domain));
    }
    connection
        .prepare("UPDATE pending_items SET status = 'committed', committed_ref = :ref, committed_at = :now "
                 "WHERE id = :id")
        .bind(":ref", reference)
        .bind(":now", m_clock->nowSecs())
        .bind(":id", itemId(id))
        .run();
    wire::PendingItem committed = *itemIn(connection, userId, itemId(id));
    transaction.commit();
    return committed;
}

wire::PendingItem PendingService::reject(qint64 userId, const QString& id)
{
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const wire::PendingItem item = requireItem(connection, userId, id);
    if (item.status == kCommitted)
        throw ApiError::conflict(QStringLiteral("这条已经确认入账，不能撤销"));
    if (item.status == kRejected)
        throw ApiError::conflict(QStringLiteral("这条已经撤销过了"));
    connection.prepare("UPDATE pending_items SET status = 'rejected', rejected_at = :now WHERE id = :id")
        .bind(":now", m_clock->nowSecs())
        .bind(":id", itemId(id))
        .run();
    wire::PendingItem rejected = *itemIn(connection, userId, itemId(id));
    transaction.commit();
    return rejected;
}

std::optional<wire::PendingItem> PendingService::newestFromSession(qint64 userId, const QString& sourceSession)
{
    auto query = m_database.connection().prepare("SELECT " PENDING_COLUMNS " FROM pending_items "
                                                 "WHERE user_id = :user AND source_session = :session "
                                                 "ORDER BY id DESC LIMIT 1");
    query.bind(":user", userId).bind(":session", sourceSession);
    if (!query.step())
        return std::nullopt;
    return itemRow(query);
}

std::optional<std::pair<wire::PendingItem, qint64>> PendingService::newestPending(qint64 userId)
{
    auto query
        = m_database.connection().prepare("SELECT " PENDING_COLUMNS " FROM pending_items "
                                          "WHERE user_id = :user AND status = 'pending' ORDER BY id DESC LIMIT 1");
    query.bind(":user", userId);
    if (!query.step())
        return std::nullopt;
    return std::make_pair(itemRow(query), query.integer(7));
}

} // namespace lumen

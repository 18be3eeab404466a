#include "CacheModels.h"

#include <QStringList>

namespace {

template<class T> QVariant optionalValue(const std::optional<T>& value)
{
    return value ? QVariant::fromValue(*value) : QVariant();
}

// Dates are stored as ISO 8601 text with milliseconds, in UTC.
QVariant dateValue(const QDateTime& value)
{
    return value.toUTC().toString(Qt::ISODateWithMs);
}

} // namespace

QString ModelDefinition::createTableSQL() const
{
    QStringList parts;
    for (const ColumnDefinition& column : columns) {
        QString part = QStringLiteral("\"%1\" %2").arg(column.name, column.sqlType);
        if (!column.optional)
            part += QStringLiteral(" NOT NULL");
        if (column.unique)
            part += QStringLiteral(" UNIQUE");
        parts << part;
    }
    return QStringLiteral("CREATE TABLE IF NOT EXISTS \"%1\" (%2)").arg(tableName, parts.join(QStringLiteral(", ")));
}

CachedTransaction::CachedTransaction(int id, QString date, double amount, std::optional<QString> currency,
    std::optional<QString> category, std::optional<QString> spender, std::optional<QString> desc,
    std::optional<QString> confirmationStatus, QDateTime lastSyncedAt)
    : id(id)
    , date(std::move(date))
    , amount(amount)
    , currency(std::move(currency))
    , category(std::move(category))
    , spender(std::move(spender))
    , desc(std::move(desc))
    , confirmationStatus(std::move(confirmationStatus))
    , lastSyncedAt(std::move(lastSyncedAt))
{
}

CachedTransaction CachedTransaction::from(const wire::Transaction& transaction, const QDateTime& now)
{
    return { transaction.id, transaction.date, transaction.amount, transaction.currency, transaction.category,
        transaction.spender, transaction.desc, transaction.confirmation_status, now };
}

const ModelDefinition& CachedTransaction::definition()
{
    static const ModelDefinition definition { QStringLiteral("CachedTransaction"),
        { { "id", "INTEGER", false, true }, { "date", "TEXT" }, { "amount", "REAL" }, { "currency", "TEXT", true },
            { "category", "TEXT", true }, { "spender", "TEXT", true }, { "desc", "TEXT", true },
            { "confirmationStatus", "TEXT", true }, { "lastSyncedAt", "TEXT" } } };
    return definition;
}

std::vector<QVariant> CachedTransaction::values() const
{
    return { id, date, amount, optionalValue(currency), optionalValue(category), optionalValue(spender),
        optionalValue(desc), optionalValue(confirmationStatus), dateValue(lastSyncedAt) };
}

CachedTimeEntry::CachedTimeEntry(int id, QString date, QString startTime, std::optional<QString> endTime,
    std::optional<double> durationMin, QString activity, std::optional<int> categoryID, QString source, int confirmed,
    QDateTime lastSyncedAt)
    : id(id)
    , date(std::move(date))
    , startTime(std::move(startTime))
    , endTime(std::move(endTime))
    , durationMin(durationMin)
    , activity(std::move(activity))
    , categoryID(categoryID)
    , source(std::move(source))
    , confirmed(confirmed)
    , lastSyncedAt(std::move(lastSyncedAt))
{
}

CachedTimeEntry CachedTimeEntry::from(const wire::TimeEntry& entry, const QDateTime& now)
{
    return { entry.id, entry.date, entry.start_time, entry.end_time, entry.duration_min, entry.activity,
        entry.category_id, entry.source, entry.confirmed, now };
}

const ModelDefinition& CachedTimeEntry::definition()
{
    static const ModelDefinition definition { QStringLiteral("CachedTimeEntry"),
        { { "id", "INTEGER", false, true }, { "date", "TEXT" }, { "startTime", "TEXT" }, { "endTime", "TEXT", true },
            { "durationMin", "REAL", true }, { "activity", "TEXT" }, { "categoryID", "INTEGER", true },
            { "source", "TEXT" }, { "confirmed", "INTEGER" }, { "lastSyncedAt", "TEXT" } } };
    return definition;
}

std::vector<QVariant> CachedTimeEntry::values() const
{
    return { id, date, startTime, optionalValue(endTime), optionalValue(durationMin), activity,
        optionalValue(categoryID), source, confirmed, dateValue(lastSyncedAt) };
}

OutboxItem::OutboxItem(QString endpoint, QString method, QString bodyJSON, QDateTime createdAt, int attempts,
    std::optional<QString> lastError)
    : endpoint(std::move(endpoint))
    , method(std::move(method))
    , bodyJSON(std::move(bodyJSON))
    , createdAt(std::move(createdAt))
    , attempts(attempts)
    , lastError(std::move(lastError))
{
}

const ModelDefinition& OutboxItem::definition()
{
    static const ModelDefinition definition { QStringLiteral("OutboxItem"),
        { { "endpoint", "TEXT" }, { "method", "TEXT" }, { "bodyJSON", "TEXT" }, { "createdAt", "TEXT" },
            { "attempts", "INTEGER" }, { "lastError", "TEXT", true } } };
    return definition;
}

std::vector<QVariant> OutboxItem::values() const
{
    return { endpoint, method, bodyJSON, dateValue(createdAt), attempts, optionalValue(lastError) };
}

std::vector<const ModelDefinition*> CacheSchema::models()
{
    return { &CachedTransaction::definition(), &CachedTimeEntry::definition(), &OutboxItem::definition() };
}

#pragma once

// The declared local schema: copies of transactions and time entries, and an outbox of
// writes. Only the shape is settled; nothing reads or writes these tables yet.

#include "finance/Transaction.h"
#include "time/TimeDomainModels.h"

#include <QDateTime>
#include <QString>
#include <QVariant>

#include <optional>
#include <vector>

struct ColumnDefinition {
    QString name;
    QString sqlType; // INTEGER, REAL, TEXT
    bool optional = false;
    bool unique = false;
};

struct ModelDefinition {
    QString tableName;
    std::vector<ColumnDefinition> columns;

    QString createTableSQL() const;
};

struct CachedTransaction {
    int id = 0;
    QString date;
    double amount = 0;
    std::optional<QString> currency;
    std::optional<QString> category;
    std::optional<QString> spender;
    std::optional<QString> desc;
    std::optional<QString> confirmationStatus;
    QDateTime lastSyncedAt;

    CachedTransaction() = default;
    CachedTransaction(int id, QString date, double amount, std::optional<QString> currency,
        std::optional<QString> category, std::optional<QString> spender, std::optional<QString> desc,
        std::optional<QString> confirmationStatus, QDateTime lastSyncedAt);
    // A row matching the server's line as of `now`.
    static CachedTransaction from(const wire::Transaction& transaction, const QDateTime& now);

    static const ModelDefinition& definition();
    std::vector<QVariant> values() const; // in column order

    bool operator==(const CachedTransaction&) const = default;
};

struct CachedTimeEntry {
    int id = 0;
    QString date;
    QString startTime;
    std::optional<QString> endTime;
    std::optional<double> durationMin;
    QString activity;
    std::optional<int> categoryID;
    QString source;
    int confirmed = 0;
    QDateTime lastSyncedAt;

    CachedTimeEntry() = default;
    CachedTimeEntry(int id, QString date, QString startTime, std::optional<QString> endTime,
        std::optional<double> durationMin, QString activity, std::optional<int> categoryID, QString source,
        int confirmed, QDateTime lastSyncedAt);
    static CachedTimeEntry from(const wire::TimeEntry& entry, const QDateTime& now);

    static const ModelDefinition& definition();
    std::vector<QVariant> values() const;

    bool operator==(const CachedTimeEntry&) const = default;
};

struct OutboxItem {
    QString endpoint;
    QString method;
    QString bodyJSON;
    QDateTime createdAt;
    int attempts = 0;
    std::optional<QString> lastError;

    OutboxItem() = default;
    OutboxItem(QString endpoint, QString method, QString bodyJSON, QDateTime createdAt, int attempts,
        std::optional<QString> lastError);

    static const ModelDefinition& definition();
    std::vector<QVariant> values() const;

    bool operator==(const OutboxItem&) const = default;
};

// The schema list, in declared order.
struct CacheSchema {
    CacheSchema() = delete;
    static std::vector<const ModelDefinition*> models();
};

#include "SegmentQueue.h"

#include "time/TimeDomainModels.h"
#include "json/JsonCoding.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>
#include <QVariant>

namespace {

QSqlDatabase database(const QString& connectionName)
{
    return QSqlDatabase::database(connectionName, false);
}

QSqlQuery run(const QString& connectionName, const QString& sql, const QVariantList& values = {})
{
    QSqlQuery query(database(connectionName));
    if (!query.prepare(sql))
        throw SegmentQueueError("segment queue: " + query.lastError().text().toStdString());
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec())
        throw SegmentQueueError("segment queue: " + query.lastError().text().toStdString());
    return query;
}

int count(const QString& connectionName, const QString& state)
{
    QSqlQuery query = run(connectionName, QStringLiteral("SELECT COUNT(*) FROM segments WHERE state = ?"), { state });
    return query.next() ? query.value(0).toInt() : 0;
}

} // namespace

SegmentQueue::SegmentQueue(const QString& path)
    : m_connectionName(QStringLiteral("segment-queue-") + QUuid::createUuid().toString(QUuid::WithoutBraces))
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connectionName);
    db.setDatabaseName(path);
    if (!db.open())
        throw SegmentQueueError(
            "segment queue: cannot open " + path.toStdString() + ": " + db.lastError().text().toStdString());
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    run(m_connectionName, QStringLiteral("PRAGMA journal_mode = WAL"));
    run(m_connectionName, QStringLiteral("PRAGMA synchronous = FULL"));
    run(m_connectionName, QStringLiteral("PRAGMA busy_timeout = 2000"));
    run(m_connectionName,
        QStringLiteral("CREATE TABLE IF NOT EXISTS segments ("
                       " seq INTEGER PRIMARY KEY AUTOINCREMENT,"
                       " client_key TEXT NOT NULL UNIQUE,"
                       " body BLOB NOT NULL,"
                       " state TEXT NOT NULL DEFAULT 'waiting' CHECK (state IN ('waiting', 'refused')),"
                       " attempts INTEGER NOT NULL DEFAULT 0,"
                       " last_error TEXT,"
                       " queued_at INTEGER NOT NULL)"));
    run(m_connectionName,
        QStringLiteral("CREATE TABLE IF NOT EXISTS open_segment ("
                       " id INTEGER PRIMARY KEY CHECK (id = 1),"
                       " body BLOB NOT NULL)"));
}

SegmentQueue::~SegmentQueue()
{
    {
        QSqlDatabase db = database(m_connectionName);
        db.close();
    }
    QSqlDatabase::removeDatabase(m_connectionName);
}

QString SegmentQueue::enqueue(const wire::TimeManualRequest& request)
{
    const QString key = QUuid::createUuid().toString(QUuid::WithoutBraces);
    run(m_connectionName, QStringLiteral("INSERT INTO segments (client_key, body, queued_at) VALUES (?, ?, ?)"),
        { key, wire::toBytes(request), QDateTime::currentSecsSinceEpoch() });
    return key;
}

void SegmentQueue::record(
    const std::vector<wire::TimeManualRequest>& closed, const std::optional<wire::TimeManualRequest>& open)
{
    QSqlDatabase db = database(m_connectionName);
    if (!db.transaction())
        throw SegmentQueueError("segment queue: " + db.lastError().text().toStdString());
    try {
        for (const wire::TimeManualRequest& request : closed)
            enqueue(request);
        if (open) {
            run(m_connectionName, QStringLiteral("INSERT OR REPLACE INTO open_segment (id, body) VALUES (1, ?)"),
                { wire::toBytes(*open) });
        } else {
            run(m_connectionName, QStringLiteral("DELETE FROM open_segment"));
        }
    } catch (...) {
        db.rollback();
        throw;
    }
    if (!db.commit())
        throw SegmentQueueError("segment queue: " + db.lastError().text().toStdString());
}

bool SegmentQueue::recoverOpen()
{
    QSqlQuery query = run(m_connectionName, QStringLiteral("SELECT body FROM open_segment WHERE id = 1"));
    if (!query.next())
        return false;
    const wire::TimeManualRequest open = wire::fromBytes<wire::TimeManualRequest>(query.value(0).toByteArray());
    query.finish();
    record({ open }, std::nullopt);
    return true;
}

std::optional<QueuedSegment> SegmentQueue::next() const
{
    QSqlQuery query = run(m_connectionName,
        QStringLiteral("SELECT client_key, body, attempts FROM segments WHERE state = 'waiting' ORDER BY seq LIMIT 1"));
    if (!query.next())
        return std::nullopt;
    return QueuedSegment { query.value(0).toString(), query.value(1).toByteArray(), query.value(2).toInt() };
}

void SegmentQueue::markDelivered(const QString& clientKey)
{
    run(m_connectionName, QStringLiteral("DELETE FROM segments WHERE client_key = ?"), { clientKey });
}

void SegmentQueue::markAttempt(const QString& clientKey, const QString& error)
{
    run(m_connectionName,
        QStringLiteral("UPDATE segments SET attempts = attempts + 1, last_error = ? WHERE client_key = ?"),
        { error, clientKey });
}

void SegmentQueue::markRefused(const QString& clientKey, const QString& reason)
{
    run(m_connectionName,
        QStringLiteral("UPDATE segments SET state = 'refused', attempts = attempts + 1, last_error = ? "
                       "WHERE client_key = ?"),
        { reason, clientKey });
}

int SegmentQueue::waitingCount() const
{
    return count(m_connectionName, QStringLiteral("waiting"));
}

int SegmentQueue::refusedCount() const
{
    return count(m_connectionName, QStringLiteral("refused"));
}

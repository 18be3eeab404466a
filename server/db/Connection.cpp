#include "Connection.h"

#include "DbError.h"

#include <sqlite3.h>

namespace lumen::db {

namespace {

constexpr int kBusyTimeoutMs = 5000;

} // namespace

Connection::Connection(const QString& path)
{
    const QByteArray file = path.toUtf8();
    // Each connection stays on one thread at a time, so SQLite's own mutexes are not needed.
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    const int rc = sqlite3_open_v2(file.constData(), &m_db, flags, nullptr);
    if (rc != SQLITE_OK) {
        const std::string message = m_db ? sqlite3_errmsg(m_db) : sqlite3_errstr(rc);
        sqlite3_close_v2(m_db);
        m_db = nullptr;
        throw DbError(rc, "cannot open database " + file.toStdString() + ": " + message);
    }
    sqlite3_extended_result_codes(m_db, 1);
    sqlite3_busy_timeout(m_db, kBusyTimeoutMs);
    exec("PRAGMA journal_mode = WAL;"
         "PRAGMA synchronous = NORMAL;"
         "PRAGMA foreign_keys = ON;");
}

Connection::~Connection()
{
    for (auto& [sql, cached] : m_statements)
        sqlite3_finalize(cached.statement);
    sqlite3_close_v2(m_db);
}

Statement Connection::prepare(const char* sql)
{
    auto [it, inserted] = m_statements.try_emplace(sql);
    Cached& cached = it->second;
    if (!inserted && cached.lent) {
        // The same query is already in use further up the stack: give this caller its own.
        sqlite3_stmt* statement = nullptr;
        const int rc = sqlite3_prepare_v2(m_db, sql, -1, &statement, nullptr);
        if (rc != SQLITE_OK)
            throw DbError(rc, std::string("prepare: ") + sqlite3_errmsg(m_db) + " in: " + sql);
        return Statement(statement, nullptr);
    }
    if (inserted) {
        const int rc = sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &cached.statement, nullptr);
        if (rc != SQLITE_OK) {
            m_statements.erase(it);
            throw DbError(rc, std::string("prepare: ") + sqlite3_errmsg(m_db) + " in: " + sql);
        }
    }
    cached.lent = true;
    return Statement(cached.statement, &cached.lent);
}

void Connection::exec(const char* sql)
{
    char* error = nullptr;
    const int rc = sqlite3_exec(m_db, sql, nullptr, nullptr, &error);
    if (rc != SQLITE_OK) {
        const std::string message = error ? error : sqlite3_errstr(rc);
        sqlite3_free(error);
        throw DbError(rc, message);
    }
}

qint64 Connection::lastInsertId() const
{
    return sqlite3_last_insert_rowid(m_db);
}

int Connection::userVersion()
{
    Statement statement = prepare("PRAGMA user_version");
    return statement.step() ? int(statement.integer(0)) : 0;
}

} // namespace lumen::db

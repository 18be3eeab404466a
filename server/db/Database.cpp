#include "Database.h"

#include "DbError.h"
#include "Transaction.h"

#include <sqlite3.h>

namespace lumen::db {

Database::Database(QString path)
    : m_path(std::move(path))
{
    // Open (and so create) the file now, so a bad path fails at start rather than on a request.
    connection();
}

Database::~Database() = default;

Connection& Database::connection()
{
    const std::lock_guard lock(m_mutex);
    auto& slot = m_connections[std::this_thread::get_id()];
    if (!slot)
        slot = std::make_unique<Connection>(m_path);
    return *slot;
}

void Database::migrate(const std::vector<Migration>& migrations)
{
    Connection& db = connection();
    int previous = 0;
    for (const Migration& migration : migrations) {
        if (migration.version <= previous)
            throw DbError(SQLITE_MISUSE, "migrations out of order at version " + std::to_string(migration.version));
        previous = migration.version;
    }
    const int latest = previous;
    if (db.userVersion() > latest) {
        throw DbError(SQLITE_MISUSE,
            "database " + m_path.toStdString() + " has schema version " + std::to_string(db.userVersion())
                + ", newer than this build knows (" + std::to_string(latest) + ")");
    }
    for (const Migration& migration : migrations) {
        Transaction transaction(db);
        // Read again inside the write lock: another process may have migrated meanwhile.
        if (db.userVersion() >= migration.version)
            continue;
        try {
            db.exec(migration.sql);
            db.exec(("PRAGMA user_version = " + std::to_string(migration.version)).c_str());
        } catch (const DbError& error) {
            throw DbError(error.code(),
                "migration " + std::to_string(migration.version) + " (" + migration.name + ") failed: " + error.what());
        }
        transaction.commit();
    }
}

} // namespace lumen::db

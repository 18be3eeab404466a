#pragma once

#include "Connection.h"
#include "Migrations.h"

#include <QString>

#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>

namespace lumen::db {

// The server's SQLite file. Every thread that touches it gets a connection of its own,
// opened on first use and kept until the database is destroyed.
class Database {
public:
    explicit Database(QString path);
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database();

    const QString& path() const { return m_path; }

    // This thread's connection.
    Connection& connection();

    // Applies every migration above the file's user_version, each in its own transaction.
    // Throws when the file was written by a newer build than this one.
    void migrate(const std::vector<Migration>& migrations);

private:
    QString m_path;
    std::mutex m_mutex;
    std::unordered_map<std::thread::id, std::unique_ptr<Connection>> m_connections;
};

} // namespace lumen::db

#pragma once

#include "Statement.h"

#include <QString>

#include <string>
#include <unordered_map>

struct sqlite3;

namespace lumen::db {

// One SQLite connection, used by one thread at a time, with its prepared statements cached.
class Connection {
public:
    explicit Connection(const QString& path);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // A prepared statement for this SQL, reused across calls.
    Statement prepare(const char* sql);
    // Runs one or more statements that take no parameters.
    void exec(const char* sql);
    qint64 lastInsertId() const;
    int userVersion();

    sqlite3* handle() const { return m_db; }

private:
    struct Cached {
        struct sqlite3_stmt* statement = nullptr;
        bool lent = false;
    };

    sqlite3* m_db = nullptr;
    std::unordered_map<std::string, Cached> m_statements;
};

} // namespace lumen::db

#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

struct sqlite3_stmt;

namespace lumen::db {

// One use of a cached prepared statement. Parameters are bound by name (":user_id");
// the statement is reset and its bindings cleared when this object goes away, so the
// cache can hand it out again.
class Statement {
public:
    // `lent` is the cache's in-use flag, cleared on destruction; without one the
    // statement is private to this object and finalized with it.
    Statement(sqlite3_stmt* statement, bool* lent);
    Statement(Statement&& other) noexcept;
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    Statement& operator=(Statement&&) = delete;
    ~Statement();

    Statement& bind(const char* name, qint64 value);
    Statement& bind(const char* name, int value) { return bind(name, qint64(value)); }
    Statement& bind(const char* name, double value);
    Statement& bind(const char* name, const QString& value);
    Statement& bind(const char* name, const QByteArray& blob);
    Statement& bind(const char* name, const std::optional<QString>& value);
    Statement& bindNull(const char* name);

    // Advances to the next row; false when there are no more.
    bool step();
    // Runs a statement that returns no rows (or ignores them); returns the rows changed.
    int run();

    bool isNull(int column) const;
    qint64 integer(int column) const;
    double real(int column) const;
    QString text(int column) const;
    std::optional<QString> optionalText(int column) const;
    QByteArray blob(int column) const;

private:
    int index(const char* name) const;
    void check(int rc, const char* what) const;

    sqlite3_stmt* m_statement;
    bool* m_lent;
};

} // namespace lumen::db

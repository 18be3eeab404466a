#include "Statement.h"

#include "DbError.h"

#include <sqlite3.h>

namespace lumen::db {

Statement::Statement(sqlite3_stmt* statement, bool* lent)
    : m_statement(statement)
    , m_lent(lent)
{
}

Statement::Statement(Statement&& other) noexcept
    : m_statement(other.m_statement)
    , m_lent(other.m_lent)
{
    other.m_statement = nullptr;
    other.m_lent = nullptr;
}

Statement::~Statement()
{
    if (!m_statement)
        return;
    if (!m_lent) {
        sqlite3_finalize(m_statement);
        return;
    }
    sqlite3_reset(m_statement);
    sqlite3_clear_bindings(m_statement);
    *m_lent = false;
}

int Statement::index(const char* name) const
{
    const int found = sqlite3_bind_parameter_index(m_statement, name);
    if (found == 0)
        throw DbError(SQLITE_RANGE, std::string("no parameter named ") + name + " in: " + sqlite3_sql(m_statement));
    return found;
}

void Statement::check(int rc, const char* what) const
{
    if (rc != SQLITE_OK)
        throw DbError(rc, std::string(what) + ": " + sqlite3_errmsg(sqlite3_db_handle(m_statement)));
}

Statement& Statement::bind(const char* name, qint64 value)
{
    check(sqlite3_bind_int64(m_statement, index(name), value), "bind");
    return *this;
}

Statement& Statement::bind(const char* name, double value)
{
    check(sqlite3_bind_double(m_statement, index(name), value), "bind");
    return *this;
}

Statement& Statement::bind(const char* name, const QString& value)
{
    const QByteArray utf8 = value.toUtf8();
    check(sqlite3_bind_text(m_statement, index(name), utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT), "bind");
    return *this;
}

Statement& Statement::bind(const char* name, const QByteArray& blob)
{
    check(sqlite3_bind_blob(m_statement, index(name), blob.constData(), int(blob.size()), SQLITE_TRANSIENT), "bind");
    return *this;
}

Statement& Statement::bind(const char* name, const std::optional<QString>& value)
{
    return value ? bind(name, *value) : bindNull(name);
}

Statement& Statement::bindNull(const char* name)
{
    check(sqlite3_bind_null(m_statement, index(name)), "bind");
    return *this;
}

bool Statement::step()
{
    const int rc = sqlite3_step(m_statement);
    if (rc == SQLITE_ROW)
        return true;
    if (rc == SQLITE_DONE)
        return false;
    throw DbError(rc, std::string("step: ") + sqlite3_errmsg(sqlite3_db_handle(m_statement)));
}

int Statement::run()
{
    while (step()) { }
    return sqlite3_changes(sqlite3_db_handle(m_statement));
}

bool Statement::isNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

qint64 Statement::integer(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

double Statement::real(int column) const
{
    return sqlite3_column_double(m_statement, column);
}

QString Statement::text(int column) const
{
    const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    return QString::fromUtf8(data, sqlite3_column_bytes(m_statement, column));
}

std::optional<QString> Statement::optionalText(int column) const
{
    if (isNull(column))
        return std::nullopt;
    return text(column);
}

QByteArray Statement::blob(int column) const
{
    const auto* data = static_cast<const char*>(sqlite3_column_blob(m_statement, column));
    return QByteArray(data, sqlite3_column_bytes(m_statement, column));
}

} // namespace lumen::db

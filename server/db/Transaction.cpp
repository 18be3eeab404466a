#include "Transaction.h"

#include "Connection.h"

namespace lumen::db {

Transaction::Transaction(Connection& connection, Mode mode)
    : m_connection(connection)
{
    m_connection.exec(mode == Mode::Write ? "BEGIN IMMEDIATE" : "BEGIN DEFERRED");
    m_open = true;
}

Transaction::~Transaction()
{
    if (!m_open)
        return;
    try {
        m_connection.exec("ROLLBACK");
    } catch (...) {
        // A failed rollback leaves SQLite to roll back when the connection is next used.
    }
}

void Transaction::commit()
{
    m_connection.exec("COMMIT");
    m_open = false;
}

} // namespace lumen::db

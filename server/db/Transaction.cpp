#include "Transaction.h"

#include "Connection.h"

namespace lumen::db {

Transaction::Transaction(Connection& connection, Mode mode)
    : m_connection(connection)
{
    // Prepared once per connection: cheaper than parsing the text on every request.
    m_connection.prepare(mode == Mode::Write ? "BEGIN IMMEDIATE" : "BEGIN DEFERRED").run();
    m_open = true;
}

Transaction::~Transaction()
{
    if (!m_open)
        return;
    try {
        m_connection.prepare("ROLLBACK").run();
    } catch (...) {
        // A failed rollback leaves SQLite to roll back when the connection is next used.
    }
}

void Transaction::commit()
{
    m_connection.prepare("COMMIT").run();
    m_open = false;
}

} // namespace lumen::db

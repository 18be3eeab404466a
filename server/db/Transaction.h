#pragma once

namespace lumen::db {

class Connection;

// An explicit transaction that rolls back unless committed. Writers take the write lock
// at BEGIN (IMMEDIATE) so two writers never deadlock upgrading a read lock.
class Transaction {
public:
    enum class Mode { Read, Write };

    explicit Transaction(Connection& connection, Mode mode = Mode::Write);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();

    void commit();

private:
    Connection& m_connection;
    bool m_open = false;
};

} // namespace lumen::db

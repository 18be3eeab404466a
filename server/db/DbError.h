#pragma once

#include <stdexcept>
#include <string>

namespace lumen::db {

// A failure of the storage layer; the route wrapper turns it into a generic 500.
class DbError : public std::runtime_error {
public:
    DbError(int code, const std::string& message)
        : std::runtime_error(message)
        , m_code(code)
    {
    }
    int code() const noexcept { return m_code; }

private:
    int m_code;
};

} // namespace lumen::db

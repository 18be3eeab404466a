#pragma once

#include <QDateTime>
#include <QTimeZone>

#include <mutex>

// A server's clock that only moves when the test says so; safe to read from server threads.
// Base is the clock interface of the server under test.
template<typename Base> class ServerClock final : public Base {
public:
    explicit ServerClock(QDateTime start = QDateTime(QDate(2026, 11, 21), QTime(9, 30), Qt::UTC))
        : m_now(std::move(start))
    {
    }
    QDateTime now() const override
    {
        const std::lock_guard lock(m_mutex);
        return m_now;
    }
    void set(QDateTime value)
    {
        const std::lock_guard lock(m_mutex);
        m_now = std::move(value);
    }
    void advance(qint64 seconds)
    {
        const std::lock_guard lock(m_mutex);
        m_now = m_now.addSecs(seconds);
    }

private:
    mutable std::mutex m_mutex;
    QDateTime m_now;
};

#pragma once

#include <QObject>

#include <qcoro/qcorotask.h>

// Serialises coroutines on one thread: what an actor gives for free elsewhere. A holder
// keeps the lock across its awaits; others wait for `released`.
class AsyncMutex : public QObject {
    Q_OBJECT
public:
    class Guard {
    public:
        explicit Guard(AsyncMutex* mutex)
            : m_mutex(mutex)
        {
        }
        Guard(Guard&& other) noexcept
            : m_mutex(std::exchange(other.m_mutex, nullptr))
        {
        }
        Guard& operator=(Guard&&) = delete;
        Guard(const Guard&) = delete;
        ~Guard()
        {
            if (m_mutex)
                m_mutex->unlock();
        }

    private:
        AsyncMutex* m_mutex;
    };

    using QObject::QObject;

    QCoro::Task<Guard> lock();
    bool isLocked() const { return m_locked; }

signals:
    void released();

private:
    void unlock();

    bool m_locked = false;
};

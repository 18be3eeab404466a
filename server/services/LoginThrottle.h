#pragma once

#include <QString>

#include <QHash>
#include <mutex>
#include <optional>

namespace lumen {

// Slows down guessing at one account: after a few consecutive failures for a name, further
// attempts are refused for a pause that doubles with every new failure. A success, or a
// long enough quiet spell, starts the count again. Kept in memory: a restart forgives.
class LoginThrottle {
public:
    struct Policy {
        int freeFailures = 5; // failures allowed before the first pause
        qint64 firstPauseSecs = 30;
        qint64 maxPauseSecs = 15 * 60;
        qint64 forgetAfterSecs = 60 * 60; // since the last failure
    };

    LoginThrottle() = default;
    explicit LoginThrottle(Policy policy)
        : m_policy(policy)
    {
    }

    // Seconds the caller must still wait, or nothing when an attempt may go ahead.
    std::optional<int> retryAfter(const QString& name, qint64 now);
    void recordFailure(const QString& name, qint64 now);
    void recordSuccess(const QString& name);

    const Policy& policy() const { return m_policy; }

private:
    struct Entry {
        int failures = 0;
        qint64 lastFailure = 0;
        qint64 lockedUntil = 0;
    };

    void pruneLocked(qint64 now);

    Policy m_policy;
    std::mutex m_mutex;
    QHash<QString, Entry> m_entries;
};

} // namespace lumen

#pragma once

#include <QDateTime>
#include <QString>

#include <chrono>
#include <deque>
#include <mutex>

namespace mintbridge {

// The sliding window of model-command calls: at most `limit` in any `window`. Kept in a
// small file so that a restart does not hand out a fresh allowance. Safe across threads.
class UsageLedger {
public:
    struct Verdict {
        bool allowed = false;
        int used = 0; // calls in the window, this one included when allowed
        QDateTime freesAt; // when refused: the moment the oldest call leaves the window
    };

    // `path` empty: the window lives in memory only.
    UsageLedger(QString path, int limit, std::chrono::seconds window = std::chrono::hours(24));

    // Counts one call at `now` when the window has room.
    Verdict acquire(const QDateTime& now);
    int used(const QDateTime& now);
    int limit() const { return m_limit; }

private:
    void prune(qint64 nowMs);
    void load();
    void save() const;

    QString m_path;
    int m_limit;
    qint64 m_windowMs;
    std::mutex m_mutex;
    std::deque<qint64> m_calls; // epoch milliseconds, oldest first
};

} // namespace mintbridge

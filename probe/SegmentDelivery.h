#pragma once

#include <QDateTime>
#include <QString>

#include <qcoro/qcorotask.h>

#include <functional>
#include <optional>

class ProbeClock;
class SegmentPoster;
class SegmentQueue;

// Empties the queue into the backend, oldest first. While the backend is away it waits longer
// after each failure (2 s doubling to 5 min) instead of hammering it; a refused segment is set
// aside so it cannot block the ones behind it.
class SegmentDelivery {
public:
    using TokenSource = std::function<std::optional<QString>()>;

    SegmentDelivery(SegmentQueue& queue, SegmentPoster& poster, const ProbeClock& clock, TokenSource token);

    // Sends what is due now; returns at once while a wait runs or another drain is under way.
    // Never throws.
    QCoro::Task<void> drain();

    // What keeps segments from the backend now, in words for the health file; empty when nothing.
    QString problem() const { return m_problem; }
    std::optional<QDateTime> retryAt() const { return m_retryAt; }
    int failuresInARow() const { return m_failures; }

    static int backoffSec(int failuresInARow);

private:
    void waitAfterFailure(const QString& problem);

    SegmentQueue& m_queue;
    SegmentPoster& m_poster;
    const ProbeClock& m_clock;
    TokenSource m_token;
    bool m_draining = false;
    int m_failures = 0;
    std::optional<QDateTime> m_retryAt;
    QString m_problem;
};

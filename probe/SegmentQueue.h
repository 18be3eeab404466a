#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <stdexcept>
#include <vector>

namespace wire {
struct TimeManualRequest;
}

// The local file cannot be opened or written: the sensor must not pretend to keep segments.
class SegmentQueueError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A segment waiting for the backend: its key and the exact body every attempt sends.
struct QueuedSegment {
    QString clientKey;
    QByteArray body;
    int attempts = 0;

    bool operator==(const QueuedSegment&) const = default;
};

// Closed segments on disk (SQLite, synchronous commits) until the backend has them. Each gets
// its key when it is written, so every retry names the same segment and the server books it
// once. Segments the backend refuses stay in the file, out of the way, for a person to read.
class SegmentQueue {
public:
    explicit SegmentQueue(const QString& path);
    ~SegmentQueue();

    SegmentQueue(const SegmentQueue&) = delete;
    SegmentQueue& operator=(const SegmentQueue&) = delete;

    // On disk before it returns; the key it was given.
    QString enqueue(const wire::TimeManualRequest& request);
    // In one transaction: the closed segments join the queue and the open one replaces the
    // kept copy (none clears it), so a crash between the two can neither lose nor double one.
    void record(const std::vector<wire::TimeManualRequest>& closed, const std::optional<wire::TimeManualRequest>& open);
    // After a crash: the open segment as last kept joins the queue. True when there was one.
    bool recoverOpen();
    // The oldest segment still to send.
    std::optional<QueuedSegment> next() const;
    void markDelivered(const QString& clientKey);
    void markAttempt(const QString& clientKey, const QString& error);
    void markRefused(const QString& clientKey, const QString& reason);

    int waitingCount() const;
    int refusedCount() const;

private:
    QString m_connectionName;
};

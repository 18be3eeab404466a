#pragma once

#include <QDateTime>
#include <QString>

#include <map>

class QTimeZone;

namespace wire {
struct TimeManualRequest;
}

// A stretch of time spent on one window, or away from the screen.
struct Segment {
    QDateTime start;
    QDateTime end;
    QString appName;
    QString title;
    bool offscreen = false;
    // Milliseconds per program, short hops to other windows included.
    std::map<QString, qint64> appMs;

    qint64 lengthSec() const { return start.secsTo(end); }
    bool operator==(const Segment&) const = default;
};

// The ledger's form of a segment: minutes on the given zone's clock, the app and title as the
// activity, the per-app shares as the note; unconfirmed, for the user to work off.
wire::TimeManualRequest segmentRequest(const Segment& segment, const QTimeZone& zone);

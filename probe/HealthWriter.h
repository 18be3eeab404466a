#pragma once

#include "ProbeSample.h"
#include "Segment.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

// Everything the sensor says about itself in one heartbeat.
struct HealthReport {
    QDateTime updatedAt;
    std::optional<ForegroundWindow> window;
    bool windowReadable = false; // a display answers and names the active window
    bool titleReadable = false;
    bool idleReadable = false;
    std::optional<int> idleSec;
    double sampleIntervalSec = 0;
    std::optional<Segment> liveSegment;
    int waitingSegments = 0;
    int refusedSegments = 0;
    QStringList problems; // in the user's words; empty when capture works
};

// Rewrites the health file the client reads (~/.cache/focus-probe/health.json) atomically:
// a reader sees the old heartbeat or the new one, never half of one.
class HealthWriter {
public:
    explicit HealthWriter(QString path);

    static QString defaultPath(const QString& homeDir);
    static QByteArray encode(const HealthReport& report);

    // False when the file cannot be written; the reason goes to problem().
    bool write(const HealthReport& report);
    QString problem() const { return m_problem; }

private:
    QString m_path;
    QString m_problem;
};

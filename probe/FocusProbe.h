#pragma once

#include "Segmenter.h"

#include "time/TimeDomainModels.h"

#include <QObject>
#include <QStringList>
#include <QTimeZone>
#include <QTimer>

#include <functional>

class ForegroundSource;
class HealthWriter;
class ProbeClock;
class SegmentDelivery;
class SegmentQueue;

struct FocusProbeConfig {
    int sampleIntervalMs = 5000;
    SegmenterConfig segmenter;
    // The zone of the ledger's days and clock minutes.
    QTimeZone zone
        = QTimeZone("Australia/Melbourne").isValid() ? QTimeZone("Australia/Melbourne") : QTimeZone::systemTimeZone();
};

// The sensor's loop: every few seconds one look at the desktop, closed segments into the queue,
// a heartbeat into the health file, and the queue towards the backend.
class FocusProbe : public QObject {
    Q_OBJECT

public:
    using ProblemSource = std::function<QString()>;

    FocusProbe(ForegroundSource& source, SegmentQueue& queue, SegmentDelivery& delivery, HealthWriter& health,
        const ProbeClock& clock, ProblemSource credentialProblem, FocusProbeConfig config = {});

    void start();
    // One look now; the timer calls it, tests call it with their own clock.
    void tick();
    // Books the open segment up to the last look and writes a last heartbeat.
    void stop();

    const Segmenter& segmenter() const { return m_segmenter; }
    QStringList problems() const { return m_problems; }

private:
    // Closed segments into the queue, and the open one kept beside them at least once a minute.
    void record(const std::vector<Segment>& closed, bool closing);
    void writeHealth(const ProbeSample& sample);

    ForegroundSource& m_source;
    SegmentQueue& m_queue;
    SegmentDelivery& m_delivery;
    HealthWriter& m_health;
    const ProbeClock& m_clock;
    ProblemSource m_credentialProblem;
    FocusProbeConfig m_config;
    Segmenter m_segmenter;
    QTimer m_timer;
    QStringList m_problems;
    std::optional<QDateTime> m_openKeptAt;
    std::vector<wire::TimeManualRequest> m_unsaved; // closed, but the queue could not take them
};

#pragma once

#include "ProbeSample.h"
#include "Segment.h"

#include <optional>
#include <vector>

struct SegmenterConfig {
    // Shorter stretches are hops: they count in the share of the segment around them. At least
    // a minute, so that no written segment starts and ends on the same clock minute.
    int minimumSec = 60;
    // This long without keyboard or mouse input is away from the screen.
    int idleThresholdSec = 300;
    // A longer pause between two looks (or time running backwards) means the machine slept.
    int maxGapSec = 60;
    // A segment this long is cut and continued, so no block outgrows a day.
    int maximumSec = 12 * 3600;
};

// Turns looks at the desktop into closed segments: a segment ends when another window holds
// the user for the minimum length, when the user goes idle or comes back, or when the machine
// sleeps. Pure: the caller supplies each look's time.
class Segmenter {
public:
    explicit Segmenter(SegmenterConfig config = {});

    // The segments that this look closed, oldest first.
    std::vector<Segment> observe(const QDateTime& at, const ProbeSample& sample);
    // Closes what is open at the last look; for an orderly stop.
    std::vector<Segment> closeAll();
    // The segment being built, up to the last look.
    std::optional<Segment> live() const;

    const SegmenterConfig& config() const { return m_config; }

private:
    struct Activity {
        QString appName;
        QString title;
        bool offscreen = false;
        bool none = false; // no window could be read
        bool operator==(const Activity&) const = default;
    };
    struct Open {
        Activity activity;
        QDateTime start;
        std::map<QString, qint64> appMs;
    };

    static Activity activityOf(const ProbeSample& sample, int idleThresholdSec);
    void credit(qint64 ms);
    void absorbPending();
    void closeOpenAt(const QDateTime& at, std::vector<Segment>& closed);
    void openAt(const Activity& activity, const QDateTime& at);

    SegmenterConfig m_config;
    std::optional<Open> m_open;
    std::optional<Open> m_pending; // another window, not yet held for the minimum length
    std::optional<QDateTime> m_lastAt;
    std::optional<Activity> m_lastActivity;
};

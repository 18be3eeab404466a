#pragma once

#include "json/JsonCoding.h"

#include <QDateTime>
#include <QString>

#include <optional>

// The segment focus-probe is building now, not yet written to the backend.
struct TimeCaptureLiveSegment {
    QString startAt;
    QString updatedAt;
    int durationSec = 0;
    QString appName;
    QString windowTitle;
    QString bucket; // the sensor's classification, or "未归类"
    std::optional<int> categoryID;
    bool isOffscreen = false;

    // The bucket as the screens name it; an unclassified messaging app is "通讯待确认".
    QString displayBucket(const QString& bundleID) const;

    bool operator==(const TimeCaptureLiveSegment&) const = default;
    static TimeCaptureLiveSegment fromJson(const wire::ObjectReader& in);
    void writeJson(wire::ObjectWriter& out) const;
};

// What focus-probe last wrote about itself in ~/.cache/focus-probe/health.json. The client
// only reads it; the sensor rewrites it every few seconds.
struct TimeCaptureHealth {
    QString updatedAt; // ISO 8601 without fractions
    QString bundleID;
    QString appName;
    bool windowTitleAvailable = false;
    bool accessibilityTrusted = false;
    std::optional<int> idleSec;
    std::optional<double> sampleIntervalSec;
    std::optional<TimeCaptureLiveSegment> liveSegment;

    static QString filePath(const QString& homeDir);
    // The record under that home folder; nothing for a missing, unreadable or malformed file.
    static std::optional<TimeCaptureHealth> load(const QString& homeDir);

    // Written at most 180 s before `now`; a time from the future counts as fresh, one that
    // does not read as an internet date-time without fractions does not.
    bool isFresh(const QDateTime& now) const;
    // The foreground app is this client or the sensor itself.
    bool isSelfForeground() const;
    bool isLoginWindow() const;

    bool operator==(const TimeCaptureHealth&) const = default;
    static TimeCaptureHealth fromJson(const wire::ObjectReader& in);
    void writeJson(wire::ObjectWriter& out) const;
};

// A chat app whose time may be work or leisure: the user has to say.
bool isAmbiguousMessaging(const QString& bundleID, const QString& appName);

// Why capture does not work, in the order the checks run: no file, then a stale one, then
// the permission. A stale file says nothing about the permission.
enum class TimeCaptureHealthIssue { none, notConnected, notRefreshed, permissionMissing };

TimeCaptureHealthIssue captureHealthIssue(const std::optional<TimeCaptureHealth>& health, const QDateTime& now);

// The banner's words for an issue: the title, the full text of the time section and the short
// text of compact places.
struct TimeCaptureIssueWords {
    QString title;
    QString text;
    QString shortText;
};

TimeCaptureIssueWords captureIssueWords(TimeCaptureHealthIssue issue);

// The activity bar's line when nothing runs.
struct PassiveCaptureStatus {
    enum class Tone { gray400, warning, gray500, income };

    QString title;
    QString detail;
    QString symbol;
    Tone tone = Tone::gray400;

    bool operator==(const PassiveCaptureStatus&) const = default;
};

PassiveCaptureStatus passiveCaptureStatus(
    bool firstLoadDone, const std::optional<TimeCaptureHealth>& health, const QDateTime& now);
QString passiveCaptureDetail(const TimeCaptureHealth& health, const QString& fallback);
QString captureFallbackDetail(const TimeCaptureHealth& health);

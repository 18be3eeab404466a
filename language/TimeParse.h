#pragma once

// A time sentence understood: what the relay's "time" section answers in `parsed`, and what the
// agent turns into a time block or a start or stop of the running activity.

#include <QDate>
#include <QJsonObject>
#include <QString>
#include <QTime>

#include <optional>

namespace language {

// Names on the wire equal the enumerators' names.
enum class TimeAction { start, stop, manual, unknown };

QString actionName(TimeAction action);

// Why a sentence gives no usable time record.
enum class TimeProblem {
    emptySentence,
    noTimeAction, // neither a block nor a start or stop
    missingClock, // a block whose length is known but not where it lies ("昨天跑步 1 小时")
};

struct TimeParse {
    TimeAction action = TimeAction::unknown;
    QString activity;
    QDate date; // the day the block or start belongs to: the day it began
    std::optional<QTime> startTime;
    std::optional<QTime> endTime; // may be earlier than startTime: the block crosses midnight
    std::optional<double> durationMin;
    QString category; // suggested time category name, empty when none fits
    double confidence = 0;
    std::optional<TimeProblem> problem;

    QString error() const;

    // The relay's `parsed` object: action, activity, date ("yyyy-MM-dd"), start_time and end_time
    // ("HH:mm"), duration_min, confidence, error, and the suggested category. Absent values are
    // left out.
    QJsonObject toParsedJson() const;

    bool operator==(const TimeParse&) const = default;
};

QString problemText(TimeProblem problem);

} // namespace language

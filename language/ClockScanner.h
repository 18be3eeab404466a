#pragma once

// Clock phrases, clock ranges and durations:
//   points   9点, 九点半, 两点一刻, 9点15, 9:30, 9am, 下午3点, 晚上十一点
//   ranges   9点到11点, 9-11点, 9:00-11:30, 上午10点到下午2点, 从两点到现在
//   lengths  1 小时, 一个半小时, 半小时, 45min, 1h30m, 1.5h, 一小时二十分钟
// A bare number is a clock only beside one said with 点 or a colon ("9-11点"), so "7-11" and
// "3 杯" stay what they are. Points keep the hour as said; turning them into a time of day
// needs the period (上午, 晚上) and, for a bare hour, the moment of the request: see readings().

#include "DateScanner.h"
#include "MarkedText.h"

#include <QList>

#include <optional>

namespace language {

struct ClockPoint {
    enum class Meridiem { none, am, pm };

    qsizetype pos = 0;
    qsizetype len = 0;
    int hour = 0;
    int minute = 0;
    DayPeriod period = DayPeriod::none; // said right before it
    Meridiem meridiem = Meridiem::none;
    bool hasClockWord = false; // 点, 时, a colon, am/pm
    bool afterTo = false; // "到 11 点": the end of something
    bool afterFrom = false; // "从 9 点": the start of something

    // Minutes after midnight this point can mean: one reading when a period or am/pm settles
    // it, two for a bare 1..12 ("3点" is 03:00 or 15:00). `context` is the period of the
    // sentence (昨晚 ...) used when the point has none of its own.
    QList<int> readings(DayPeriod context) const;
};

struct ClockRange {
    ClockPoint start;
    std::optional<ClockPoint> end; // absent when the range runs to now
    bool endIsNow = false;
};

struct ClockFindings {
    std::optional<ClockRange> range;
    QList<ClockPoint> points; // points outside the range, in order
    bool untilNow = false; // "到现在" apart from any point: "从两点写论文到现在"
};

class ClockScanner {
public:
    // Finds and marks ranges and points (and the 从 / 到 around them).
    ClockFindings scan(MarkedText& text) const;
    // Finds and marks durations; neighbours ("1 小时 20 分钟") add up. Minutes of the first.
    std::optional<double> scanDuration(MarkedText& text) const;
};

// Minutes after midnight of an hour said with a period ("晚上 11 点" is 23:00, "晚上 1 点" 01:00).
int minutesWithPeriod(int hour, int minute, DayPeriod period);

} // namespace language

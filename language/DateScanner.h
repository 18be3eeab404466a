#pragma once

// Days and ranges of days, relative to the request's day in the household's zone:
// 今天, 昨天, 前天, 大前天, 昨晚; 上周五, 这周三, 周二 (the latest one not after today);
// 11月3日, 3号 (a day not yet come this month or year means the previous one); 2026-11-03;
// 三天前; and ranges for questions: 这周, 上周, 这个月, 上个月, 今年, 最近7天, 5月.
// English too: yesterday, last night, last Sunday, on Monday, 3 May, May 3rd, 2 days ago, last week.
// Weeks start on Monday.

#include "Context.h"
#include "MarkedText.h"

#include <QDate>

#include <optional>

namespace language {

// Which part of the day a word names; it decides whether "3 点" is 03:00 or 15:00.
enum class DayPeriod { none, dawn, morning, noon, afternoon, evening, night };

struct DateRange {
    QDate from;
    QDate to;
    bool operator==(const DateRange&) const = default;
};

struct DateFindings {
    std::optional<QDate> day; // the first single day said
    std::optional<DateRange> range; // the first range said
    DayPeriod period = DayPeriod::none; // from a word like 昨晚 or 今早
};

// A period word (上午, 晚上 ...) starting at `pos`, with its length.
struct PeriodWord {
    DayPeriod period = DayPeriod::none;
    qsizetype len = 0;
};
std::optional<PeriodWord> periodWordAt(const MarkedText& text, qsizetype pos);

class DateScanner {
public:
    explicit DateScanner(QDate today)
        : m_today(today)
    {
    }

    // Finds and marks days and ranges.
    DateFindings scan(MarkedText& text) const;
    // Finds and marks period words left standing alone ("下午 跑步 1 小时"); the first one counts.
    DayPeriod scanPeriod(MarkedText& text) const;

    QDate mondayOf(QDate day) const { return day.addDays(1 - day.dayOfWeek()); }
    DateRange weekRange(int weeksFromNow) const;
    DateRange monthRange(int monthsFromNow) const;

private:
    template<class TakeDay> void scanEnglish(MarkedText& text, TakeDay& takeDay) const;

    QDate m_today;
};

// 1..99 written in digits or Chinese numerals; nullopt otherwise.
std::optional<int> smallNumber(QStringView text);

} // namespace language

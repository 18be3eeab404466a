#include "DateScanner.h"

#include "Numerals.h"

#include <QRegularExpression>

namespace language {

namespace {

// Numbers up to 99 as they appear in dates.
#define NUM u"(\\d{1,2}|[零〇一二两三四五六七八九十]{1,3})"

QRegularExpression regex(const char16_t* pattern)
{
    QRegularExpression re(QString::fromUtf16(pattern), QRegularExpression::UseUnicodePropertiesOption);
    re.optimize();
    return re;
}

const QRegularExpression& isoDate()
{
    static const QRegularExpression re
        = regex(u"(?<!\\d)(\\d{4})\\s*[-/.年]\\s*(\\d{1,2})\\s*[-/.月]\\s*(\\d{1,2})\\s*[日号]?");
    return re;
}
const QRegularExpression& relativeMonthDay()
{
    static const QRegularExpression re = regex(u"(上上个?月|上个?月|这个?月|本月)\\s*" NUM u"\\s*[日号]");
    return re;
}
const QRegularExpression& monthDay()
{
    static const QRegularExpression re = regex(u"(?<![\\d.])" NUM u"\\s*月\\s*" NUM u"\\s*[日号]?(?![\\d点:])");
    return re;
}
const QRegularExpression& weekday()
{
    static const QRegularExpression re
        = regex(u"(?:(上上|上|这|本|下)个?)?\\s*(?:周|星期|礼拜)([一二三四五六日天1-7])(?![起下样])");
    return re;
}
const QRegularExpression& daysAgo()
{
    static const QRegularExpression re = regex(u"(\\d{1,3}|[一二两三四五六七八九十]{1,3})\\s*天(?:之前|以前|前)");
    return re;
}
const QRegularExpression& dayOnly()
{
    static const QRegularExpression re = regex(u"(?<![\\d.])" NUM u"\\s*[号日](?![线楼店门床位车房码机期])");
    return re;
}
const QRegularExpression& recentSpan()
{
    static const QRegularExpression re
        = regex(u"(?:最近|过去|近)\\s*(\\d{1,3}|[一二两三四五六七八九十]{1,3})?\\s*个?\\s*(天|日|周|星期|礼拜|月)");
    return re;
}
const QRegularExpression& monthOnly()
{
    static const QRegularExpression re = regex(u"(?<![\\d.])" NUM u"\\s*月(?!\\s*[\\d零〇一二两三四五六七八九十])");
    return re;
}

// English forms, matched on the lower-cased sentence. Abbreviated weekdays ("sat", "sun") need a
// word before them, since alone they are ordinary words.
#define EN_MONTH                                                                                                       \
    u"(jan(?:uary)?|feb(?:ruary)?|mar(?:ch)?|apr(?:il)?|may|june?|july?|aug(?:ust)?|sept?(?:ember)?|oct(?:ober)?|nov(" \
    u"?:ember)?|dec(?:ember)?)"
const QRegularExpression& englishWeekday()
{
    static const QRegularExpression re
        = regex(u"\\b(?:(last|this|next|on)\\s+)?(?:(monday|tuesday|wednesday|thursday|friday|"
                u"saturday|sunday)|(mon|tues?|wed|thu(?:rs?)?|fri|sat|sun))\\b");
    return re;
}
const QRegularExpression& englishDayMonth()
{
    static const QRegularExpression re
        = regex(u"\\b(?:on\\s+)?(?:the\\s+)?(\\d{1,2})(?:st|nd|rd|th)?\\s+(?:of\\s+)?" EN_MONTH u"\\b");
    return re;
}
const QRegularExpression& englishMonthDay()
{
    static const QRegularExpression re
        = regex(u"\\b(?:on\\s+)?" EN_MONTH u"\\.?\\s+(\\d{1,2})(?:st|nd|rd|th)?\\b(?![:.]\\d)");
    return re;
}
const QRegularExpression& englishDaysAgo()
{
    static const QRegularExpression re
        = regex(u"\\b(\\d{1,2}|a|an|one|two|three|four|five|six|seven)\\s+(days?|weeks?)\\s+ago\\b");
    return re;
}
#undef EN_MONTH

int englishMonth(QStringView name)
{
    static constexpr QStringView starts[]
        = { u"jan", u"feb", u"mar", u"apr", u"may", u"jun", u"jul", u"aug", u"sep", u"oct", u"nov", u"dec" };
    for (int i = 0; i < 12; ++i) {
        if (name.startsWith(QStringView(starts[i])))
            return i + 1;
    }
    return 0;
}

int englishWeekdayNumber(QStringView name)
{
    static constexpr QStringView starts[] = { u"mon", u"tue", u"wed", u"thu", u"fri", u"sat", u"sun" };
    for (int i = 0; i < 7; ++i) {
        if (name.startsWith(QStringView(starts[i])))
            return i + 1;
    }
    return 0;
}

int englishCount(QStringView word)
{
    static constexpr QStringView words[] = { u"a", u"one", u"two", u"three", u"four", u"five", u"six", u"seven" };
    if (word == u"an")
        return 1;
    for (int i = 0; i < 8; ++i) {
        if (word == QStringView(words[i]))
            return qMax(i, 1);
    }
    return word.toInt();
}

bool hasLatin(QStringView text)
{
    for (QChar c : text) {
        if (chars::isLatin(c))
            return true;
    }
    return false;
}

struct DayWord {
    QStringView word;
    int offset;
    DayPeriod period;
};
// Longest first, so that 大前天 is not read as 前天.
constexpr DayWord dayWords[] = {
    { u"大前天", -3, DayPeriod::none },
    { u"大后天", 3, DayPeriod::none },
    { u"前天", -2, DayPeriod::none },
    { u"昨天", -1, DayPeriod::none },
    { u"昨日", -1, DayPeriod::none },
    { u"昨儿", -1, DayPeriod::none },
    { u"今天", 0, DayPeriod::none },
    { u"今日", 0, DayPeriod::none },
    { u"今儿", 0, DayPeriod::none },
    { u"明天", 1, DayPeriod::none },
    { u"明日", 1, DayPeriod::none },
    { u"后天", 2, DayPeriod::none },
    { u"昨晚", -1, DayPeriod::evening },
    { u"昨夜", -1, DayPeriod::night },
    { u"前晚", -2, DayPeriod::evening },
    { u"今晚", 0, DayPeriod::evening },
    { u"今早", 0, DayPeriod::morning },
    { u"今晨", 0, DayPeriod::morning },
    { u"明早", 1, DayPeriod::morning },
    { u"明晚", 1, DayPeriod::evening },
    { u"the day before yesterday", -2, DayPeriod::none },
    { u"day before yesterday", -2, DayPeriod::none },
    { u"the day after tomorrow", 2, DayPeriod::none },
    { u"yesterday morning", -1, DayPeriod::morning },
    { u"yesterday afternoon", -1, DayPeriod::afternoon },
    { u"yesterday evening", -1, DayPeriod::evening },
    { u"this morning", 0, DayPeriod::morning },
    { u"this afternoon", 0, DayPeriod::afternoon },
    { u"this evening", 0, DayPeriod::evening },
    { u"last night", -1, DayPeriod::night },
    { u"yesterday", -1, DayPeriod::none },
    { u"today", 0, DayPeriod::none },
    { u"tonight", 0, DayPeriod::evening },
    { u"tomorrow", 1, DayPeriod::none },
};

struct RangeWord {
    QStringView word;
    enum { week, month, year } unit;
    int offset;
};
constexpr RangeWord rangeWords[] = {
    { u"上上周", RangeWord::week, -2 },
    { u"上上个星期", RangeWord::week, -2 },
    { u"上上星期", RangeWord::week, -2 },
    { u"这个星期", RangeWord::week, 0 },
    { u"这个礼拜", RangeWord::week, 0 },
    { u"这星期", RangeWord::week, 0 },
    { u"这礼拜", RangeWord::week, 0 },
    { u"本星期", RangeWord::week, 0 },
    { u"这一周", RangeWord::week, 0 },
    { u"这周", RangeWord::week, 0 },
    { u"本周", RangeWord::week, 0 },
    { u"上个星期", RangeWord::week, -1 },
    { u"上个礼拜", RangeWord::week, -1 },
    { u"上星期", RangeWord::week, -1 },
    { u"上礼拜", RangeWord::week, -1 },
    { u"上一周", RangeWord::week, -1 },
    { u"上周", RangeWord::week, -1 },
    { u"下个星期", RangeWord::week, 1 },
    { u"下星期", RangeWord::week, 1 },
    { u"下周", RangeWord::week, 1 },
    { u"上上个月", RangeWord::month, -2 },
    { u"这个月", RangeWord::month, 0 },
    { u"本月", RangeWord::month, 0 },
    { u"这月", RangeWord::month, 0 },
    { u"上个月", RangeWord::month, -1 },
    { u"上月", RangeWord::month, -1 },
    { u"下个月", RangeWord::month, 1 },
    { u"今年", RangeWord::year, 0 },
    { u"本年", RangeWord::year, 0 },
    { u"去年", RangeWord::year, -1 },
    { u"明年", RangeWord::year, 1 },
    { u"last week", RangeWord::week, -1 },
    { u"this week", RangeWord::week, 0 },
    { u"next week", RangeWord::week, 1 },
    { u"last month", RangeWord::month, -1 },
    { u"this month", RangeWord::month, 0 },
    { u"next month", RangeWord::month, 1 },
    { u"last year", RangeWord::year, -1 },
    { u"this year", RangeWord::year, 0 },
    { u"next year", RangeWord::year, 1 },
};

struct PeriodEntry {
    QStringView word;
    DayPeriod period;
};
constexpr PeriodEntry periodWords[] = {
    { u"凌晨", DayPeriod::dawn },
    { u"清晨", DayPeriod::morning },
    { u"早上", DayPeriod::morning },
    { u"早晨", DayPeriod::morning },
    { u"上午", DayPeriod::morning },
    { u"中午", DayPeriod::noon },
    { u"下午", DayPeriod::afternoon },
    { u"午后", DayPeriod::afternoon },
    { u"傍晚", DayPeriod::evening },
    { u"晚上", DayPeriod::evening },
    { u"夜里", DayPeriod::night },
    { u"夜间", DayPeriod::night },
    { u"半夜", DayPeriod::night },
    { u"深夜", DayPeriod::night },
};

int weekdayNumber(QChar c)
{
    switch (c.unicode()) {
    case u'一':
    case u'1':
        return 1;
    case u'二':
    case u'2':
        return 2;
    case u'三':
    case u'3':
        return 3;
    case u'四':
    case u'4':
        return 4;
    case u'五':
    case u'5':
        return 5;
    case u'六':
    case u'6':
        return 6;
    default:
        return 7; // 日, 天, 7
    }
}

// Runs `handle` on every match whose characters are all still free, and marks those taken.
template<class Handle> void forEachFree(MarkedText& text, const QRegularExpression& re, Mark mark, Handle handle)
{
    auto it = re.globalMatch(text.folded());
    while (it.hasNext()) {
        const QRegularExpressionMatch m = it.next();
        if (!text.isFree(m.capturedStart(), m.capturedLength()))
            continue;
        if (handle(m))
            text.mark(m.capturedStart(), m.capturedLength(), mark);
    }
}

#undef NUM

} // namespace

std::optional<int> smallNumber(QStringView text)
{
    if (text.isEmpty())
        return std::nullopt;
    if (chars::isDigit(text.front())) {
        bool ok = false;
        const int value = text.toInt(&ok);
        return ok ? std::optional<int>(value) : std::nullopt;
    }
    const auto value = chineseNumeralValue(text);
    if (!value || *value < 0 || *value > 999)
        return std::nullopt;
    return int(*value);
}

std::optional<PeriodWord> periodWordAt(const MarkedText& text, qsizetype pos)
{
    for (const PeriodEntry& entry : periodWords) {
        const QStringView word(entry.word);
        if (text.startsWithAt(pos, word) && text.isFree(pos, word.size()))
            return PeriodWord { entry.period, word.size() };
    }
    return std::nullopt;
}

DateRange DateScanner::weekRange(int weeksFromNow) const
{
    const QDate monday = mondayOf(m_today).addDays(7 * weeksFromNow);
    return { monday, monday.addDays(6) };
}

DateRange DateScanner::monthRange(int monthsFromNow) const
{
    const QDate first = QDate(m_today.year(), m_today.month(), 1).addMonths(monthsFromNow);
    return { first, first.addMonths(1).addDays(-1) };
}

template<class TakeDay> void DateScanner::scanEnglish(MarkedText& text, TakeDay& takeDay) const
{
    auto dayOfMonth = [&](int month, int day) {
        // As with 11月3日: a day that has not come yet this year is last year's.
        QDate date(m_today.year(), month, day);
        if (date.isValid() && date > m_today)
            date = QDate(m_today.year() - 1, month, day);
        return takeDay(date);
    };
    forEachFree(text, englishDayMonth(), Mark::date, [&](const QRegularExpressionMatch& m) {
        return dayOfMonth(englishMonth(m.capturedView(2)), m.captured(1).toInt());
    });
    forEachFree(text, englishMonthDay(), Mark::date, [&](const QRegularExpressionMatch& m) {
        return dayOfMonth(englishMonth(m.capturedView(1)), m.captured(2).toInt());
    });
    forEachFree(text, englishDaysAgo(), Mark::date, [&](const QRegularExpressionMatch& m) {
        const int count = englishCount(m.capturedView(1));
        return count > 0 && takeDay(m_today.addDays(-count * (m.capturedView(2).startsWith(u"week") ? 7 : 1)));
    });
    forEachFree(text, englishWeekday(), Mark::date, [&](const QRegularExpressionMatch& m) {
        const QStringView lead = m.capturedView(1);
        const bool abbreviated = m.capturedLength(3) > 0;
        if (abbreviated && lead.isEmpty()) {
            // "Sat 打车 19": capitalised and not followed by an English word ("Sun cream").
            const qsizetype next = text.skipSpaces(m.capturedEnd());
            if (!text.text().at(m.capturedStart(3)).isUpper()
                || (next < text.size() && chars::isLatin(text.folded().at(next))))
                return false;
        }
        const int weekday = englishWeekdayNumber(abbreviated ? m.capturedView(3) : m.capturedView(2));
        const QDate thisWeek = mondayOf(m_today).addDays(weekday - 1);
        QDate date = thisWeek > m_today ? thisWeek.addDays(-7) : thisWeek; // the latest one so far
        if (lead == u"last" && date == m_today)
            date = date.addDays(-7);
        else if (lead == u"this")
            date = thisWeek;
        else if (lead == u"next")
            date = thisWeek > m_today ? thisWeek : thisWeek.addDays(7);
        return takeDay(date);
    });
}

DateFindings DateScanner::scan(MarkedText& text) const
{
    DateFindings found;
    auto takeDay = [&](QDate day, DayPeriod period = DayPeriod::none) {
        if (!day.isValid())
            return false;
        if (!found.day) {
            found.day = day;
            if (period != DayPeriod::none)
                found.period = period;
        }
        return true;
    };

    forEachFree(text, isoDate(), Mark::date, [&](const QRegularExpressionMatch& m) {
        return takeDay(QDate(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt()));
    });
    forEachFree(text, relativeMonthDay(), Mark::date, [&](const QRegularExpressionMatch& m) {
        const QString which = m.captured(1);
        const int back = which.startsWith(u"上上") ? -2 : which.startsWith(u'上') ? -1 : 0;
        const QDate first = QDate(m_today.year(), m_today.month(), 1).addMonths(back);
        const auto day = smallNumber(m.captured(2));
        return day && takeDay(QDate(first.year(), first.month(), *day));
    });
    forEachFree(text, monthDay(), Mark::date, [&](const QRegularExpressionMatch& m) {
        const auto month = smallNumber(m.captured(1));
        const auto day = smallNumber(m.captured(2));
        if (!month || !day || *month < 1 || *month > 12)
            return false;
        // A day of the year that has not come yet is last year's: people book the past.
        QDate date(m_today.year(), *month, *day);
        if (date.isValid() && date > m_today)
            date = QDate(m_today.year() - 1, *month, *day);
        return takeDay(date);
    });
    forEachFree(text, weekday(), Mark::date, [&](const QRegularExpressionMatch& m) {
        const QString which = m.captured(1);
        const int weekdayIndex = weekdayNumber(m.captured(2).front());
        const QDate monday = mondayOf(m_today);
        QDate date;
        if (which.isEmpty()) {
            date = monday.addDays(weekdayIndex - 1);
            if (date > m_today)
                date = date.addDays(-7);
        } else {
            const int weeks = which == u"上上" ? -2 : which == u"上" ? -1 : which == u"下" ? 1 : 0;
            date = monday.addDays(7 * weeks + weekdayIndex - 1);
        }
        return takeDay(date);
    });
    forEachFree(text, daysAgo(), Mark::date, [&](const QRegularExpressionMatch& m) {
        const auto days = smallNumber(m.captured(1));
        return days && takeDay(m_today.addDays(-*days));
    });
    if (hasLatin(text.folded()))
        scanEnglish(text, takeDay);
    for (const DayWord& word : dayWords) {
        const qsizetype at = text.findFree(QStringView(word.word));
        if (at < 0)
            continue;
        text.mark(at, QStringView(word.word).size(), Mark::date);
        takeDay(m_today.addDays(word.offset), word.period);
    }
    forEachFree(text, dayOnly(), Mark::date, [&](const QRegularExpressionMatch& m) {
        const auto day = smallNumber(m.captured(1));
        if (!day || *day < 1 || *day > 31)
            return false;
        QDate date(m_today.year(), m_today.month(), *day);
        if (!date.isValid() || date > m_today) {
            const QDate previous = QDate(m_today.year(), m_today.month(), 1).addMonths(-1);
            date = QDate(previous.year(), previous.month(), *day);
        }
        return takeDay(date);
    });

    auto takeRange = [&](DateRange range) {
        if (!found.range)
            found.range = range;
        return true;
    };
    for (const RangeWord& word : rangeWords) {
        const qsizetype at = text.findFree(QStringView(word.word));
        if (at < 0)
            continue;
        text.mark(at, QStringView(word.word).size(), Mark::date);
        switch (word.unit) {
        case RangeWord::week:
            takeRange(weekRange(word.offset));
            break;
        case RangeWord::month:
            takeRange(monthRange(word.offset));
            break;
        case RangeWord::year: {
            const int year = m_today.year() + word.offset;
            takeRange({ QDate(year, 1, 1), QDate(year, 12, 31) });
            break;
        }
        }
    }
    forEachFree(text, recentSpan(), Mark::date, [&](const QRegularExpressionMatch& m) {
        const int count = m.captured(1).isEmpty() ? 1 : smallNumber(m.captured(1)).value_or(0);
        if (count <= 0)
            return false;
        const QString unit = m.captured(2);
        QDate from;
        if (unit == u"天" || unit == u"日")
            from = m_today.addDays(1 - count);
        else if (unit == u"月")
            from = m_today.addMonths(-count).addDays(1);
        else
            from = m_today.addDays(1 - 7 * count);
        return takeRange({ from, m_today });
    });
    forEachFree(text, monthOnly(), Mark::date, [&](const QRegularExpressionMatch& m) {
        const auto month = smallNumber(m.captured(1));
        if (!month || *month < 1 || *month > 12)
            return false;
        int year = m_today.year();
        if (QDate(year, *month, 1) > m_today)
            --year;
        const QDate first(year, *month, 1);
        return takeRange({ first, first.addMonths(1).addDays(-1) });
    });
    return found;
}

DayPeriod DateScanner::scanPeriod(MarkedText& text) const
{
    DayPeriod first = DayPeriod::none;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const auto word = periodWordAt(text, i);
        if (!word)
            continue;
        text.mark(i, word->len, Mark::period);
        if (first == DayPeriod::none)
            first = word->period;
        i += word->len - 1;
    }
    return first;
}

} // namespace language

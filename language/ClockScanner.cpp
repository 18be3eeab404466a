#include "ClockScanner.h"

#include "AmountScanner.h"
#include "Numerals.h"

namespace language {

namespace {

bool isClockNumeral(QChar c)
{
    return chineseDigit(c) >= 0 || c == u'十';
}

struct NumberAt {
    qsizetype len = 0;
    double value = 0;
    bool chinese = false;
};

// A small number for clocks and durations: digits (with a decimal part when allowed) or Chinese
// numerals without 百/千/万.
std::optional<NumberAt> smallNumberAt(const MarkedText& text, qsizetype pos, bool allowDecimal)
{
    const QString& f = text.folded();
    if (pos >= f.size() || !text.isFree(pos))
        return std::nullopt;
    if (chars::isDigit(f.at(pos))) {
        qsizetype end = pos;
        while (end < f.size() && chars::isDigit(f.at(end)))
            ++end;
        if (allowDecimal && end + 1 < f.size() && f.at(end) == u'.' && chars::isDigit(f.at(end + 1))) {
            end += 1;
            while (end < f.size() && chars::isDigit(f.at(end)))
                ++end;
        } else if (end < f.size() && f.at(end) == u'.' && end + 1 < f.size() && chars::isDigit(f.at(end + 1))) {
            return std::nullopt; // 3.5 is an amount, not a clock
        }
        if (end - pos > 4)
            return std::nullopt;
        return NumberAt { end - pos, f.mid(pos, end - pos).toDouble(), false };
    }
    if (!isClockNumeral(f.at(pos)))
        return std::nullopt;
    qsizetype end = pos;
    while (end < f.size() && isClockNumeral(f.at(end)) && end - pos < 3)
        ++end;
    const auto value = chineseNumeralValue(QStringView(f).mid(pos, end - pos));
    if (!value)
        return std::nullopt;
    return NumberAt { end - pos, *value, true };
}

bool startsNumberToken(const MarkedText& text, qsizetype pos)
{
    if (pos == 0)
        return true;
    const QChar before = text.folded().at(pos - 1);
    return !chars::isDigit(before) && before != u'.' && before != u':' && !isChineseNumeral(before);
}

bool latinWordAt(const MarkedText& text, qsizetype pos, QStringView word)
{
    if (!text.startsWithAt(pos, word) || !text.isFree(pos, word.size()))
        return false;
    const qsizetype end = pos + word.size();
    return end >= text.size() || !chars::isLatin(text.folded().at(end));
}

bool currencyFollows(const MarkedText& text, qsizetype pos)
{
    pos = text.skipSpaces(pos);
    for (QStringView w : { u"块", u"元", u"刀", u"毛", u"角" }) {
        if (text.startsWithAt(pos, w))
            return true;
    }
    return false;
}

// A Chinese minute must end the clock: "9点十五" and "9点十五分" are clocks, "9 点一直" is not.
bool minuteEndsWell(const MarkedText& text, qsizetype pos, const NumberAt& minute)
{
    if (!minute.chinese)
        return true;
    const qsizetype end = pos + minute.len;
    if (end >= text.size())
        return true;
    const QChar next = text.folded().at(end);
    return !chars::isCjk(next) || next == u'分' || next == u'到' || next == u'至';
}

struct ParsedPoint {
    ClockPoint point;
    bool weak = false; // "一点" alone: more often "a little" than one o'clock
};

std::optional<ParsedPoint> pointAt(const MarkedText& text, qsizetype pos, bool allowBare)
{
    ParsedPoint parsed;
    ClockPoint& p = parsed.point;
    p.pos = pos;
    qsizetype i = pos;
    if (const auto period = periodWordAt(text, i)) {
        p.period = period->period;
        i = text.skipSpaces(i + period->len);
    } else if ((text.startsWithAt(i, u"早") || text.startsWithAt(i, u"晚")) && i + 1 < text.size()
        && (chars::isDigit(text.folded().at(i + 1)) || isClockNumeral(text.folded().at(i + 1)))) {
        p.period = text.startsWithAt(i, u"早") ? DayPeriod::morning : DayPeriod::evening;
        i += 1;
    }
    if (!startsNumberToken(text, i) && i != pos)
        return std::nullopt;
    const QString& f = text.folded();
    // "6.30pm": a dot between the hour and the minutes makes a clock only with am or pm after it.
    const qsizetype dot = i + 1 < f.size() && f.at(i + 1) == u'.' ? i + 1 : i + 2;
    const bool dotted = dot + 2 < f.size() && chars::isDigit(f.at(i)) && chars::isDigit(f.at(dot - 1))
        && f.at(dot) == u'.' && chars::isDigit(f.at(dot + 1)) && chars::isDigit(f.at(dot + 2))
        && (dot + 3 >= f.size() || !chars::isDigit(f.at(dot + 3))) && text.isFree(i, dot + 3 - i)
        && (latinWordAt(text, text.skipSpaces(dot + 3), u"am") || latinWordAt(text, text.skipSpaces(dot + 3), u"pm"));
    const auto hour = dotted ? std::optional<NumberAt>(NumberAt { dot - i, f.mid(i, dot - i).toDouble(), false })
                             : smallNumberAt(text, i, false);
    if (!hour || hour->value > 24)
        return std::nullopt;
    p.hour = int(hour->value);
    qsizetype end = i + hour->len;
    const qsizetype after = text.skipSpaces(end);

    if (dotted) {
        p.minute = f.mid(dot + 1, 2).toInt();
        p.hasClockWord = true;
        end = dot + 3;
    } else if (after + 2 < f.size() && f.at(after) == u':' && chars::isDigit(f.at(after + 1))
        && chars::isDigit(f.at(after + 2)) && text.isFree(after, 3)) {
        p.minute = f.mid(after + 1, 2).toInt();
        p.hasClockWord = true;
        end = after + 3;
    } else if ((text.startsWithAt(after, u"点")
                   || (text.startsWithAt(after, u"时") && !text.startsWithAt(after, u"时间")
                       && !text.startsWithAt(after, u"时候")))
        && text.isFree(after)) {
        if (text.startsWithAt(after, u"点点") || text.startsWithAt(after, u"点儿"))
            return std::nullopt;
        p.hasClockWord = true;
        end = after + (text.startsWithAt(after, u"点钟") ? 2 : 1);
        const qsizetype m = text.skipSpaces(end);
        if (text.startsWithAt(m, u"半") && !text.startsWithAt(m, u"半小时") && !text.startsWithAt(m, u"半个")) {
            p.minute = 30;
            end = m + 1;
        } else if (text.startsWithAt(m, u"一刻") || text.startsWithAt(m, u"三刻")) {
            p.minute = text.startsWithAt(m, u"一刻") ? 15 : 45;
            end = m + 2;
        } else if (const auto minute = smallNumberAt(text, m, false)) {
            const qsizetype minuteEnd = m + minute->len;
            if (currencyFollows(text, minuteEnd))
                return std::nullopt; // "三点五块" is money
            const qsizetype unit = text.skipSpaces(minuteEnd);
            const bool minuteWord = text.startsWithAt(unit, u"分") && !text.startsWithAt(unit, u"分钟");
            // "9点 30分钟" is a clock followed by a duration; "9点15" and "9点15分" are one clock.
            if (minute->value < 60 && minuteEndsWell(text, m, *minute) && !text.startsWithAt(unit, u"分钟")
                && !text.startsWithAt(unit, u"小时") && !text.startsWithAt(unit, u"个")) {
                p.minute = int(minute->value);
                end = minuteWord ? unit + 1 : minuteEnd;
            }
        }
        parsed.weak = hour->chinese && p.hour == 1 && p.minute == 0 && p.period == DayPeriod::none;
    } else if (!allowBare) {
        const qsizetype m = text.skipSpaces(end);
        const bool meridiem = latinWordAt(text, m, u"am") || latinWordAt(text, m, u"pm");
        if (!meridiem)
            return std::nullopt;
    }

    const qsizetype m = text.skipSpaces(end);
    for (QStringView word : { u"a.m.", u"p.m.", u"am", u"pm" }) {
        if (latinWordAt(text, m, word) || (word.back() == u'.' && text.startsWithAt(m, word))) {
            p.meridiem = word.front() == u'a' ? ClockPoint::Meridiem::am : ClockPoint::Meridiem::pm;
            p.hasClockWord = true;
            end = m + word.size();
            break;
        }
    }
    if (p.hour > 24 || p.minute > 59)
        return std::nullopt;
    if (p.hour == 24)
        p.hour = 0;
    p.len = end - pos;
    return parsed;
}

// Length of a range connector at `pos`, 0 when there is none.
qsizetype connectorAt(const MarkedText& text, qsizetype pos)
{
    for (QStringView word : { u"一直到", u"到", u"至", u"~", u"-", u"—" }) {
        if (text.startsWithAt(pos, word) && text.isFree(pos, word.size()))
            return word.size();
    }
    for (QStringView word : { u"until", u"till", u"to" }) {
        if (latinWordAt(text, pos, word))
            return word.size();
    }
    return 0;
}

qsizetype nowAt(const MarkedText& text, qsizetype pos)
{
    for (QStringView word : { u"现在为止", u"现在", u"此刻" }) {
        if (text.startsWithAt(pos, word) && text.isFree(pos, word.size()))
            return word.size();
    }
    return latinWordAt(text, pos, u"now") ? 3 : 0;
}

// The word just before `pos` (spaces skipped) when it is one of `words`; its start, or -1.
qsizetype wordBefore(const MarkedText& text, qsizetype pos, std::initializer_list<QStringView> words)
{
    const qsizetype end = text.skipSpacesBack(pos);
    for (QStringView word : words) {
        const qsizetype start = end - word.size();
        if (start >= 0 && text.startsWithAt(start, word) && text.isFree(start, word.size()))
            return start;
    }
    return -1;
}

} // namespace

int minutesWithPeriod(int hour, int minute, DayPeriod period)
{
    int h = hour;
    switch (period) {
    case DayPeriod::dawn:
        h = hour == 12 ? 0 : hour;
        break;
    case DayPeriod::morning:
    case DayPeriod::none:
        break;
    case DayPeriod::noon:
        h = (hour >= 1 && hour <= 4) ? hour + 12 : hour;
        break;
    case DayPeriod::afternoon:
        h = hour < 12 ? hour + 12 : hour;
        break;
    case DayPeriod::evening:
        h = (hour >= 5 && hour <= 11) ? hour + 12 : hour == 12 ? 0 : hour;
        break;
    case DayPeriod::night:
        h = (hour >= 6 && hour <= 11) ? hour + 12 : hour == 12 ? 0 : hour;
        break;
    }
    return (h % 24) * 60 + minute;
}

QList<int> ClockPoint::readings(DayPeriod context) const
{
    if (meridiem != Meridiem::none) {
        const int h = hour % 12 + (meridiem == Meridiem::pm ? 12 : 0);
        return { h * 60 + minute };
    }
    const DayPeriod said = period != DayPeriod::none ? period : context;
    if (said != DayPeriod::none)
        return { minutesWithPeriod(hour, minute, said) };
    if (hour == 0 || hour >= 13)
        return { hour * 60 + minute };
    if (hour == 12)
        return { 12 * 60 + minute, minute };
    return { hour * 60 + minute, (hour + 12) * 60 + minute };
}

ClockFindings ClockScanner::scan(MarkedText& text) const
{
    ClockFindings found;
    const QString& f = text.folded();
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!text.isFree(i))
            continue;
        const QChar c = f.at(i);
        const qsizetype fromLen = c == u'从' ? 1 : latinWordAt(text, i, u"from") ? 4 : 0;
        const bool candidate = chars::isDigit(c) || isClockNumeral(c) || periodWordAt(text, i) || c == u'早'
            || c == u'晚' || fromLen > 0;
        if (!candidate || ((chars::isDigit(c) || isClockNumeral(c)) && !startsNumberToken(text, i)))
            continue;

        qsizetype start = i;
        qsizetype pointPos = i;
        const bool from = fromLen > 0;
        if (from)
            pointPos = text.skipSpaces(i + fromLen);
        const auto first = pointAt(text, pointPos, true);
        if (!first)
            continue;

        // A range: first point, connector, second point or "现在".
        const qsizetype connector = text.skipSpaces(pointPos + first->point.len);
        const qsizetype connectorLen = connectorAt(text, connector);
        if (connectorLen > 0) {
            const qsizetype second = text.skipSpaces(connector + connectorLen);
            if (const qsizetype nowLen = nowAt(text, second); nowLen > 0 && first->point.hasClockWord) {
                ClockRange range { first->point, std::nullopt, true };
                text.mark(start, second + nowLen - start, Mark::clock);
                if (!found.range)
                    found.range = range;
                i = second + nowLen - 1;
                continue;
            }
            if (const auto last = pointAt(text, second, true)) {
                // "from 9 to 5": both ends named as the edges of a stretch of the day.
                const bool fromTo = from && connectorLen > 1 && !first->weak && !last->weak
                    && !AmountScanner::suffixAt(text, text.skipSpaces(second + last->point.len));
                const bool clockish = first->point.hasClockWord || last->point.hasClockWord || fromTo
                    || (first->point.period != DayPeriod::none && last->point.period != DayPeriod::none);
                const bool weak = first->weak && last->weak;
                if (clockish && !weak) {
                    ClockRange range { first->point, last->point, false };
                    text.mark(start, second + last->point.len - start, Mark::clock);
                    if (!found.range)
                        found.range = range;
                    i = second + last->point.len - 1;
                    continue;
                }
            }
        }

        // A single point needs a clock word of its own.
        if (!first->point.hasClockWord || first->weak)
            continue;
        ClockPoint point = first->point;
        point.afterFrom = from;
        if (!from) {
            if (const qsizetype to = wordBefore(text, point.pos, { u"一直到", u"到", u"至" }); to >= 0) {
                point.afterTo = true;
                start = to;
            } else if (const qsizetype fromAt = wordBefore(text, point.pos, { u"从" }); fromAt >= 0) {
                point.afterFrom = true;
                start = fromAt;
            }
        }
        text.mark(start, pointPos + point.len - start, Mark::clock);
        found.points.append(point);
        i = pointPos + point.len - 1;
    }
    for (QStringView word : { u"一直到现在", u"到现在为止", u"到现在", u"直到现在", u"至今" })
        found.untilNow = text.take(word, Mark::clock) || found.untilNow;
    return found;
}

namespace {

struct DurationAt {
    qsizetype len = 0;
    double minutes = 0;
};

qsizetype hourUnitAt(const MarkedText& text, qsizetype pos)
{
    for (QStringView word : { u"个小时", u"个钟头", u"小时", u"钟头", u"个钟" }) {
        if (text.startsWithAt(pos, word) && text.isFree(pos, word.size()))
            return word.size();
    }
    for (QStringView word : { u"hours", u"hour", u"hrs", u"hr", u"h" }) {
        if (latinWordAt(text, pos, word))
            return word.size();
        // "1h30": the minutes follow the unit directly.
        if (word == u"h" && text.startsWithAt(pos, word) && pos + 1 < text.size()
            && chars::isDigit(text.folded().at(pos + 1)))
            return 1;
    }
    return 0;
}

qsizetype minuteUnitAt(const MarkedText& text, qsizetype pos)
{
    for (QStringView word : { u"分钟", u"分" }) {
        if (text.startsWithAt(pos, word) && text.isFree(pos, word.size()))
            return word.size();
    }
    for (QStringView word : { u"minutes", u"minute", u"mins", u"min", u"m" }) {
        if (latinWordAt(text, pos, word))
            return word.size();
    }
    return 0;
}

std::optional<DurationAt> durationAt(const MarkedText& text, qsizetype pos)
{
    if (text.startsWithAt(pos, u"一刻钟"))
        return DurationAt { 3, 15 };
    if (text.startsWithAt(pos, u"半")) {
        qsizetype i = pos + 1;
        if (text.startsWithAt(i, u"个"))
            ++i;
        if (const qsizetype unit = hourUnitAt(text, i); unit > 0 && !text.startsWithAt(i, u"h"))
            return DurationAt { i + unit - pos, 30 };
        return std::nullopt;
    }
    if (!startsNumberToken(text, pos))
        return std::nullopt;
    const auto number = smallNumberAt(text, pos, true);
    if (!number)
        return std::nullopt;
    qsizetype i = pos + number->len;
    const qsizetype spaced = text.skipSpaces(i);
    qsizetype u = spaced;
    double half = 0;
    if (text.startsWithAt(u, u"个半")) {
        half = 0.5;
        u += 2;
        if (const qsizetype unit = hourUnitAt(text, u); unit > 0)
            return DurationAt { u + unit - pos, (number->value + half) * 60 };
        return std::nullopt;
    }
    if (text.startsWithAt(u, u"个多")) // "两个多小时": the "more" is not counted
        u += 2;
    if (const qsizetype unit = hourUnitAt(text, u); unit > 0) {
        double minutes = number->value * 60;
        qsizetype end = u + unit;
        if (text.startsWithAt(end, u"半")) {
            minutes += 30;
            end += 1;
        }
        // Minutes straight after the hours: "1 小时 20 分钟", "1h30m", "1h30".
        const qsizetype next = text.skipSpaces(end);
        if (const auto rest = smallNumberAt(text, next, false); rest && rest->value < 60) {
            const qsizetype restEnd = next + rest->len;
            const qsizetype restUnit = minuteUnitAt(text, text.skipSpaces(restEnd));
            if (restUnit > 0) {
                minutes += rest->value;
                end = text.skipSpaces(restEnd) + restUnit;
            } else if (text.folded().at(u + unit - 1) == u'h' && next == end) {
                minutes += rest->value;
                end = restEnd;
            }
        }
        return DurationAt { end - pos, minutes };
    }
    if (const qsizetype unit = minuteUnitAt(text, spaced); unit > 0) {
        // "m" must be glued to the number ("45m"); "5 m" is more likely metres.
        if (text.folded().at(spaced) == u'm' && unit == 1 && spaced != i)
            return std::nullopt;
        // Alone, "85 分" is a score or a price in fen; minutes on their own say 分钟.
        if (text.folded().at(spaced) == u'分' && unit == 1)
            return std::nullopt;
        return DurationAt { spaced + unit - pos, number->value };
    }
    return std::nullopt;
}

} // namespace

std::optional<double> ClockScanner::scanDuration(MarkedText& text) const
{
    std::optional<double> first;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!text.isFree(i))
            continue;
        const auto found = durationAt(text, i);
        if (!found)
            continue;
        text.mark(i, found->len, Mark::duration);
        if (!first)
            first = found->minutes;
        i += found->len - 1;
    }
    return first;
}

} // namespace language

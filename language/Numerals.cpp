#include "Numerals.h"

#include "MarkedText.h"

#include <cmath>

namespace language {

namespace {

qint64 unitValue(QChar c)
{
    switch (c.unicode()) {
    case u'十':
        return 10;
    case u'百':
        return 100;
    case u'千':
        return 1000;
    case u'万':
        return 10000;
    case u'亿':
        return 100000000;
    default:
        return 0;
    }
}

} // namespace

int chineseDigit(QChar c)
{
    switch (c.unicode()) {
    case u'零':
    case u'〇':
        return 0;
    case u'一':
        return 1;
    case u'二':
    case u'两':
        return 2;
    case u'三':
        return 3;
    case u'四':
        return 4;
    case u'五':
        return 5;
    case u'六':
        return 6;
    case u'七':
        return 7;
    case u'八':
        return 8;
    case u'九':
        return 9;
    default:
        return -1;
    }
}

bool isChineseNumeral(QChar c)
{
    return chineseDigit(c) >= 0 || unitValue(c) > 0;
}

std::optional<double> chineseNumeralValue(QStringView run)
{
    if (run.isEmpty())
        return std::nullopt;
    bool hasUnit = false;
    for (QChar c : run) {
        if (!isChineseNumeral(c))
            return std::nullopt;
        hasUnit = hasUnit || unitValue(c) > 0;
    }
    if (!hasUnit) {
        double value = 0;
        for (QChar c : run)
            value = value * 10 + chineseDigit(c);
        return value;
    }

    double total = 0;
    double section = 0;
    int digit = -1;
    qint64 lastUnit = 1;
    bool previousWasUnit = false;
    // The final digit directly follows a unit ("一百二"): it counts one place below that unit.
    bool abbreviated = false;
    for (QChar c : run) {
        const int d = chineseDigit(c);
        if (d == 0) {
            if (digit > 0)
                return std::nullopt;
            previousWasUnit = false;
            continue;
        }
        if (d > 0) {
            if (digit >= 0)
                return std::nullopt; // "一二": a range or a typo, not a number
            digit = d;
            abbreviated = previousWasUnit;
            previousWasUnit = false;
            continue;
        }
        const qint64 unit = unitValue(c);
        if (unit < 10000) {
            if (digit < 0) {
                if (unit != 10)
                    return std::nullopt;
                digit = 1; // "十五": the leading one is not spoken
            }
            section += double(digit) * double(unit);
        } else {
            section += qMax(digit, 0);
            if (section == 0)
                return std::nullopt;
            total += section * double(unit);
            section = 0;
        }
        digit = -1;
        lastUnit = unit;
        previousWasUnit = true;
        abbreviated = false;
    }
    if (digit > 0)
        section += (abbreviated && lastUnit >= 10) ? double(digit) * double(lastUnit / 10) : double(digit);
    total += section;
    return total;
}

std::optional<NumberRead> readNumber(QStringView folded, qsizetype pos)
{
    const qsizetype n = folded.size();
    if (pos < 0 || pos >= n)
        return std::nullopt;
    if (isChineseNumeral(folded.at(pos))) {
        qsizetype end = pos;
        while (end < n && isChineseNumeral(folded.at(end)))
            ++end;
        const auto value = chineseNumeralValue(folded.mid(pos, end - pos));
        if (!value)
            return std::nullopt;
        return NumberRead { end - pos, *value, true };
    }
    if (!chars::isDigit(folded.at(pos)))
        return std::nullopt;

    qsizetype i = pos;
    QString digits;
    while (i < n && chars::isDigit(folded.at(i)))
        digits.append(folded.at(i++));
    // Thousands separators: exactly three digits after each comma.
    while (i + 3 < n && folded.at(i) == u',' && chars::isDigit(folded.at(i + 1)) && chars::isDigit(folded.at(i + 2))
        && chars::isDigit(folded.at(i + 3)) && (i + 4 >= n || !chars::isDigit(folded.at(i + 4)))) {
        digits.append(folded.mid(i + 1, 3));
        i += 4;
    }
    if (i + 1 < n && folded.at(i) == u'.' && chars::isDigit(folded.at(i + 1))) {
        digits.append(u'.');
        ++i;
        while (i < n && chars::isDigit(folded.at(i)))
            digits.append(folded.at(i++));
    }
    double value = digits.toDouble();

    if (i < n) {
        const QChar s = folded.at(i);
        const bool letterAfter = i + 1 < n && chars::isLatin(folded.at(i + 1));
        double multiplier = 0;
        if ((s == u'k' || s == u'w') && !letterAfter)
            multiplier = s == u'k' ? 1000 : 10000;
        else if (s == u'万' || s == u'千')
            multiplier = s == u'万' ? 10000 : 1000;
        if (multiplier > 0) {
            value *= multiplier;
            ++i;
            // "1万2", "3千5": one more digit counts one place below the unit.
            if ((s == u'万' || s == u'千') && i < n) {
                int d = chars::isDigit(folded.at(i)) ? folded.at(i).unicode() - u'0' : chineseDigit(folded.at(i));
                const bool alone = i + 1 >= n
                    || (!chars::isDigit(folded.at(i + 1)) && !isChineseNumeral(folded.at(i + 1))
                        && folded.at(i + 1) != u'.');
                if (d > 0 && alone) {
                    value += d * multiplier / 10;
                    ++i;
                }
            }
        }
    }
    return NumberRead { i - pos, value, false };
}

} // namespace language

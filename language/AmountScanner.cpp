#include "AmountScanner.h"

#include "Numerals.h"

#include <cmath>

namespace language {

namespace {

struct Word {
    QStringView text;
    QStringView code; // empty: the household's currency
};

// Longest first within each list.
constexpr Word suffixWords[] = {
    { u"块钱", u"" },
    { u"块", u"" },
    { u"人民币", u"CNY" },
    { u"元", u"CNY" },
    { u"rmb", u"CNY" },
    { u"cny", u"CNY" },
    { u"澳元", u"AUD" },
    { u"澳币", u"AUD" },
    { u"澳刀", u"AUD" },
    { u"刀", u"AUD" },
    { u"aud", u"AUD" },
    { u"美元", u"USD" },
    { u"美金", u"USD" },
    { u"美刀", u"USD" },
    { u"usd", u"USD" },
    { u"dollars", u"" },
    { u"dollar", u"" },
    { u"bucks", u"" },
};

constexpr Word prefixWords[] = {
    { u"us$", u"USD" },
    { u"au$", u"AUD" },
    { u"a$", u"AUD" },
    { u"$", u"AUD" },
    { u"¥", u"CNY" },
    { u"rmb", u"CNY" },
    { u"cny", u"CNY" },
    { u"aud", u"AUD" },
    { u"usd", u"USD" },
    { u"人民币", u"CNY" },
    { u"澳元", u"AUD" },
    { u"澳币", u"AUD" },
    { u"美元", u"USD" },
    { u"美金", u"USD" },
};

// Words that count or measure things; a number right before one is a quantity.
constexpr QStringView longUnits[] = { u"厘米", u"公分", u"毫米", u"千米", u"英里", u"英尺", u"英寸", u"平方米", u"cups",
    u"cup", u"bottles", u"bottle", u"people", u"persons", u"nights", u"night", u"days", u"weeks", u"months", u"years",
    u"pieces", u"packs", u"pack", u"boxes", u"bags", u"pages", u"laps", u"miles", u"mile", u"items", u"pairs", u"pair",
    u"slices", u"glasses", u"rounds", u"kids", u"个人", u"公斤", u"公里", u"千克", u"毫升", u"公升", u"小时", u"分钟",
    u"星期", u"个月", u"平米", u"平方", u"单元", u"kcal", u"kwh", u"mah", u"kg", u"km", u"ml", u"pcs", u"cm", u"mm",
    u"gb", u"tb", u"mb", u"kb", u"lbs", u"lb", u"oz", u"steps", u"step", u"sets", u"reps", u"times", u"cal", u"g", u"l",
    u"m" };
constexpr char16_t shortUnits[]
    = u"个杯瓶斤份张次件袋盒包只条双本支罐碗人位天晚夜岁楼层米周月年折克升度倍期集节顿趟片勺粒首座所家道圈户头匹"
      u"颗根箱套间台部辆束朵盆桌场局遍页章点分秒听串栋寸码步组课名届轮批%";
// Counting words that rarely begin another word, so they count even when spaced away from the
// number ("买了 3 斤苹果"); the others must be glued to it, stand alone, or begin no word of
// the household's lexicon ("4 天交房租" counts days, "20 晚饭" does not count evenings).
constexpr char16_t spacedUnits[] = u"斤杯瓶张件袋盒只双支罐碗颗根箱串束朵盆步";
// Words that begin with a counting character but count nothing.
constexpr QStringView notCounts[] = { u"人均", u"人民币", u"天气", u"点心", u"晚上", u"周末", u"月底", u"月初", u"年底",
    u"年初", u"年费", u"月费", u"月卡", u"年卡", u"次卡", u"期间", u"部分", u"份子", u"本来", u"本月", u"本周", u"条件",
    u"包括", u"度假", u"分钟", u"个月", u"点外卖" };
// Words that turn the number before them into a name: a bus route, a line, a house number.
constexpr char16_t namingWords[] = u"路号";

bool isShortUnit(QChar c)
{
    for (char16_t u : shortUnits) {
        if (u == 0)
            break;
        if (c.unicode() == u)
            return true;
    }
    return false;
}

bool isNamingWord(QChar c)
{
    for (char16_t u : namingWords) {
        if (u == 0)
            break;
        if (c.unicode() == u)
            return true;
    }
    return false;
}

// Length of a rate after an amount ("/月", "/人", "每月"), 0 when there is none.
qsizetype rateAt(const MarkedText& text, qsizetype pos)
{
    const QString& f = text.folded();
    if (pos + 1 < f.size() && f.at(pos) == u'/' && text.isFree(pos, 2) && isShortUnit(f.at(pos + 1)))
        return 2;
    for (QStringView word : { u"每个月", u"每月", u"每年", u"每周", u"每人", u"一个月", u"一年" }) {
        const qsizetype at = text.skipSpaces(pos);
        if (text.startsWithAt(at, word) && text.isFree(at, word.size()))
            return at + word.size() - pos;
    }
    return 0;
}

bool latinBoundaryAfter(const MarkedText& text, qsizetype end)
{
    return end >= text.size() || !chars::isLatin(text.folded().at(end));
}

bool matchWord(const MarkedText& text, qsizetype pos, QStringView word)
{
    if (!text.startsWithAt(pos, word) || !text.isFree(pos, word.size()))
        return false;
    if (chars::isLatin(word.front())) {
        if (pos > 0 && chars::isLatin(text.folded().at(pos - 1)))
            return false;
        if (chars::isLatin(word.back()) && !latinBoundaryAfter(text, pos + word.size()))
            return false;
    }
    return true;
}

struct Fraction {
    double value = 0;
    qsizetype len = 0;
};

// "五" after "三块", "5毛" after "3块", "零五" after "三块": the jiao and fen of a yuan.
Fraction fractionAfter(const MarkedText& text, qsizetype pos)
{
    const QString& f = text.folded();
    auto digitAt = [&](qsizetype i) -> int {
        if (i >= f.size() || !text.isFree(i))
            return -1;
        return chars::isDigit(f.at(i)) ? f.at(i).unicode() - u'0' : chineseDigit(f.at(i));
    };
    auto standsAlone = [&](qsizetype i) {
        return i >= f.size() || (!chars::isDigit(f.at(i)) && !isChineseNumeral(f.at(i)) && !isShortUnit(f.at(i)))
            || f.at(i) == u'毛' || f.at(i) == u'角' || f.at(i) == u'分';
    };
    Fraction fraction;
    qsizetype i = pos;
    if (const qsizetype spaced = text.skipSpaces(pos); spaced > pos) {
        const int d = digitAt(spaced);
        const qsizetype after = spaced + 1;
        const bool lone = after >= f.size() || chars::isSeparator(text.text(), after) || f.at(after) == u'毛'
            || f.at(after) == u'角';
        if (d <= 0 || !lone)
            return fraction;
        i = spaced;
    }
    if (digitAt(i) == 0 && digitAt(i + 1) > 0 && standsAlone(i + 2)) {
        fraction.value = digitAt(i + 1) / 100.0;
        i += 2;
        if (i < f.size() && f.at(i) == u'分')
            ++i;
        fraction.len = i - pos;
        return fraction;
    }
    const int jiao = digitAt(i);
    if (jiao <= 0 || !standsAlone(i + 1))
        return fraction;
    fraction.value = jiao / 10.0;
    ++i;
    if (i < f.size() && (f.at(i) == u'毛' || f.at(i) == u'角')) {
        ++i;
        const int fen = digitAt(i);
        if (fen > 0 && standsAlone(i + 1)) {
            fraction.value += fen / 100.0;
            ++i;
            if (i < f.size() && f.at(i) == u'分')
                ++i;
        }
    }
    fraction.len = i - pos;
    return fraction;
}

// "2 movie tickets 36", "3 coffees 13.5": a small number that opens the sentence, a word after
// it and a price further on counts the things bought.
bool leadingCount(const MarkedText& text, qsizetype pos, qsizetype end, const NumberRead& number)
{
    const QString& f = text.folded();
    if (number.chinese || number.value > 99 || number.value != std::floor(number.value))
        return false;
    for (qsizetype i = 0; i < pos; ++i) {
        if (isContent(text.markAt(i)) && !f.at(i).isSpace())
            return false;
    }
    const qsizetype word = text.skipSpaces(end);
    if (word == end || word >= f.size() || !chars::isLatin(f.at(word)) || !text.isFree(word))
        return false;
    for (qsizetype i = word; i < f.size(); ++i) {
        if (chars::isDigit(f.at(i)) && text.isFree(i))
            return true;
    }
    return false;
}

bool isNumberStart(const MarkedText& text, qsizetype pos)
{
    const QChar c = text.folded().at(pos);
    if (!chars::isDigit(c) && !isChineseNumeral(c))
        return false;
    if (pos == 0)
        return true;
    const QChar before = text.folded().at(pos - 1);
    if (chars::isDigit(c))
        return !chars::isDigit(before) && before != u'.' && before != u',';
    return !isChineseNumeral(before);
}

} // namespace

// Length of a counting word after a number ending at `end`, 0 when there is none.
qsizetype AmountScanner::quantityUnitAt(const MarkedText& text, qsizetype end) const
{
    const qsizetype at = text.skipSpaces(end);
    if (at >= text.size() || !text.isFree(at))
        return 0;
    for (QStringView unit : longUnits) {
        const QStringView word(unit);
        // A one-letter unit must be glued to its number ("2l", "500g"); "5 m" is left alone.
        if (word.size() == 1 && at != end)
            continue;
        if (text.startsWithAt(at, word)
            && (!chars::isLatin(word.front()) || latinBoundaryAfter(text, at + word.size())))
            return at + word.size() - end;
    }
    const QChar c = text.folded().at(at);
    if (!isShortUnit(c))
        return 0;
    const qsizetype next = at + 1;
    if (at == end || next >= text.size() || chars::isSeparator(text.text(), next)
        || chars::isDigit(text.folded().at(next)) || !text.isFree(next))
        return next - end;
    for (char16_t u : spacedUnits) {
        if (u != 0 && c.unicode() == u)
            return next - end;
    }
    const QStringView rest = QStringView(text.folded()).mid(at);
    for (QStringView word : notCounts) {
        if (rest.startsWith(QStringView(word)))
            return 0;
    }
    if (m_lexicon.financeWordLengthAt(rest) >= 2 || m_lexicon.timeWordLengthAt(rest) >= 2)
        return 0;
    return next - end;
}

std::optional<CurrencyWord> AmountScanner::suffixAt(const MarkedText& text, qsizetype pos)
{
    for (const Word& word : suffixWords) {
        if (matchWord(text, pos, QStringView(word.text)))
            return CurrencyWord { word.code.toString(), QStringView(word.text).size() };
    }
    return std::nullopt;
}

std::optional<CurrencyWord> AmountScanner::prefixAt(const MarkedText& text, qsizetype pos)
{
    for (const Word& word : prefixWords) {
        if (matchWord(text, pos, QStringView(word.text)))
            return CurrencyWord { word.code.toString(), QStringView(word.text).size() };
    }
    return std::nullopt;
}

QList<AmountMention> AmountScanner::scan(MarkedText& text) const
{
    QList<AmountMention> found;
    const QString& f = text.folded();
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!text.isFree(i))
            continue;

        AmountMention mention;
        qsizetype numberPos = i;
        if (const auto prefix = prefixAt(text, i)) {
            const qsizetype after = text.skipSpaces(i + prefix->len);
            if (after < text.size() && text.isFree(after) && chars::isDigit(f.at(after))) {
                mention.currency = prefix->code;
                mention.currencySaid = mention.explicitCurrency = true;
                numberPos = after;
            }
        }
        if (!isNumberStart(text, numberPos) || !text.isFree(numberPos))
            continue;
        const auto number = readNumber(f, numberPos);
        if (!number || !text.isFree(numberPos, number->len))
            continue;
        qsizetype end = numberPos + number->len;
        double value = number->value;

        // "三点五块": a decimal said aloud, only ever with a currency word after it.
        if (number->chinese && end + 1 < f.size() && f.at(end) == u'点') {
            qsizetype decimals = end + 1;
            QString digits;
            while (decimals < f.size() && chineseDigit(f.at(decimals)) >= 0)
                digits.append(QChar(u'0' + chineseDigit(f.at(decimals++))));
            if (!digits.isEmpty() && suffixAt(text, text.skipSpaces(decimals))) {
                value += (QStringLiteral("0.") + digits).toDouble();
                end = decimals;
            }
        }

        // "x2" after a price multiplies it; without a price before it, it only counts.
        if (!mention.currencySaid && numberPos > 0
            && (f.at(numberPos - 1) == u'x' || f.at(numberPos - 1) == u'×' || f.at(numberPos - 1) == u'*')
            && (numberPos < 2 || !chars::isLatin(f.at(numberPos - 2))) && !number->chinese && value >= 1
            && value <= 50) {
            if (found.isEmpty()) {
                text.mark(numberPos - 1, end - numberPos + 1, Mark::quantity);
            } else {
                found.back().value *= value;
                text.mark(numberPos - 1, end - numberPos + 1, Mark::amount);
            }
            i = end - 1;
            continue;
        }

        if (!mention.currencySaid) {
            if (const auto suffix = suffixAt(text, text.skipSpaces(end))) {
                const qsizetype at = text.skipSpaces(end);
                mention.currency = suffix->code;
                mention.currencySaid = true;
                mention.explicitCurrency = !suffix->code.isEmpty();
                end = at + suffix->len;
                if (suffix->code.isEmpty() || suffix->code == u"CNY") {
                    const Fraction fraction = fractionAfter(text, end);
                    value += fraction.value;
                    end += fraction.len;
                }
            } else if (end < f.size() && (f.at(end) == u'毛' || f.at(end) == u'角')) {
                value /= 10; // "五毛"
                mention.currencySaid = true;
                end += 1;
            }
        }

        if (!mention.currencySaid) {
            if (const qsizetype word = text.skipSpaces(end);
                word < f.size() && text.isFree(word) && isNamingWord(f.at(word))) {
                text.mark(numberPos, word + 1 - numberPos, Mark::identifier); // "903 路", "3 号线"
                i = word;
                continue;
            }
            if (const qsizetype unit = quantityUnitAt(text, end); unit > 0) {
                text.mark(numberPos, end + unit - numberPos, Mark::quantity);
                i = end + unit - 1;
                continue;
            }
            if (leadingCount(text, numberPos, end, *number)) {
                text.mark(numberPos, end - numberPos, Mark::quantity);
                i = end - 1;
                continue;
            }
            if (number->chinese) {
                // Without a currency word a Chinese numeral must stand alone and say more than one.
                const bool aloneAfter = end >= f.size() || chars::isSeparator(text.text(), end) || !text.isFree(end)
                    || chars::isLatin(f.at(end));
                const bool ordinal = numberPos > 0 && f.at(numberPos - 1) == u'第';
                // One numeral glued to a word ends an idiom ("杂七杂八"), not a price.
                const bool gluedSingle = number->len == 1 && numberPos > 0 && chars::isCjk(f.at(numberPos - 1));
                if (!aloneAfter || ordinal || gluedSingle || value < 2)
                    continue;
            } else {
                const bool unitGlued = end < f.size() && chars::isLatin(f.at(end));
                const bool code = end + 1 < f.size() && (f.at(end) == u'-' || f.at(end) == u'/' || f.at(end) == u':')
                    && chars::isDigit(f.at(end + 1));
                const bool codeTail = numberPos > 1 && (f.at(numberPos - 1) == u'-' || f.at(numberPos - 1) == u'/')
                    && chars::isDigit(f.at(numberPos - 2));
                if (unitGlued || code || codeTail) {
                    i = end - 1;
                    while (
                        i + 1 < f.size() && (chars::isDigit(f.at(i + 1)) || f.at(i + 1) == u'-' || f.at(i + 1) == u'/'))
                        ++i;
                    continue;
                }
                mention.gluedToWord = numberPos > 0 && chars::isLatin(f.at(numberPos - 1));
            }
            mention.currency = m_defaultCurrency;
        }
        if (mention.currency.isEmpty())
            mention.currency = m_defaultCurrency;
        // Beyond a billion it is an account number or a typo, not a household's spending.
        if (value <= 0 || value >= 1e9)
            continue;
        end += rateAt(text, end);
        mention.pos = i;
        mention.len = end - i;
        mention.value = value;
        text.mark(mention.pos, mention.len, Mark::amount);
        found.append(mention);
        i = end - 1;
    }
    return found;
}

std::optional<QString> AmountScanner::scanCurrencyName(MarkedText& text) const
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!text.isFree(i))
            continue;
        for (const auto& word : { prefixAt(text, i), suffixAt(text, i) }) {
            // 块 and a lone $ say nothing about which currency is meant.
            if (word && !word->code.isEmpty() && text.folded().at(i) != u'$') {
                text.mark(i, word->len, Mark::amount);
                return word->code;
            }
        }
    }
    return std::nullopt;
}

} // namespace language

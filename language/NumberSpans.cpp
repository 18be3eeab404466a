#include "NumberSpans.h"

#include "AmountScanner.h"
#include "Numerals.h"

namespace language {

namespace {

// Words that name the number after them (with 是, 为, ":" or "is" between, or nothing).
constexpr QStringView labels[]
    = { u"快递单号", u"手机号码", u"电话号码", u"身份证号", u"客服电话", u"联系电话", u"手机号", u"订单号", u"运单号",
          u"房间号", u"门牌号", u"航班号", u"座位号", u"车牌号", u"验证码", u"尾号", u"号码", u"编号", u"单号", u"密码",
          u"房号", u"工号", u"学号", u"邮编", u"账号", u"卡号", u"电话", u"post code", u"postcode", u"zip", u"pin",
          u"abn", u"acn", u"bsb", u"tfn", u"account", u"acc", u"tel", u"phone", u"mobile", u"number", u"ref", u"code" };

// A number after one of these names a model ("Xbox 360", "iPhone 15 Pro").
constexpr QStringView modelWords[] = { u"iphone", u"ipad", u"pixel", u"galaxy", u"xbox", u"ps", u"playstation",
    u"switch", u"macbook", u"airpods", u"watch", u"series", u"model", u"mate", u"nova", u"note", u"redmi", u"xiaomi",
    u"kindle", u"surface", u"thinkpad", u"rtx", u"gtx", u"rx", u"ryzen", u"core", u"gen", u"pro", u"max", u"plus",
    u"ultra", u"mini", u"air", u"se", u"mk", u"mark", u"office" };
// Model words whose numbers may have a decimal part ("USB-C 3.2", "iOS 17.4").
constexpr QStringView versionWords[] = { u"usb-c", u"usb", u"wifi", u"wi-fi", u"bluetooth", u"ios", u"android",
    u"macos", u"windows", u"python", u"hdmi", u"version", u"ver", u"v" };
// A number after one of these is a position in a course or a series ("chapter 7", "week 6").
constexpr QStringView positionWords[]
    = { u"chapter", u"ch", u"lecture", u"lec", u"week", u"wk", u"unit", u"lab", u"tutorial", u"tute", u"workshop",
          u"level", u"round", u"part", u"episode", u"ep", u"season", u"lesson", u"module", u"assignment", u"quiz",
          u"exercise", u"problem", u"question", u"task", u"page", u"room", u"gate", u"platform", u"seat", u"day" };

// Counters after 第 N.
constexpr char16_t ordinalCounters[] = u"次节章课名届期季集天周年个杯轮份号页部题场回局遍层位排楼批";

// Letters after digits that make a count, a length of time or money, not a name.
constexpr QStringView unitSuffixes[] = { u"k", u"w", u"kg", u"g", u"mg", u"km", u"m", u"cm", u"mm", u"ml", u"l", u"gb",
    u"mb", u"tb", u"kb", u"mah", u"kwh", u"h", u"hr", u"hrs", u"min", u"mins", u"s", u"sec", u"secs", u"am", u"pm",
    u"x", u"lbs", u"lb", u"oz", u"pcs", u"pc", u"d" };
constexpr QStringView ordinalSuffixes[] = { u"st", u"nd", u"rd", u"th" };
// Letters before digits that make money ("aud50", "us$"), or a multiplier ("x2").
constexpr QStringView moneyPrefixes[] = { u"aud", u"usd", u"rmb", u"cny", u"au", u"us", u"a", u"x" };

// A four-digit year follows these.
constexpr QStringView yearLeads[]
    = { u"in", u"since", u"from", u"until", u"till", u"by", u"born", u"year", u"of", u"毕业于", u"于", u"从" };

template<size_t N> bool oneOf(QStringView word, const QStringView (&list)[N])
{
    for (QStringView w : list) {
        if (word == QStringView(w))
            return true;
    }
    return false;
}

bool isCounter(QChar c)
{
    for (char16_t u : ordinalCounters) {
        if (u == 0)
            break;
        if (c.unicode() == u)
            return true;
    }
    return false;
}

bool isAlnum(QChar c)
{
    return chars::isLatin(c) || chars::isDigit(c);
}

qsizetype digitsFrom(const QString& f, qsizetype pos)
{
    qsizetype end = pos;
    while (end < f.size() && chars::isDigit(f.at(end)))
        ++end;
    return end;
}

// True when a free digit outside [from, to) exists: a price may be standing beside this number.
bool otherFreeDigit(const MarkedText& text, qsizetype from, qsizetype to)
{
    const QString& f = text.folded();
    for (qsizetype i = 0; i < f.size(); ++i) {
        if (i == from) {
            i = to - 1;
            continue;
        }
        if (chars::isDigit(f.at(i)) && text.isFree(i))
            return true;
    }
    return false;
}

// End of a run of digit groups starting at `pos` ("0412 345 678", "400-820-8820"), with the
// number of digits and groups.
struct Groups {
    qsizetype end = 0;
    int digits = 0;
    int groups = 0;
    bool decimal = false;
};

Groups groupsAt(const MarkedText& text, qsizetype pos)
{
    const QString& f = text.folded();
    Groups g;
    qsizetype i = pos;
    while (true) {
        const qsizetype end = digitsFrom(f, i);
        if (end == i || !text.isFree(i, end - i))
            break;
        g.digits += int(end - i);
        ++g.groups;
        g.end = end;
        if (end + 1 < f.size() && f.at(end) == u'.' && chars::isDigit(f.at(end + 1))) {
            g.decimal = true;
            break;
        }
        // One space or dash, then a group of three or four digits, continues the number: a
        // number already longer than a group ("13912345678 100") is followed by something else.
        const qsizetype nextGroup = end + 1 < f.size() ? digitsFrom(f, end + 1) - (end + 1) : 0;
        if (end + 1 < f.size() && (f.at(end) == u' ' || f.at(end) == u'-') && text.isFree(end) && end - i <= 4
            && nextGroup >= 3 && nextGroup <= 4) {
            i = end + 1;
            continue;
        }
        break;
    }
    return g;
}

bool numberStartsAt(const QString& f, qsizetype pos)
{
    if (!chars::isDigit(f.at(pos)))
        return false;
    if (pos == 0)
        return true;
    // "12,000": the digits after a thousands comma continue the number before it.
    const bool thousands = f.at(pos - 1) == u',' && pos > 1 && chars::isDigit(f.at(pos - 2));
    return !isAlnum(f.at(pos - 1)) && f.at(pos - 1) != u'.' && !thousands;
}

void takeLabelled(MarkedText& text)
{
    const QString& f = text.folded();
    for (QStringView label : labels) {
        const QStringView word(label);
        for (qsizetype at = text.findFree(word); at >= 0; at = text.findFree(word, at + 1)) {
            qsizetype i = text.skipSpaces(at + word.size());
            for (QStringView joint : { u"是", u"为", u":", u"#", u"is" }) {
                if (text.startsWithAt(i, joint) && text.isFree(i, joint.size())) {
                    i = text.skipSpaces(i + joint.size());
                    break;
                }
            }
            if (i >= f.size() || !isAlnum(f.at(i)) || !text.isFree(i))
                continue;
            qsizetype end = i;
            bool digit = false;
            while (end < f.size() && text.isFree(end)
                && (isAlnum(f.at(end))
                    || ((f.at(end) == u' ' || f.at(end) == u'-') && end + 1 < f.size() && chars::isDigit(f.at(end + 1))
                        && digit))) {
                digit = digit || chars::isDigit(f.at(end));
                ++end;
            }
            if (!digit)
                continue;
            text.mark(at, end - at, Mark::code);
        }
    }
}

void takePhoneLike(MarkedText& text)
{
    const QString& f = text.folded();
    for (qsizetype i = 0; i < f.size(); ++i) {
        if (!text.isFree(i))
            continue;
        const bool plus = f.at(i) == u'+' && i + 1 < f.size() && chars::isDigit(f.at(i + 1));
        const qsizetype start = plus ? i + 1 : i;
        if (!plus && !numberStartsAt(f, i))
            continue;
        const Groups g = groupsAt(text, start);
        if (g.groups == 0)
            continue;
        const bool leadingZero = f.at(start) == u'0' && digitsFrom(f, start) - start >= 3 && !g.decimal;
        const bool long_ = !g.decimal && g.digits >= 8;
        if (plus || leadingZero || long_) {
            text.mark(i, g.end - i, Mark::code);
            i = g.end - 1;
        } else {
            i = g.end > i ? g.end - 1 : i;
        }
    }
}

// P60, ECON10004, 5G, 2nd, COVID-19: letters and digits in one word.
void takeAlphanumeric(MarkedText& text)
{
    const QString& f = text.folded();
    qsizetype i = 0;
    while (i < f.size()) {
        if (!isAlnum(f.at(i)) || (i > 0 && isAlnum(f.at(i - 1)))) {
            ++i;
            continue;
        }
        // The word: letters and digits, joined by '-' and by '.' between digits.
        qsizetype end = i;
        while (end < f.size()) {
            const QChar c = f.at(end);
            const bool joint = end + 1 < f.size() && end > i
                && ((c == u'-' && isAlnum(f.at(end - 1)) && isAlnum(f.at(end + 1)))
                    || (c == u'.' && chars::isDigit(f.at(end - 1)) && chars::isDigit(f.at(end + 1))));
            if (!isAlnum(c) && !joint)
                break;
            ++end;
        }
        const QStringView word = QStringView(f).mid(i, end - i);
        const qsizetype start = i;
        i = end;
        bool letters = false;
        bool digits = false;
        for (QChar c : word) {
            letters = letters || chars::isLatin(c);
            digits = digits || chars::isDigit(c);
        }
        if (!letters || !digits || !text.isFree(start, word.size()))
            continue;
        if (!word.contains(u'-')) {
            qsizetype split = 0;
            while (split < word.size() && (chars::isDigit(word.at(split)) || word.at(split) == u'.'))
                ++split;
            if (split > 0) {
                const QStringView suffix = word.mid(split);
                bool allLetters = true;
                for (QChar c : suffix)
                    allLetters = allLetters && chars::isLatin(c);
                // "5G", "4K": a capital after one digit names a standard; "5g", "5k" are units.
                const QChar said = text.text().at(start + split);
                const bool standard = split == 1 && suffix.size() == 1 && said.isUpper()
                    && (said == u'G' || (said == u'K' && (word.front() == u'4' || word.front() == u'8')));
                if (allLetters && oneOf(suffix, unitSuffixes) && !standard)
                    continue;
                if (allLetters && oneOf(suffix, ordinalSuffixes)) {
                    text.mark(start, word.size(), Mark::ordinal);
                    continue;
                }
            } else {
                while (split < word.size() && chars::isLatin(word.at(split)))
                    ++split;
                const QStringView rest = word.mid(split);
                bool allDigits = true;
                for (QChar c : rest)
                    allDigits = allDigits && (chars::isDigit(c) || c == u'.');
                if (allDigits && oneOf(word.left(split), moneyPrefixes))
                    continue;
            }
        }
        text.mark(start, word.size(), Mark::identifier);
    }
}

void takeOrdinals(MarkedText& text)
{
    const QString& f = text.folded();
    for (qsizetype at = text.findFree(u"第"); at >= 0; at = text.findFree(u"第", at + 1)) {
        const qsizetype numberAt = text.skipSpaces(at + 1);
        if (numberAt >= f.size() || !text.isFree(numberAt))
            continue;
        const auto number = readNumber(f, numberAt);
        if (!number || !text.isFree(numberAt, number->len))
            continue;
        qsizetype end = numberAt + number->len;
        const qsizetype counter = text.skipSpaces(end);
        if (text.startsWithAt(counter, u"单元"))
            end = counter + 2;
        else if (counter < f.size() && isCounter(f.at(counter)) && text.isFree(counter))
            end = counter + 1;
        text.mark(at, end - at, Mark::ordinal);
    }
}

void takeNamedNumbers(MarkedText& text)
{
    const QString& f = text.folded();
    auto scanWords = [&](const auto& words, bool decimals, Mark kind, bool models) {
        for (QStringView w : words) {
            const QStringView word(w);
            for (qsizetype at = text.findFree(word); at >= 0; at = text.findFree(word, at + 1)) {
                const qsizetype end = at + word.size();
                if (end < f.size() && isAlnum(f.at(end)))
                    continue;
                if (at > 0 && chars::isLatin(f.at(at - 1)))
                    continue;
                const qsizetype n = text.skipSpaces(end);
                if (n == end || n >= f.size() || !chars::isDigit(f.at(n)) || !text.isFree(n))
                    continue;
                qsizetype numberEnd = digitsFrom(f, n);
                if (numberEnd + 1 < f.size() && f.at(numberEnd) == u'.' && chars::isDigit(f.at(numberEnd + 1))) {
                    if (!decimals)
                        continue; // "coffee 4.5": a price
                    numberEnd = digitsFrom(f, numberEnd + 1);
                }
                if (!text.isFree(n, numberEnd - n) || (numberEnd < f.size() && isAlnum(f.at(numberEnd))))
                    continue;
                // "iPhone 15 Pro 8999 元", "chatgpt plus 20 美元": a number with a currency is a price.
                if (AmountScanner::suffixAt(text, text.skipSpaces(numberEnd)))
                    continue;
                if (models) {
                    // "iphone 1299" at the end of a booking is its price; a model number is small,
                    // or has a name or a price after it.
                    const qsizetype next = text.skipSpaces(numberEnd);
                    const bool nameFollows = next < f.size() && text.isFree(next)
                        && (chars::isLatin(f.at(next)) || chars::isCjk(f.at(next)));
                    const bool small = f.mid(n, numberEnd - n).toDouble() < 100;
                    if (!nameFollows && !small && !otherFreeDigit(text, n, numberEnd))
                        continue;
                }
                text.mark(n, numberEnd - n, kind);
            }
        }
    };
    scanWords(versionWords, true, Mark::identifier, false);
    scanWords(modelWords, false, Mark::identifier, true);
    scanWords(positionWords, false, Mark::ordinal, false);
}

// "2024 年", "since 2019", and "2025 rego 850": a year is not a price.
void takeYears(MarkedText& text)
{
    const QString& f = text.folded();
    for (qsizetype i = 0; i + 3 < f.size(); ++i) {
        if (!numberStartsAt(f, i) || digitsFrom(f, i) - i != 4 || !text.isFree(i, 4))
            continue;
        const qsizetype end = i + 4;
        const int year = f.mid(i, 4).toInt();
        if (year < 1900 || year > 2099 || (end < f.size() && (isAlnum(f.at(end)) || f.at(end) == u'.')))
            continue;
        const qsizetype after = text.skipSpaces(end);
        const qsizetype back = text.skipSpacesBack(i);
        if (AmountScanner::suffixAt(text, after) || (back > 0 && (f.at(back - 1) == u'$' || f.at(back - 1) == u'¥')))
            continue; // "2000 块", "$2000": a price
        if (text.startsWithAt(after, u"年") && !text.startsWithAt(after + 1, u"度")
            && !text.startsWithAt(after + 1, u"级") && text.isFree(after)) {
            text.mark(i, after + 1 - i, Mark::date);
            continue;
        }
        bool led = false;
        const qsizetype before = text.skipSpacesBack(i);
        for (QStringView w : yearLeads) {
            const QStringView lead(w);
            const qsizetype at = before - lead.size();
            if (at >= 0 && text.startsWithAt(at, lead)
                && (!chars::isLatin(lead.front()) || at == 0 || !chars::isLatin(f.at(at - 1))))
                led = true;
        }
        if (led || otherFreeDigit(text, i, end))
            text.mark(i, 4, Mark::date);
    }
}

} // namespace

void NumberSpans::scan(MarkedText& text)
{
    takeLabelled(text);
    takePhoneLike(text);
    takeAlphanumeric(text);
    takeOrdinals(text);
    takeNamedNumbers(text);
    takeYears(text);
}

} // namespace language

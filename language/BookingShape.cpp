#include "BookingShape.h"

#include <QRegularExpression>

namespace language {

namespace {

using Words = std::initializer_list<QStringView>;

const Words questionWords = { u"吗", u"是不是", u"是否", u"有没有", u"对不对", u"贵不贵", u"够不够", u"值不值",
    u"行不行", u"好不好", u"多少", u"几个", u"几次", u"几天", u"几杯", u"几块", u"几点", u"几号", u"几小时", u"怎么",
    u"为什么", u"咋", u"啥", u"什么", u"哪", u"来着", u"了没", u"没有?" };
// An English sentence opening with one of these asks.
const Words questionOpeners = { u"how", u"what", u"when", u"where", u"why", u"which", u"who", u"whose", u"did", u"do",
    u"does", u"is", u"are", u"was", u"were", u"should", u"can", u"could", u"would", u"shall", u"am" };

const Words reminderWords = { u"提醒", u"记得", u"别忘", u"不要忘", u"忘了", u"到期", u"截止", u"该交", u"要交",
    u"要还", u"得交", u"得还", u"自动扣", u"扣款", u"之前把", u"之前要", u"之前交", u"之前还", u"前要", u"前交",
    u"前还", u"月底前", u"天后", u"还剩", u"remind", u"reminder", u"forget", u"due", u"deadline", u"need to",
    u"needs to", u"have to", u"has to", u"remember to", u"by monday", u"by tuesday", u"by wednesday", u"by thursday",
    u"by friday", u"by saturday", u"by sunday", u"by tomorrow", u"还欠", u"欠你", u"欠他", u"欠她", u"欠我", u"欠 ",
    u"owe", u"owes", u"owed" };

const Words priceChangeWords = { u"涨", u"降价", u"降到", u"降了", u"跌", u"便宜了", u"贵了", u"打折", u"折扣", u"优惠",
    u"满减", u"原价", u"现价", u"半价", u"单价", u"价格", u"价钱", u"half price", u"off", u"discount", u"went up",
    u"goes up", u"gone up", u"going up", u"up to", u"down to", u"price", u"prices", u"is now", u"are now", u"now costs",
    u"a litre", u"per litre", u"a liter", u"per liter", u"per kg", u"a kilo", u"省了", u"省下", u"太贵", u"好贵",
    u"真贵", u"不贵", u"划算", u"cheaper", u"pricier", u"too expensive", u"so expensive", u"overpriced", u"worth it",
    u"saved" };
// A price said per unit is a price, not a purchase ("牛肉 12.99 一公斤").
const Words perUnitWords
    = { u"一公斤", u"每公斤", u"一斤", u"每斤", u"一升", u"每升", u"一度", u"每度", u"/kg", u"/l" };
// A purchase said outright makes a discount part of a booking.
const Words purchaseWords = { u"买了", u"花了", u"付了", u"刷了", u"交了", u"买的", u"bought", u"paid", u"spent" };

const Words measurementWords = { u"体重", u"身高", u"血压", u"血糖", u"体温", u"心率", u"体脂", u"腰围", u"胸围",
    u"室温", u"气温", u"温度", u"读数", u"步数", u"分数", u"成绩", u"考了", u"跑了", u"走了", u"游了", u"骑了", u"深蹲",
    u"卧推", u"硬拉", u"bmi", u"weight", u"height", u"steps", u"heart rate", u"resting hr", u"bpm", u"blood pressure",
    u"temp", u"temperature", u"score", u"ran", u"walked", u"swam", u"cycled", u"平均", u"average", u"avg", u"剩下",
    u"剩余", u"余额还有", u"余额是", u"balance is" };

const Words planWords = { u"预算", u"计划", u"打算", u"准备", u"想买", u"想要", u"想每", u"想存", u"要买", u"要不要",
    u"存钱", u"攒", u"目标", u"控制在", u"如果", u"假如", u"要是", u"将要", u"下次", u"budget", u"plan", u"planning",
    u"going to", u"gonna", u"want to", u"wanna", u"will", u"saving", u"save up", u"goal", u"target", u"afford",
    u"next time", u"限额", u"上限", u"额度", u"limit" };

const Words payingVerbs = { u"买", u"花", u"付", u"交", u"缴", u"充", u"订", u"请客", u"刷", u"收到", u"到账", u"赚",
    u"卖", u"报销", u"退", u"paid", u"pay", u"spent", u"spend", u"bought", u"buy", u"got", u"cost", u"tip", u"refund",
    u"received", u"earned" };

// Words that say nothing about a thing, even standing right beside a number.
const Words emptyNeighbours = { u"是", u"的", u"了", u"我", u"在", u"和", u"有", u"is", u"was", u"the", u"a", u"an",
    u"for", u"of", u"to", u"at", u"on", u"in", u"and", u"or", u"about" };

bool isLatinWord(QStringView word)
{
    for (QChar c : word) {
        if (!chars::isLatin(c) && c != u' ' && c != u'-')
            return false;
    }
    return true;
}

// A Chinese word anywhere; an English word or phrase as a whole word.
bool contains(QStringView folded, QStringView word)
{
    if (!isLatinWord(word))
        return chars::find(folded, word) >= 0;
    for (qsizetype at = chars::find(folded, word); at >= 0; at = chars::find(folded, word, at + 1)) {
        const qsizetype end = at + word.size();
        if ((at == 0 || !chars::isLatin(folded.at(at - 1)))
            && (end >= folded.size() || !chars::isLatin(folded.at(end))))
            return true;
    }
    return false;
}

bool containsAny(QStringView folded, const Words& words)
{
    const chars::Mask mask(folded);
    for (QStringView word : words) {
        if (mask.mayContain(word) && contains(folded, word))
            return true;
    }
    return false;
}

QStringView firstLatinWord(QStringView folded)
{
    qsizetype start = 0;
    while (start < folded.size() && folded.at(start).isSpace())
        ++start;
    qsizetype end = start;
    while (end < folded.size() && chars::isLatin(folded.at(end)))
        ++end;
    return folded.mid(start, end - start);
}

// "25 还是 28", "25 or 30": two numbers offered as choices.
bool offersChoice(QStringView folded)
{
    static const QRegularExpression choice(QStringLiteral("\\d\\s*(还是|or)\\s*\\d"));
    return (folded.contains(u"还是") || folded.contains(u"or")) && choice.match(folded).hasMatch();
}

bool isQuestion(QStringView folded)
{
    QStringView trimmed = folded.trimmed();
    if (trimmed.endsWith(u'?'))
        return true;
    if (containsAny(folded, questionWords) || offersChoice(folded))
        return true;
    const QStringView opener = firstLatinWord(folded);
    for (QStringView word : questionOpeners) {
        if (opener == word)
            return true;
    }
    return false;
}

bool saysFuture(const DateFindings& when, QDate today)
{
    return (when.day && *when.day > today) || (when.range && when.range->from > today);
}

} // namespace

std::optional<FinanceProblem> BookingShape::refusal(const MarkedText& text, const DateFindings& when, QDate today)
{
    const QStringView folded = text.folded();
    if (isQuestion(folded))
        return FinanceProblem::question;
    if (containsAny(folded, reminderWords))
        return FinanceProblem::reminder;
    const bool purchased = containsAny(folded, purchaseWords);
    const bool spendThreshold = folded.contains(u'满') && folded.contains(u'减'); // "满 100 减 20"
    // "打车比坐地铁贵 10 块", "比上个月多花了 200": a comparison, not a purchase.
    const bool comparison = folded.contains(u'比')
        && (folded.contains(u'贵') || folded.contains(u"便宜") || folded.contains(u"多花") || folded.contains(u"少花"));
    if (comparison)
        return FinanceProblem::priceChange;
    if (!purchased && (spendThreshold || containsAny(folded, priceChangeWords) || containsAny(folded, perUnitWords)))
        return FinanceProblem::priceChange;
    if (!purchased && containsAny(folded, measurementWords))
        return FinanceProblem::measurement;
    if (containsAny(folded, planWords) || saysFuture(when, today))
        return FinanceProblem::plan;
    return std::nullopt;
}

BookingShape::Evidence BookingShape::evidence(
    const MarkedText& text, const QList<AmountMention>& amounts, const Lexicon& lexicon)
{
    Evidence best = Evidence::none;
    for (const AmountMention& amount : amounts) {
        if (amount.currencySaid)
            return Evidence::currency;
    }
    if (amounts.isEmpty())
        return best;
    const QString free = text.freeFolded();
    if (lexicon.matchFinance(free))
        return Evidence::category;
    if (containsAny(free, payingVerbs))
        return Evidence::verb;

    // The word right before or after a number, spaces skipped.
    const QString& f = text.folded();
    auto wordAround = [&](qsizetype from, int step) {
        qsizetype i = from;
        while (i >= 0 && i < f.size() && f.at(i).isSpace() && isContent(text.markAt(i)))
            i += step;
        qsizetype end = i;
        while (end >= 0 && end < f.size() && isContent(text.markAt(end)) && !chars::isSeparator(text.text(), end))
            end += step;
        return step > 0 ? QStringView(f).mid(i, end - i) : QStringView(f).mid(end + 1, i - end);
    };
    for (const AmountMention& amount : amounts) {
        for (QStringView word : { wordAround(amount.pos - 1, -1), wordAround(amount.pos + amount.len, 1) }) {
            bool empty = word.isEmpty();
            for (QStringView nothing : emptyNeighbours)
                empty = empty || word == nothing;
            if (!empty)
                return Evidence::thing;
        }
    }
    return best;
}

} // namespace language

#include "IntentClassifier.h"

#include "AmountScanner.h"
#include "ClockScanner.h"
#include "ContentWords.h"
#include "FinanceParser.h"
#include "Lexicon.h"
#include "MarkedText.h"
#include "SentenceScan.h"
#include "SpenderScanner.h"
#include "TimeParser.h"

namespace language {

namespace {

constexpr QStringView deleteVerbs[] = { u"删掉", u"删除", u"删了", u"删", u"撤销", u"撤回", u"作废", u"去掉", u"不要了",
    u"不要", u"取消", u"undo", u"delete" };
constexpr QStringView recordReferences[] = { u"刚才", u"刚刚", u"上一", u"上条", u"上笔", u"那笔", u"这笔", u"那条",
    u"这条", u"最后", u"那个", u"这个", u"记录", u"那次", u"最近一" };
// Words that say nothing beyond the delete verb ("删了吧", "帮我撤销一下").
constexpr QStringView politeWords[]
    = { u"帮我", u"一下", u"请", u"把", u"吧", u"了", u"的", u"啊", u"掉", u"吗", u"呢" };

constexpr QStringView editVerbs[] = { u"修改为", u"修改成", u"更正为", u"改成", u"改为", u"改到", u"换成", u"应该是",
    u"其实是", u"写错了", u"改一下", u"不对", u"错了" };

constexpr QStringView questionWords[] = { u"多少", u"多久", u"几个小时", u"几小时", u"几次", u"什么", u"啥", u"干嘛",
    u"哪些", u"哪里", u"哪儿", u"哪", u"吗", u"怎么", u"如何", u"统计", u"汇总", u"总结", u"查一下", u"查查", u"看看",
    u"列出", u"?", u"how much", u"how long", u"how many", u"what did" };
// Checked first: a question about hours is about time even when it says 花 ("时间都花在哪了").
constexpr QStringView timeQuestionWords[]
    = { u"时间", u"多久", u"小时", u"时长", u"做了", u"干了", u"干嘛", u"忙了", u"忙什么", u"干啥", u"做啥", u"哪些事",
          u"什么事", u"how long", u"how many hours", u"what did i do", u"what did we do" };
constexpr QStringView moneyQuestionWords[] = { u"花", u"消费", u"支出", u"开销", u"开支", u"钱", u"收入", u"赚", u"账",
    u"预算", u"余额", u"费", u"进账", u"多少", u"how much", u"spend", u"spent" };
// Nouns that make a statement with a period a question ("上个月收入", "今天学习时间").
constexpr QStringView reportNouns[]
    = { u"收入", u"支出", u"开销", u"开支", u"消费", u"花销", u"花费", u"时间", u"时长" };
// Taken out before looking for a category, so that 收入 or 花 do not name one.
constexpr QStringView moneyDomainWords[] = { u"多少钱", u"花了", u"花", u"消费", u"支出", u"开销", u"开支", u"收入",
    u"进账", u"赚了", u"赚", u"多少", u"钱", u"how much", u"spend", u"spent" };

template<size_t N> bool containsAny(const QString& folded, const QStringView (&words)[N])
{
    const chars::Mask mask(folded);
    for (QStringView w : words) {
        if (mask.mayContain(w) && chars::find(folded, w) >= 0)
            return true;
    }
    return false;
}

bool isDelete(const QString& folded)
{
    QString residual = folded;
    bool verb = false;
    for (QStringView w : deleteVerbs) {
        if (residual.contains(QStringView(w))) {
            residual.remove(QStringView(w).toString());
            verb = true;
        }
    }
    if (!verb)
        return false;
    if (containsAny(folded, recordReferences))
        return true;
    for (QStringView w : politeWords)
        residual.remove(QStringView(w).toString());
    for (QChar c : residual) {
        if (!c.isSpace() && !chars::isSeparator(QString(c), 0))
            return false;
    }
    return true;
}

// Position just after the last edit verb, or -1: in "错了 应该是上周五" the value follows 应该是.
qsizetype editVerbEnd(const QString& folded)
{
    qsizetype bestEnd = -1;
    for (QStringView w : editVerbs) {
        const qsizetype at = folded.lastIndexOf(QStringView(w));
        if (at >= 0)
            bestEnd = qMax(bestEnd, at + QStringView(w).size());
    }
    return bestEnd;
}

} // namespace

Intent IntentClassifier::classify(QStringView sentence) const
{
    Intent intent;
    const SentenceScan scan = SentenceScan::of(sentence, m_context);
    intent.finance = FinanceParser(m_context).parse(scan);
    intent.time = TimeParser(m_context).parse(scan);
    const QString& folded = scan.text.folded();
    if (folded.trimmed().isEmpty())
        return intent;

    if (isDelete(folded) && !intent.finance.amount) {
        intent.kind = IntentKind::deleteLast;
        if (folded.contains(u'笔') || folded.contains(u"账"))
            intent.target = RecordDomain::finance;
        else if (folded.contains(u"计时") || folded.contains(u"时间") || folded.contains(u'段'))
            intent.target = RecordDomain::time;
        intent.confidence = 0.9;
        return intent;
    }
    if (editVerbEnd(folded) >= 0) {
        Edit edit = readEdit(sentence);
        intent.kind = IntentKind::editLast;
        intent.confidence = edit.isEmpty() ? 0.3 : 0.85;
        intent.edit = edit;
        return intent;
    }
    const std::optional<FinanceProblem> problem = intent.finance.problem;
    if (problem && isNonBooking(*problem))
        intent.refusal = problem;
    const bool saysPeriod = scan.when.day || scan.when.range;
    const bool asked = containsAny(folded, questionWords) || problem == FinanceProblem::question;
    // A period and a report noun ask without a question word: "上个月收入", "今天学习时间".
    const bool reported = containsAny(folded, reportNouns) && saysPeriod;
    if ((asked || reported) && !intent.finance.isBooking()) {
        // A question that quotes a figure is about the ledger only when it names a period: "上个
        // 月电费是不是 180" is, "3 个人分 240 每人多少" is arithmetic.
        const bool quotesFigure = !scan.amounts.isEmpty();
        if (!quotesFigure || saysPeriod) {
            if (auto query = readQuery(sentence)) {
                intent.kind = IntentKind::query;
                intent.query = query;
                intent.refusal.reset();
                intent.confidence = 0.85;
                return intent;
            }
        }
        if (intent.time.action == TimeAction::unknown || intent.time.problem) {
            intent.confidence = 0.9;
            return intent;
        }
    }
    if (intent.time.action == TimeAction::manual && !intent.time.problem && !intent.finance.isBooking()) {
        intent.kind = IntentKind::timeBlock;
        intent.confidence = intent.time.confidence;
        intent.refusal.reset();
        return intent;
    }
    if (intent.finance.isBooking()) {
        intent.kind = IntentKind::booking;
        intent.confidence = intent.finance.confidence;
        return intent;
    }
    switch (intent.time.action) {
    case TimeAction::start:
        intent.kind = IntentKind::timeStart;
        break;
    case TimeAction::stop:
        intent.kind = IntentKind::timeStop;
        break;
    case TimeAction::manual:
        intent.kind = IntentKind::timeBlock;
        break;
    case TimeAction::unknown:
        // A sentence that names money without spending it is answered with why, surely.
        intent.confidence = intent.refusal ? 0.9 : 0;
        return intent;
    }
    intent.refusal.reset();
    intent.confidence = intent.time.confidence;
    return intent;
}

std::optional<Query> IntentClassifier::readQuery(QStringView sentence) const
{
    MarkedText text(sentence);
    const QString folded = text.folded();
    Query query;
    if (containsAny(folded, timeQuestionWords))
        query.domain = QueryDomain::time;
    else if (containsAny(folded, moneyQuestionWords))
        query.domain = QueryDomain::finance;
    else if (folded.contains(u'了') && m_context.words().matchTime(folded))
        query.domain = QueryDomain::time;
    else
        return std::nullopt;

    const QDate today = m_context.today();
    const DateScanner dates(today);
    const DateFindings when = dates.scan(text);
    if (when.range)
        query.range = *when.range;
    else if (when.day)
        query.range = { *when.day, *when.day };
    else if (query.domain == QueryDomain::finance)
        query.range = dates.monthRange(0);
    else
        query.range = { today, today };

    const Lexicon& lexicon = m_context.words();
    if (query.domain == QueryDomain::finance) {
        if (folded.contains(u"收入") || folded.contains(u'赚') || folded.contains(u"进账"))
            query.flow = MoneyFlow::income;
        else if (folded.contains(u'花') || folded.contains(u"消费") || folded.contains(u"支出")
            || folded.contains(u"开销") || folded.contains(u"开支"))
            query.flow = MoneyFlow::expense;
        for (QStringView word : moneyDomainWords) {
            while (text.take(QStringView(word), Mark::marker)) { }
        }
        if (const auto match = lexicon.matchFinance(text.freeFolded()))
            query.category = match->category;
    } else {
        for (QStringView word : timeQuestionWords) {
            while (text.take(QStringView(word), Mark::marker)) { }
        }
        if (const auto category = lexicon.matchTime(text.freeFolded()))
            query.category = *category;
    }
    return query;
}

Edit IntentClassifier::readEdit(QStringView sentence) const
{
    const Lexicon& lexicon = m_context.words();
    const MarkedText whole(sentence);
    const QString folded = whole.folded();
    const qsizetype verbEnd = editVerbEnd(folded);
    // The field named before the verb, when one is ("分类改成交通", "日期改成上周五").
    const QString field = folded.left(qMax<qsizetype>(0, verbEnd));
    const bool wantsCategory
        = field.contains(u"分类") || field.contains(u"类别") || field.contains(u"类型") || field.contains(u"类目");
    const bool wantsDescription = field.contains(u"描述") || field.contains(u"备注") || field.contains(u"名称")
        || field.contains(u"名字") || field.contains(u"说明");
    const bool wantsActivity = field.contains(u"活动") || field.contains(u"事情");

    MarkedText text(QStringView(whole.text()).mid(verbEnd));
    Edit edit;
    const DateScanner dates(m_context.today());
    if (const DateFindings when = dates.scan(text); when.day)
        edit.date = when.day;
    const TimeParse clock = TimeParser(m_context).parse(text.text());
    if (clock.action == TimeAction::manual && clock.startTime && !clock.problem) {
        edit.startTime = clock.startTime;
        edit.endTime = clock.endTime;
    }
    ClockScanner().scan(text);
    ClockScanner().scanDuration(text);
    edit.spender = SpenderScanner(m_context.members).scan(text);
    const AmountScanner amounts(m_context.defaultCurrency, lexicon);
    const QList<AmountMention> found = amounts.scan(text);
    if (!found.isEmpty()) {
        edit.amount = found.front().value;
        if (found.front().explicitCurrency)
            edit.currency = found.front().currency;
    } else if (const auto currency = amounts.scanCurrencyName(text)) {
        edit.currency = *currency;
    }
    for (QStringView word : { u"付的", u"出的", u"买的", u"花的" })
        text.take(word, Mark::marker);

    const ContentWords words(lexicon, ContentWords::Role::description);
    const QString rest = words.phrase(text.freeChunks());
    if (rest.isEmpty())
        return edit;
    if (wantsDescription) {
        edit.description = rest;
    } else if (wantsActivity) {
        edit.activity = rest;
    } else if (lexicon.isFinanceCategory(rest) || lexicon.isTimeCategory(rest)) {
        edit.category = rest;
    } else if (const auto match = lexicon.matchFinance(rest.toLower())) {
        edit.category = match->category;
        if (!wantsCategory)
            edit.description = rest;
    } else if (!wantsCategory) {
        edit.description = rest;
    }
    return edit;
}

Intent understand(QStringView sentence, const Context& context)
{
    return IntentClassifier(context).classify(sentence);
}

FinanceParse parseFinance(QStringView sentence, const Context& context)
{
    return FinanceParser(context).parse(sentence);
}

TimeParse parseTime(QStringView sentence, const Context& context)
{
    return TimeParser(context).parse(sentence);
}

} // namespace language

#include "ContentWords.h"

namespace language {

namespace {

// Dropped at the start of a phrase, even when nothing remains.
constexpr QStringView leadingFunctionWords[]
    = { u"还有", u"另外", u"以及", u"然后", u"刚才", u"刚刚", u"现在", u"正在", u"一直", u"要去", u"我", u"在", u"去",
          u"到", u"和", u"跟", u"与", u"又", u"再", u"也", u"的", u"把", u"就", u"是", u"刚" };
// Dropped at the start of a description's chunk when a real word follows.
constexpr QStringView leadingVerbs[] = { u"付的", u"出的", u"买的", u"收到", u"支付", u"花费", u"买", u"吃", u"喝",
    u"付", u"交", u"缴", u"花", u"用", u"充", u"点", u"叫", u"订" };
// Dropped after a leading verb when at least two characters remain ("买件外套").
constexpr QStringView countingWords[] = { u"个", u"件", u"杯", u"份", u"些", u"张", u"瓶", u"支", u"双", u"盒", u"碗",
    u"顿", u"斤", u"袋", u"罐", u"串", u"根", u"台", u"部", u"把", u"套", u"条", u"只", u"本", u"副" };
// Dropped at the end of a description's chunk when something remains.
constexpr QStringView trailingWords[] = { u"到账", u"的钱", u"的" };
// Dropped at the end of a description's chunk when a word of two characters remains: "点外卖花"
// loses its verb, "买花" keeps its flowers.
constexpr QStringView trailingVerbs[] = { u"花了", u"付了", u"花", u"付" };
// Dropped at the end of an activity's chunk when two characters remain ("做饭用了半小时").
constexpr QStringView trailingActivityWords[] = { u"用", u"花", u"大概", u"左右", u"差不多", u"一共", u"一下", u"去" };
// Dropped at the end of any chunk when something remains.
constexpr QStringView trailingParticles[] = { u"啊", u"吧", u"呢", u"哦", u"嘛", u"呀", u"啦" };
// A chunk that is only one of these says nothing.
constexpr QStringView emptyWords[]
    = { u"钱", u"块", u"一共", u"共", u"花", u"用", u"付", u"交", u"买", u"了", u"我", u"的", u"是", u"在", u"和",
          u"跟", u"还有", u"花费", u"支出", u"消费", u"记", u"记一下", u"记一笔", u"帮我记", u"记账", u"大概", u"左右",
          u"差不多", u"一下", u"到账", u"收入", u"进账", u"人均", u"每人", u"每月", u"每个月", u"每周", u"每年" };

// English words that say nothing at the start of a phrase ("the essay", "ok finished work").
constexpr QStringView leadingEnglishWords[]
    = { u"the", u"a", u"an", u"my", u"our", u"his", u"her", u"their", u"some", u"ok", u"okay", u"so", u"just", u"i",
          u"for", u"at", u"on", u"in", u"of", u"to", u"with", u"from", u"by", u"and", u"s" };
// English verbs of paying, dropped at the start of a description ("bought shoes", "paid for lunch").
constexpr QStringView leadingEnglishVerbs[]
    = { u"bought", u"buy", u"paid", u"pay", u"got", u"spent", u"spend", u"purchased", u"ordered" };
// English words that leave a phrase dangling at its end ("coding for", "uber at").
constexpr QStringView trailingEnglishWords[]
    = { u"for", u"at", u"on", u"in", u"of", u"to", u"with", u"from", u"by", u"and", u"the", u"a", u"s" };
// Verbs that say only how a thing was had ("住 酒店", "坐 903 路"), dropped when they stand alone
// before what they are about.
constexpr QStringView bareVerbs[] = { u"住", u"坐", u"租", u"办", u"修", u"打", u"看" };

template<size_t N> bool isOneOf(const QString& word, const QStringView (&list)[N])
{
    for (QStringView w : list) {
        if (word.compare(QStringView(w), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

QString withoutLe(const QString& word)
{
    QString out;
    out.reserve(word.size());
    for (qsizetype i = 0; i < word.size(); ++i) {
        if (word.at(i) == u'了' && !(i + 1 < word.size() && word.at(i + 1) == u'解'))
            continue;
        out.append(word.at(i));
    }
    return out;
}

template<size_t N> bool stripPrefix(QString& word, const QStringView (&list)[N], qsizetype keepAtLeast)
{
    for (QStringView w : list) {
        const QStringView prefix(w);
        if (word.startsWith(prefix) && word.size() - prefix.size() >= keepAtLeast) {
            word.remove(0, prefix.size());
            return true;
        }
    }
    return false;
}

template<size_t N> bool stripSuffix(QString& word, const QStringView (&list)[N], qsizetype keepAtLeast)
{
    for (QStringView w : list) {
        const QStringView suffix(w);
        if (word.endsWith(suffix) && word.size() - suffix.size() >= keepAtLeast) {
            word.chop(suffix.size());
            return true;
        }
    }
    return false;
}

bool isEmptyWord(const QString& word)
{
    for (QStringView w : emptyWords) {
        if (word == QStringView(w))
            return true;
    }
    return false;
}

} // namespace

bool ContentWords::stripLeadingVerb(QString& word) const
{
    for (QStringView w : leadingVerbs) {
        const QStringView verb(w);
        if (!word.startsWith(verb) || word.size() - verb.size() < 2)
            continue;
        // "交通卡" and "充电器" begin with a word of their own, not with a verb.
        if (m_lexicon.financeWordLengthAt(word.toLower()) > verb.size())
            return false;
        word.remove(0, verb.size());
        stripPrefix(word, countingWords, 2);
        return true;
    }
    return false;
}

// "买根", "买了件": a verb and its counting word, before the thing they count.
bool ContentWords::isVerbAndCounter(const QString& word) const
{
    for (QStringView w : leadingVerbs) {
        const QStringView verb(w);
        if (!word.startsWith(verb))
            continue;
        const QStringView rest = QStringView(word).mid(verb.size());
        if (rest.isEmpty())
            return true;
        for (QStringView counter : countingWords) {
            if (rest == QStringView(counter))
                return true;
        }
    }
    return isOneOf(word, bareVerbs);
}

QString ContentWords::cleanWord(const QString& raw, bool startsPhrase) const
{
    QString word = withoutLe(raw).trimmed();
    if (isEmptyWord(word))
        return {};
    // "洗衣服洗了", "打扫卫生打扫了": the verb said again before its length collapses.
    if (m_role == Role::activity) {
        for (qsizetype n : { 2, 1 }) {
            if (word.size() >= n + 2 && chars::isCjk(word.front()) && word.endsWith(QStringView(word).left(n))) {
                word.chop(n);
                break;
            }
        }
    }
    bool verbTaken = false;
    for (bool changed = true; changed;) {
        changed = false;
        if (startsPhrase && stripPrefix(word, leadingFunctionWords, 0))
            changed = true;
        if (!startsPhrase && word.startsWith(u'的') && word.size() > 1) {
            word.remove(0, 1);
            changed = true;
        }
        if (m_role == Role::description && !verbTaken && stripLeadingVerb(word))
            changed = verbTaken = true;
        if (m_role == Role::description && stripSuffix(word, trailingWords, 1))
            changed = true;
        if (m_role == Role::description && stripSuffix(word, trailingVerbs, 2))
            changed = true;
        if (m_role == Role::activity && stripSuffix(word, trailingActivityWords, 2))
            changed = true;
        if (stripSuffix(word, trailingParticles, 1))
            changed = true;
        if (isEmptyWord(word))
            return {};
    }
    return word;
}

QString ContentWords::phrase(const QList<Chunk>& chunks) const
{
    QList<Chunk> cleaned = clean(chunks);
    if (m_role == Role::description) {
        // Only a one-character verb glues to its object across a count ("加了 40 升油" → 加油).
        for (qsizetype i = 0; i < cleaned.size(); ++i) {
            const QString& before = i > 0 ? cleaned.at(i - 1).text : QString();
            cleaned[i].gluedToPrevious = cleaned.at(i).gluedToPrevious && before.size() == 1;
        }
    }
    return joinChunks(cleaned);
}

QList<Chunk> ContentWords::clean(const QList<Chunk>& chunks) const
{
    QList<Chunk> out;
    for (qsizetype i = 0; i < chunks.size(); ++i) {
        const Chunk& chunk = chunks.at(i);
        Chunk cleaned = chunk;
        cleaned.text = cleanWord(chunk.text, out.isEmpty());
        // "the essay", "bought shoes": what opens an English phrase without naming anything.
        if (out.isEmpty()
            && (isOneOf(chunk.text, leadingEnglishWords)
                || (m_role == Role::description && isOneOf(chunk.text, leadingEnglishVerbs))))
            continue;
        // A description that starts with a bare verb ("买了根 USB-C 数据线") keeps only the thing.
        const bool more = i + 1 < chunks.size() && !chunks.at(i + 1).gluedToPrevious;
        if (m_role == Role::description && out.isEmpty() && more && isVerbAndCounter(withoutLe(chunk.text)))
            continue;
        if (!cleaned.text.isEmpty())
            out.append(cleaned);
    }
    while (!out.isEmpty() && isOneOf(out.back().text, trailingEnglishWords))
        out.removeLast();
    return out;
}

} // namespace language

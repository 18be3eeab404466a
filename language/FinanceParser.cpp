#include "FinanceParser.h"

#include "AmountScanner.h"
#include "BookingShape.h"
#include "ContentWords.h"
#include "Numerals.h"

#include <algorithm>
#include <cmath>

namespace language {

namespace {

double roundCents(double value)
{
    return std::round(value * 100.0) / 100.0;
}

// Marks a total marker that stands before an amount; returns the position after it, or -1.
qsizetype takeTotalMarker(MarkedText& text)
{
    for (QStringView word :
        { u"一共是", u"一共", u"总共", u"总计", u"合计", u"共计", u"总额", u"总价", u"共", u"total" }) {
        qsizetype from = 0;
        while (true) {
            const qsizetype at = text.findFree(word, from);
            if (at < 0)
                break;
            from = at + 1;
            const qsizetype next = text.skipSpaces(at + word.size());
            if (next >= text.size())
                continue;
            const QChar c = text.folded().at(next);
            const bool amountFollows = chars::isDigit(c) || isChineseNumeral(c) || AmountScanner::prefixAt(text, next)
                || c == u'花' || c == u'是';
            if (!amountFollows)
                continue;
            text.mark(at, word.size(), Mark::marker);
            return at + word.size();
        }
    }
    return -1;
}

QList<Chunk> chunksBetween(const QList<Chunk>& chunks, qsizetype from, qsizetype to)
{
    QList<Chunk> out;
    for (const Chunk& chunk : chunks) {
        if (chunk.pos >= from && chunk.pos + chunk.len <= to)
            out.append(chunk);
    }
    return out;
}

bool isLatinWord(const QString& word)
{
    return !word.isEmpty() && std::all_of(word.cbegin(), word.cend(), [](QChar c) { return chars::isLatin(c); });
}

// "超市买牛奶": the shop before the verb, the item after it.
std::pair<QString, QString> splitAtPurchase(const QString& label)
{
    for (QStringView verb : { u"买了", u"买" }) {
        const qsizetype at = label.indexOf(verb);
        if (at > 0 && at + verb.size() < label.size())
            return { label.left(at), label.mid(at + verb.size()) };
    }
    return { QString(), label };
}

} // namespace

FinanceParse FinanceParser::parse(QStringView sentence) const
{
    return parse(SentenceScan::of(sentence, m_context));
}

FinanceParse FinanceParser::parse(const SentenceScan& scan) const
{
    FinanceParse out;
    const Lexicon& lexicon = m_context.words();
    const QDate today = m_context.today();
    out.date = today;
    out.currency = m_context.defaultCurrency;
    if (scan.text.text().trimmed().isEmpty()) {
        out.problem = FinanceProblem::emptySentence;
        return out;
    }

    MarkedText text = scan.text;
    if (scan.when.day)
        out.date = *scan.when.day;
    out.spender = scan.spender;
    const qsizetype totalEnd = takeTotalMarker(text);
    QList<AmountMention> amounts = scan.amounts;

    const ContentWords words(lexicon, ContentWords::Role::description);
    auto finishCategory = [&] {
        // The description joins what a count split apart ("加了 40 升油" → 加油).
        auto match = lexicon.matchFinance(text.freeFolded());
        if (!match)
            match = lexicon.matchFinance(out.description.toLower());
        if (match) {
            out.category = match->category;
            out.kind = match->kind;
        } else {
            out.category = Lexicon::otherExpense();
            out.kind = EntryKind::expense;
        }
        return out.category != Lexicon::otherExpense();
    };

    // Numbers that are not money go back to the words around them.
    auto dropAmounts = [&] {
        for (const AmountMention& m : amounts)
            text.mark(m.pos, m.len, Mark::free);
        amounts.clear();
    };
    const std::optional<FinanceProblem>& refusal = scan.refusal;
    const BookingShape::Evidence evidence = scan.evidence;
    if (evidence == BookingShape::Evidence::none)
        dropAmounts();
    if (amounts.isEmpty()) {
        out.problem = refusal.value_or(FinanceProblem::noAmount);
        out.description = words.phrase(text.freeChunks());
        finishCategory();
        return out;
    }

    std::optional<AmountMention> total;
    if (totalEnd >= 0) {
        for (qsizetype i = 0; i < amounts.size(); ++i) {
            if (amounts.at(i).pos >= totalEnd) {
                total = amounts.takeAt(i);
                break;
            }
        }
    }
    // A number glued to a word ("iphone15") is a name when there are prices beside it.
    if (amounts.size() + (total ? 1 : 0) > 1) {
        for (qsizetype i = amounts.size() - 1; i >= 0; --i) {
            if (amounts.at(i).gluedToWord) {
                text.mark(amounts.at(i).pos, amounts.at(i).len, Mark::free);
                amounts.removeAt(i);
            }
        }
    }

    // How sure the reading starts out: a currency word or a word of the lexicon settles that a
    // number is money; a verb of paying or a neighbouring word only suggests it.
    double confidence = 0.95;
    if (evidence == BookingShape::Evidence::verb)
        confidence = 0.8;
    else if (evidence == BookingShape::Evidence::thing)
        confidence = 0.7;
    auto currencyOf = [&](const QList<AmountMention>& mentions) {
        for (const AmountMention& m : mentions) {
            if (m.explicitCurrency)
                return m.currency;
        }
        return mentions.isEmpty() ? m_context.defaultCurrency : mentions.front().currency;
    };

    bool itemised = false;
    if (amounts.size() > 1) {
        const QList<Chunk> chunks = text.freeChunks();
        QList<FinanceItem> items;
        QList<Chunk> shop;
        qsizetype previousEnd = -1;
        for (qsizetype k = 0; k < amounts.size(); ++k) {
            const AmountMention& price = amounts.at(k);
            QList<Chunk> segment = chunksBetween(chunks, previousEnd, price.pos);
            previousEnd = price.pos + price.len;
            if (segment.isEmpty()) {
                items.clear();
                break;
            }
            QString label;
            if (k == 0) {
                // The first item's name is the last word before its price; a name in Latin
                // letters may be several words ("Uber Eats 32.4 小费 3").
                QList<Chunk> name { segment.takeLast() };
                while (!segment.isEmpty() && isLatinWord(segment.back().text) && isLatinWord(name.front().text))
                    name.prepend(segment.takeLast());
                shop = segment;
                label = joinChunks(name);
            } else {
                label = joinChunks(segment);
            }
            auto [shopWord, name] = splitAtPurchase(label);
            if (!shopWord.isEmpty() && k == 0) {
                Chunk chunk;
                chunk.text = shopWord;
                shop.append(chunk);
            }
            name = words.cleanWord(name, true);
            if (name.isEmpty()) {
                items.clear();
                break;
            }
            items.append(FinanceItem { name, roundCents(price.value) });
        }
        if (items.size() == amounts.size()) {
            itemised = true;
            const qsizetype lastEnd = amounts.back().pos + amounts.back().len;
            shop += chunksBetween(chunks, lastEnd, text.size());
            double sum = 0;
            for (const FinanceItem& item : items)
                sum += item.amount;
            out.items = items;
            out.amount = roundCents(total ? total->value : sum);
            QList<AmountMention> all = amounts;
            if (total)
                all.prepend(*total);
            out.currency = currencyOf(all);
            out.description = words.phrase(shop);
            if (out.description.isEmpty()) {
                QStringList names;
                for (const FinanceItem& item : items)
                    names.append(item.name);
                out.description = names.join(u'、');
            }
        }
    }

    if (!itemised) {
        AmountMention chosen = amounts.isEmpty() ? *total : amounts.back();
        if (total) {
            chosen = *total;
        } else if (amounts.size() > 1) {
            confidence -= 0.25;
            for (const AmountMention& m : amounts) {
                if (m.explicitCurrency) {
                    chosen = m;
                    break;
                }
            }
        }
        // The numbers not taken belong to the words around them ("iphone 15").
        for (const AmountMention& m : amounts) {
            if (m.pos != chosen.pos)
                text.mark(m.pos, m.len, Mark::free);
        }
        out.amount = roundCents(chosen.value);
        out.currency = chosen.currency;
        // "一共 33" after "牛奶 5 刀 ...": the total takes the currency said beside its parts.
        if (total && !total->explicitCurrency)
            out.currency = currencyOf(amounts + QList<AmountMention> { *total });
        out.description = words.phrase(text.freeChunks());
        if (chosen.gluedToWord)
            confidence -= 0.2;
    }

    if (!finishCategory())
        confidence -= 0.3;
    if (out.description.isEmpty())
        confidence -= 0.15;
    out.confidence = roundCents(qBound(0.05, confidence, 1.0));
    return out;
}

} // namespace language

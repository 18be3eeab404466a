#include "Lexicon.h"

#include "MarkedText.h"

#include <algorithm>

namespace language {

const Lexicon& Lexicon::builtIn()
{
    static const Lexicon defaults = buildDefaults();
    return defaults;
}

Lexicon Lexicon::withDefaults()
{
    return builtIn();
}

void Lexicon::insert(WordIndex& index, Word word)
{
    word.keyword = word.keyword.trimmed().toLower();
    if (word.keyword.isEmpty())
        return;
    word.latinWord = std::all_of(word.keyword.cbegin(), word.keyword.cend(),
        [](QChar c) { return chars::isLatin(c) || c == u' ' || c == u'-'; });
    QList<Word>& bucket = index[word.keyword.front()];
    // A household row replaces a built-in row of the same keyword.
    bucket.removeIf([&](const Word& w) { return w.keyword == word.keyword && w.weight <= word.weight; });
    const auto at = std::find_if(
        bucket.begin(), bucket.end(), [&](const Word& w) { return w.keyword.size() < word.keyword.size(); });
    bucket.insert(at, word);
}

void Lexicon::addFinanceWord(const QString& keyword, const QString& category, EntryKind kind, int weight)
{
    addFinanceCategory(category, kind);
    insert(m_finance, Word { keyword, category, kind, weight, false });
}

void Lexicon::addTimeWord(const QString& keyword, const QString& category, int weight)
{
    if (!m_timeCategories.contains(category))
        m_timeCategories.append(category);
    insert(m_time, Word { keyword, category, EntryKind::expense, weight, false });
}

void Lexicon::addFinanceCategory(const QString& name, EntryKind kind)
{
    if (name.isEmpty())
        return;
    if (!m_categoryKinds.contains(name))
        m_categoryOrder.append(name);
    m_categoryKinds.insert(name, kind);
}

template<class OnMatch> void Lexicon::scan(const WordIndex& index, QStringView folded, OnMatch onMatch)
{
    qsizetype pos = 0;
    while (pos < folded.size()) {
        const auto bucket = index.constFind(folded.at(pos));
        qsizetype advance = 1;
        if (bucket != index.cend()) {
            for (const Word& word : *bucket) {
                qsizetype end = pos + word.keyword.size();
                if (end > folded.size() || folded.mid(pos, word.keyword.size()) != word.keyword)
                    continue;
                if (word.latinWord) {
                    if (pos > 0 && chars::isLatin(folded.at(pos - 1)))
                        continue;
                    // A plural of an English word is the same word.
                    for (QStringView plural : { u"es", u"s" }) {
                        const qsizetype after = end + plural.size();
                        if (folded.mid(end, plural.size()) == plural
                            && (after >= folded.size() || !chars::isLatin(folded.at(after)))) {
                            end = after;
                            break;
                        }
                    }
                    if (end < folded.size() && chars::isLatin(folded.at(end)))
                        continue;
                }
                onMatch(word, pos);
                advance = end - pos;
                break;
            }
        }
        pos += advance;
    }
}

namespace {

template<class Word> std::optional<CategoryMatch> bestOf(const QList<std::pair<const Word*, qsizetype>>& hits)
{
    QList<CategoryMatch> totals;
    for (const auto& [word, at] : hits) {
        auto it = std::find_if(
            totals.begin(), totals.end(), [&](const CategoryMatch& m) { return m.category == word->category; });
        if (it == totals.end())
            totals.append(CategoryMatch { word->category, word->kind, word->weight, at });
        else
            it->score += word->weight;
    }
    if (totals.isEmpty())
        return std::nullopt;
    return *std::min_element(totals.cbegin(), totals.cend(), [](const CategoryMatch& a, const CategoryMatch& b) {
        return a.score != b.score ? a.score > b.score : a.firstAt < b.firstAt;
    });
}

} // namespace

std::optional<CategoryMatch> Lexicon::matchFinance(QStringView folded) const
{
    QList<std::pair<const Word*, qsizetype>> hits;
    scan(m_finance, folded, [&](const Word& word, qsizetype at) { hits.append({ &word, at }); });
    auto best = bestOf<Word>(hits);
    if (best)
        best->kind = kindOf(best->category);
    return best;
}

qsizetype Lexicon::wordLengthAt(const WordIndex& index, QStringView folded)
{
    if (folded.isEmpty())
        return 0;
    const auto bucket = index.constFind(folded.front());
    if (bucket == index.cend())
        return 0;
    for (const Word& word : *bucket) {
        if (folded.startsWith(word.keyword))
            return word.keyword.size();
    }
    return 0;
}

qsizetype Lexicon::financeWordLengthAt(QStringView folded) const
{
    return wordLengthAt(m_finance, folded);
}

qsizetype Lexicon::timeWordLengthAt(QStringView folded) const
{
    return wordLengthAt(m_time, folded);
}

std::optional<QString> Lexicon::matchTime(QStringView folded) const
{
    QList<std::pair<const Word*, qsizetype>> hits;
    scan(m_time, folded, [&](const Word& word, qsizetype at) { hits.append({ &word, at }); });
    const auto best = bestOf<Word>(hits);
    if (!best)
        return std::nullopt;
    return best->category;
}

} // namespace language

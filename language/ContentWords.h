#pragma once

// What is left of a sentence once dates, clocks, amounts and payers are taken out, cleaned into
// a short description ("交了这个月的房租 2000" → "房租") or an activity ("刚才开了两个小时会" → "开会").
//
// Cleaning removes 了 and trims words that carry no content where they stand:
// - function words (在, 去, 和, 的, 刚才 ...) at the very start of the phrase: "一起去超市" is 超市,
//   while "Uber 去机场" keeps its destination;
// - for descriptions, a leading verb of paying or eating when a real word follows ("吃火锅" →
//   "火锅", "买了件外套" → "外套") but not when the verb begins a word of its own (交通卡, 充电器)
//   and not when one character would be left (吃饭, 买菜 stay);
// - trailing particles and 到账 ("工资到账" → "工资").
// A chunk that is nothing but such a word disappears.

#include "Lexicon.h"
#include "MarkedText.h"

#include <QList>
#include <QString>

namespace language {

class ContentWords {
public:
    enum class Role { description, activity };

    ContentWords(const Lexicon& lexicon, Role role)
        : m_lexicon(lexicon)
        , m_role(role)
    {
    }

    // Cleaned chunks, empty ones removed.
    QList<Chunk> clean(const QList<Chunk>& chunks) const;
    // The cleaned chunks joined into one phrase. An activity glues a verb back to its object
    // when only a taken-out duration stood between them ("开了[两个小时]会" → "开会"); a
    // description keeps the pieces apart ("报销了[上个月]的打车费" → "报销 打车费").
    QString phrase(const QList<Chunk>& chunks) const;
    // One word cleaned; `startsPhrase` when nothing stands before it.
    QString cleanWord(const QString& word, bool startsPhrase) const;

private:
    bool stripLeadingVerb(QString& word) const;
    bool isVerbAndCounter(const QString& word) const;

    const Lexicon& m_lexicon;
    Role m_role;
};

} // namespace language

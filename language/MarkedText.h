#pragma once

// A sentence prepared for scanning: character widths normalised (full-width Latin, digits and
// colons become ASCII; Chinese commas and full stops stay), a lower-cased copy for matching,
// and one mark per character saying which scanner took it. Scanners only look at free
// characters and mark what they recognise, so what is left at the end is the sentence's
// content words: the description of a booking, the activity of a time block.
// Normalisation keeps every position, so marks, folded text and original text line up.

#include <QList>
#include <QString>
#include <QStringView>

namespace language {

enum class Mark : quint8 {
    free,
    date, // a day or a range of days
    period, // 上午, 晚上 ...
    clock, // 9点, 9:30, ranges
    duration, // 1 小时, 半小时
    amount, // a number with its currency
    quantity, // 2 张, 两晚, 5 公里, 18%: counted or measured things, not money
    code, // phone-like digit groups and labelled numbers (尾号 6789): never money, never content
    identifier, // P60, ECON10004, Xbox 360: a name with digits, kept whole in the phrase
    ordinal, // 第 7 章, 2nd: a position, kept in the phrase
    spender, // a member's name or a word for both
    marker, // a word that did its job (一共, 开始, 刚才 ...)
};

// Marks whose characters still belong to the sentence's content words.
inline bool isContent(Mark mark)
{
    return mark == Mark::free || mark == Mark::identifier || mark == Mark::ordinal;
}

// A run of free characters between spaces, punctuation and marked characters.
struct Chunk {
    qsizetype pos = 0;
    qsizetype len = 0;
    QString text; // original letter case
    // True when only marked characters (no space, no punctuation) stand between this chunk and
    // the one before: "开了[两个小时]会" reads as one phrase once the duration is taken out.
    bool gluedToPrevious = false;
};

namespace chars {
inline bool isCjk(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 0x4E00 && u <= 0x9FFF) || (u >= 0x3400 && u <= 0x4DBF);
}
inline bool isLatin(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z');
}
inline bool isDigit(QChar c)
{
    return c.unicode() >= '0' && c.unicode() <= '9';
}
// Spaces and punctuation that end a chunk. '-' and '/' count only where they do not join two
// letters or digits ("hi-fi", "7-11" stay whole).
bool isSeparator(QStringView text, qsizetype pos);
// Index of `needle` in `hay` at or after `from`, -1 when absent. A plain scan: sentences are
// short, and the library's search pays a set-up cost on every call that outweighs the search.
qsizetype find(QStringView hay, QStringView needle, qsizetype from = 0);

// Which characters a text holds, folded into 64 bits: a word with a character the text lacks
// cannot be in it, which spares most of the searches through the word lists.
class Mask {
public:
    Mask() = default;
    explicit Mask(QStringView text)
    {
        for (QChar c : text)
            m_bits |= bit(c);
    }
    bool mayContain(QStringView word) const
    {
        for (QChar c : word) {
            if (!(m_bits & bit(c)))
                return false;
        }
        return true;
    }

private:
    static quint64 bit(QChar c)
    {
        const char16_t u = c.unicode();
        return quint64(1) << ((u ^ (u >> 6)) & 63);
    }
    quint64 m_bits = 0;
};
} // namespace chars

class MarkedText {
public:
    explicit MarkedText(QStringView raw);

    const QString& text() const { return m_text; }
    const QString& folded() const { return m_folded; }
    const chars::Mask& mask() const { return m_mask; }
    qsizetype size() const { return m_text.size(); }

    bool isFree(qsizetype pos, qsizetype len = 1) const;
    Mark markAt(qsizetype pos) const { return m_marks.at(pos); }
    void mark(qsizetype pos, qsizetype len, Mark kind);

    // First free occurrence of `needle` (lower-case) at or after `from`; -1 when none.
    // A needle made of Latin letters only matches as a whole word.
    qsizetype findFree(QStringView needle, qsizetype from = 0) const;
    // Finds and marks `needle`; true when it was there.
    bool take(QStringView needle, Mark kind);
    bool startsWithAt(qsizetype pos, QStringView needle) const;
    // Index of the next character at or after `pos` that is not a space (size() when none).
    qsizetype skipSpaces(qsizetype pos) const;
    // Index just after the last non-space character before `pos` (0 when none).
    qsizetype skipSpacesBack(qsizetype pos) const;

    // Runs of content: free characters, and identifiers and ordinals whole (spaces included).
    QList<Chunk> freeChunks() const;
    // The sentence with every character that is not content replaced by a space, lower-cased:
    // what keyword lexicons look at, so that "11月3日" or "50块" never feed a category.
    QString freeFolded() const;

private:
    QString m_text;
    QString m_folded;
    chars::Mask m_mask;
    QList<Mark> m_marks;
};

// Joins chunks into one phrase: glued CJK neighbours without a space, the rest with one.
QString joinChunks(const QList<Chunk>& chunks);

} // namespace language

#include "MarkedText.h"

namespace language {

namespace chars {

bool isSeparator(QStringView text, qsizetype pos)
{
    const QChar c = text.at(pos);
    if (c.isSpace())
        return true;
    if (c == u'-' || c == u'/') {
        auto alnum = [](QChar x) { return isLatin(x) || isDigit(x); };
        const bool before = pos > 0 && alnum(text.at(pos - 1));
        const bool after = pos + 1 < text.size() && alnum(text.at(pos + 1));
        return !(before && after);
    }
    static constexpr char16_t separators[] = u",.;:!?~/|\"'()[]<>、，。；：！？…“”‘’（）【】《》「」";
    for (char16_t s : separators) {
        if (s == 0)
            break;
        if (c.unicode() == s)
            return true;
    }
    return false;
}

qsizetype find(QStringView hay, QStringView needle, qsizetype from)
{
    const qsizetype n = needle.size();
    if (n == 0)
        return -1;
    const QChar* h = hay.data();
    const QChar* w = needle.data();
    for (qsizetype i = qMax<qsizetype>(from, 0); i + n <= hay.size(); ++i) {
        if (h[i] != w[0])
            continue;
        qsizetype k = 1;
        while (k < n && h[i + k] == w[k])
            ++k;
        if (k == n)
            return i;
    }
    return -1;
}

} // namespace chars

namespace {

QChar normaliseWidth(QChar c)
{
    const char16_t u = c.unicode();
    if (u == 0x3000)
        return QChar(u' ');
    if (u == 0xFFE5)
        return QChar(u'¥');
    if (u == 0x2014 || u == 0x2013)
        return QChar(u'-');
    // Full-width ASCII, except the Chinese comma: "5，200" must not read as five thousand two hundred.
    if (u >= 0xFF01 && u <= 0xFF5E && u != 0xFF0C)
        return QChar(char16_t(u - 0xFEE0));
    return c;
}

} // namespace

MarkedText::MarkedText(QStringView raw)
{
    m_text.reserve(raw.size());
    m_folded.reserve(raw.size());
    for (QChar c : raw) {
        const QChar n = normaliseWidth(c);
        m_text.append(n);
        m_folded.append(chars::isLatin(n) ? n.toLower() : n);
    }
    m_mask = chars::Mask(m_folded);
    m_marks = QList<Mark>(m_text.size(), Mark::free);
}

bool MarkedText::isFree(qsizetype pos, qsizetype len) const
{
    if (pos < 0 || len < 0 || pos + len > size())
        return false;
    for (qsizetype i = pos; i < pos + len; ++i) {
        if (m_marks.at(i) != Mark::free)
            return false;
    }
    return true;
}

void MarkedText::mark(qsizetype pos, qsizetype len, Mark kind)
{
    for (qsizetype i = qMax<qsizetype>(0, pos); i < qMin(size(), pos + len); ++i)
        m_marks[i] = kind;
}

qsizetype MarkedText::findFree(QStringView needle, qsizetype from) const
{
    if (needle.isEmpty() || !m_mask.mayContain(needle))
        return -1;
    bool latinWord = true;
    for (QChar c : needle)
        latinWord = latinWord && (chars::isLatin(c) || c == u' ');
    qsizetype at = chars::find(m_folded, needle, from);
    while (at >= 0) {
        bool ok = isFree(at, needle.size());
        if (ok && latinWord) {
            const qsizetype end = at + needle.size();
            ok = (at == 0 || !chars::isLatin(m_folded.at(at - 1)))
                && (end >= size() || !chars::isLatin(m_folded.at(end)));
        }
        if (ok)
            return at;
        at = chars::find(m_folded, needle, at + 1);
    }
    return -1;
}

bool MarkedText::take(QStringView needle, Mark kind)
{
    const qsizetype at = findFree(needle);
    if (at < 0)
        return false;
    mark(at, needle.size(), kind);
    return true;
}

bool MarkedText::startsWithAt(qsizetype pos, QStringView needle) const
{
    return pos >= 0 && pos + needle.size() <= size() && QStringView(m_folded).mid(pos, needle.size()) == needle;
}

qsizetype MarkedText::skipSpaces(qsizetype pos) const
{
    while (pos < size() && m_text.at(pos).isSpace())
        ++pos;
    return pos;
}

qsizetype MarkedText::skipSpacesBack(qsizetype pos) const
{
    while (pos > 0 && m_text.at(pos - 1).isSpace())
        --pos;
    return pos;
}

QList<Chunk> MarkedText::freeChunks() const
{
    QList<Chunk> chunks;
    qsizetype i = 0;
    bool sawSeparator = true;
    bool sawPunctuation = true;
    // A span kept whole: its spaces do not cut it ("第 7 章", "Xbox 360").
    auto inWholeSpan = [&](qsizetype at) { return m_marks.at(at) != Mark::free; };
    while (i < size()) {
        if (!isContent(m_marks.at(i))) {
            ++i;
            continue;
        }
        if (chars::isSeparator(m_text, i) && !inWholeSpan(i)) {
            sawSeparator = true;
            sawPunctuation = sawPunctuation || !m_text.at(i).isSpace();
            ++i;
            continue;
        }
        const qsizetype start = i;
        while (i < size() && isContent(m_marks.at(i)) && (!chars::isSeparator(m_text, i) || inWholeSpan(i)))
            ++i;
        Chunk chunk;
        chunk.pos = start;
        chunk.len = i - start;
        chunk.text = m_text.mid(start, chunk.len);
        // "开了 1 小时车": a word stuck to the span taken out still continues the phrase before it.
        const bool stuckToSpan = start > 0 && !isContent(m_marks.at(start - 1)) && !m_text.at(start - 1).isSpace();
        chunk.gluedToPrevious = !chunks.isEmpty() && (!sawSeparator || (!sawPunctuation && stuckToSpan));
        chunks.append(chunk);
        sawSeparator = false;
        sawPunctuation = false;
    }
    return chunks;
}

QString MarkedText::freeFolded() const
{
    QString out = m_folded;
    for (qsizetype i = 0; i < size(); ++i) {
        if (!isContent(m_marks.at(i)))
            out[i] = u' ';
    }
    return out;
}

QString joinChunks(const QList<Chunk>& chunks)
{
    QString out;
    for (const Chunk& chunk : chunks) {
        if (chunk.text.isEmpty())
            continue;
        if (!out.isEmpty()) {
            const bool glue = chunk.gluedToPrevious && chars::isCjk(out.back()) && chars::isCjk(chunk.text.front());
            if (!glue)
                out.append(u' ');
        }
        out.append(chunk.text);
    }
    return out;
}

} // namespace language

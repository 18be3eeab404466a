#include "SpenderScanner.h"

namespace language {

namespace {

constexpr QStringView sharedWords[] = { u"我们俩", u"咱们俩", u"我俩", u"咱俩", u"我们", u"咱们", u"一起", u"一块儿",
    u"一块去", u"一块吃", u"aa制", u"aa", u"平摊", u"分摊", u"平分", u"均摊", u"一人一半", u"俩人", u"两个人",
    u"both of us", u"split", u"shared", u"together", u"we" };
// A member after these is paid for or paid to.
constexpr QStringView beneficiaryWords[]
    = { u"转账给", u"转给", u"借给", u"还给", u"给", u"帮", u"替", u"送", u"请", u"for", u"to" };
// A member after these was there too.
constexpr QStringView companionWords[] = { u"和", u"跟", u"与", u"同", u"with" };

// Start of one of `words` ending right before `pos` (spaces skipped), or -1.
qsizetype wordEndingAt(const MarkedText& text, qsizetype pos, const auto& words)
{
    const qsizetype end = text.skipSpacesBack(pos);
    for (QStringView w : words) {
        const QStringView word(w);
        const qsizetype start = end - word.size();
        if (start < 0 || !text.startsWithAt(start, word) || !text.isFree(start, word.size()))
            continue;
        if (chars::isLatin(word.front()) && start > 0 && chars::isLatin(text.folded().at(start - 1)))
            continue; // "auto", "bandwith": not the word itself
        return start;
    }
    return -1;
}

} // namespace

QString SpenderScanner::scan(MarkedText& text) const
{
    bool isShared = false;
    for (QStringView word : sharedWords) {
        while (text.take(QStringView(word), Mark::spender))
            isShared = true;
    }

    QString named;
    for (const QString& member : m_members) {
        const QString needle = member.toLower();
        qsizetype from = 0;
        while (true) {
            const qsizetype at = text.findFree(needle, from);
            if (at < 0)
                break;
            from = at + needle.size();
            if (wordEndingAt(text, at, beneficiaryWords) >= 0)
                continue;
            if (const qsizetype with = wordEndingAt(text, at, companionWords); with >= 0) {
                text.mark(with, at + needle.size() - with, Mark::spender);
                isShared = true;
                continue;
            }
            text.mark(at, needle.size(), Mark::spender);
            if (named.isEmpty())
                named = member;
        }
    }
    if (isShared)
        return shared();
    return named;
}

} // namespace language

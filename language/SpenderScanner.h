#pragma once

// Who paid. A member named in the sentence ("Sefa 买咖啡", "sefa 的药") paid; words for both of
// us (我们, 一起, AA, 平摊, "和 Sefa") make it "shared"; a member after 给/帮/送/转给 is the one
// paid for, not the payer, and stays in the description. Nobody named: the speaker (empty).

#include "MarkedText.h"

#include <QString>
#include <QStringList>

namespace language {

class SpenderScanner {
public:
    explicit SpenderScanner(QStringList members)
        : m_members(std::move(members))
    {
    }

    static QString shared() { return QStringLiteral("shared"); }

    // Finds and marks the payer's words; returns "shared", a member's name, or empty.
    QString scan(MarkedText& text) const;

private:
    QStringList m_members;
};

} // namespace language

#pragma once

#include <QDate>
#include <QString>

namespace lumen::agent {

// How the built-in agent writes figures, days and periods in its replies and cards.
class ReplyText {
public:
    // "A$1,234.50", "¥30.00", "$5.00"; another code stands before the figure.
    static QString money(double amount, const QString& currency);
    // "45m", "2h", "1h30m".
    static QString duration(double minutes);
    // "今天", "昨天", "前天", or "11月3日".
    static QString day(QDate day, QDate today);
    // "今天", "本周", "上周", "本月", "上个月", "5月", "今年", or "11月1日至11月9日".
    static QString period(QDate from, QDate to, QDate today);
    // "09:00–11:00".
    static QString clockRange(const QString& start, const QString& end);
};

} // namespace lumen::agent

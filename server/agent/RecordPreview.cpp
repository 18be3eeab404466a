#include "RecordPreview.h"

#include "ReplyText.h"

#include "services/LocalClock.h"

namespace lumen::agent {

namespace {

QString textIn(const wire::AnyDict& payload, const char* key)
{
    const auto found = payload.find(QString::fromLatin1(key));
    return found == payload.end() ? QString() : found->second.displayText();
}

} // namespace

QString RecordPreview::shortDay(const QString& date)
{
    const auto day = LocalClock::parseDay(date);
    return day ? QStringLiteral("%1月%2日").arg(day->month()).arg(day->day()) : date;
}

QString RecordPreview::line(const wire::Transaction& line)
{
    QString preview = QStringLiteral("%1 %2").arg(line.category.value_or(QStringLiteral("其他")),
        ReplyText::money(line.amount, line.currency.value_or(QStringLiteral("AUD"))));
    if (line.desc && !line.desc->isEmpty())
        preview += QStringLiteral(" · ") + *line.desc;
    return preview + QStringLiteral(" · ") + shortDay(line.date);
}

QString RecordPreview::entry(const wire::TimeEntry& entry)
{
    QString preview = entry.activity;
    if (entry.end_time)
        preview += u' ' + ReplyText::clockRange(entry.start_time, *entry.end_time);
    if (entry.duration_min)
        preview += QStringLiteral("（%1）").arg(ReplyText::duration(*entry.duration_min));
    return preview + QStringLiteral(" · ") + shortDay(entry.date);
}

QString RecordPreview::payload(const QString& domain, const wire::AnyDict& payload)
{
    if (domain == QLatin1String("time")) {
        return QStringLiteral("%1 %2 · %3")
            .arg(textIn(payload, "activity"),
                ReplyText::clockRange(textIn(payload, "start_time"), textIn(payload, "end_time")),
                shortDay(textIn(payload, "date")));
    }
    const auto amount = payload.find(QStringLiteral("amount"));
    const double figure = amount == payload.end() ? 0 : amount->second.doubleValue().value_or(0);
    QString preview = QStringLiteral("%1 %2").arg(
        textIn(payload, "category"), ReplyText::money(figure, textIn(payload, "currency")));
    if (const QString description = textIn(payload, "description"); !description.isEmpty())
        preview += QStringLiteral(" · ") + description;
    return preview + QStringLiteral(" · ") + shortDay(textIn(payload, "date"));
}

QString RecordPreview::proposal(const wire::PendingItem& item)
{
    if (item.domain == QLatin1String("time")) {
        return QStringLiteral("%1 %2（待确认）")
            .arg(textIn(item.payload, "activity"),
                ReplyText::clockRange(textIn(item.payload, "start_time"), textIn(item.payload, "end_time")));
    }
    const auto amount = item.payload.find(QStringLiteral("amount"));
    const double figure = amount == item.payload.end() ? 0 : amount->second.doubleValue().value_or(0);
    return QStringLiteral("%1 %2（待确认）")
        .arg(textIn(item.payload, "category"), ReplyText::money(figure, textIn(item.payload, "currency")));
}

} // namespace lumen::agent

#include "TimeDomain.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

bool isDecimal(const QString& text)
{
    return !text.isEmpty()
        && std::all_of(text.begin(), text.end(), [](QChar c) { return c.isDigit() && c.unicode() < 128; });
}

std::vector<AppShare> jsonBreakdown(const QString& note)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(note.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return {};
    std::vector<AppShare> shares;
    const QJsonObject object = document.object();
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!it.value().isDouble())
            continue;
        const double value = std::trunc(it.value().toDouble());
        if (!std::isfinite(value) || std::abs(value) > double(std::numeric_limits<int>::max()))
            continue;
        shares.push_back({ it.key(), int(value) });
    }
    std::stable_sort(shares.begin(), shares.end(), [](const AppShare& a, const AppShare& b) { return a.pct > b.pct; });
    return shares;
}

// "VS Code 60% · Safari 30%" or "VS Code 60%/Safari 30%": pieces that do not read are skipped.
std::vector<AppShare> legacyBreakdown(QString note)
{
    note.replace(QStringLiteral("·"), QStringLiteral("/"));
    std::vector<AppShare> shares;
    const QStringList pieces = note.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString& rawPiece : pieces) {
        const QString piece = rawPiece.trimmed();
        const qsizetype percent = piece.indexOf(QLatin1Char('%'));
        if (percent < 0)
            continue;
        const QString head = piece.left(percent);
        qsizetype space = head.size() - 1;
        while (space >= 0 && !head.at(space).isSpace())
            --space;
        if (space < 0)
            continue;
        const QString app = head.left(space).trimmed();
        const QString number = head.mid(space + 1).trimmed();
        bool ok = false;
        const int pct = number.toInt(&ok, 10);
        if (!ok)
            continue;
        shares.push_back({ app, pct });
    }
    return shares;
}

} // namespace

QString timeHM(double minutes)
{
    const double rounded = std::isfinite(minutes) ? std::round(minutes) : 0.0;
    const long long total = rounded <= 0 ? 0 : static_cast<long long>(std::min(rounded, 1e15));
    if (total <= 59)
        return QStringLiteral("%1m").arg(total);
    const long long hours = total / 60;
    const long long rest = total % 60;
    if (rest == 0)
        return QStringLiteral("%1h").arg(hours);
    return QStringLiteral("%1h%2m").arg(hours).arg(rest);
}

std::optional<int> parseHM(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char(':'));
    if (parts.size() < 2 || !isDecimal(parts[0]) || !isDecimal(parts[1]))
        return std::nullopt;
    bool hoursOk = false;
    bool minutesOk = false;
    const qlonglong hours = parts[0].toLongLong(&hoursOk);
    const qlonglong minutes = parts[1].toLongLong(&minutesOk);
    if (!hoursOk || !minutesOk || hours > 23 || minutes > 59)
        return std::nullopt;
    return int(hours * 60 + minutes);
}

std::vector<AppShare> appBreakdown(const std::optional<QString>& rawNote)
{
    if (!rawNote || rawNote->trimmed().isEmpty())
        return {};
    const QString note = rawNote->trimmed();
    std::vector<AppShare> shares = jsonBreakdown(note);
    if (shares.empty())
        shares = legacyBreakdown(note);
    return shares;
}

std::vector<AppShare> appBreakdown(const wire::TimeEntry& entry)
{
    return appBreakdown(entry.raw_note);
}

std::optional<QString> appBreakdownText(const wire::TimeEntry& entry)
{
    const std::vector<AppShare> shares = appBreakdown(entry);
    if (shares.empty())
        return std::nullopt;
    QStringList parts;
    for (std::size_t i = 0; i < shares.size() && i < 3; ++i)
        parts << QStringLiteral("%1 %2%").arg(shares[i].app).arg(shares[i].pct);
    return parts.join(QStringLiteral(" · "));
}

std::vector<wire::TimeEntry> dedupedByID(std::vector<wire::TimeEntry> entries)
{
    QSet<int> seen;
    std::vector<wire::TimeEntry> out;
    out.reserve(entries.size());
    for (auto& entry : entries) {
        if (seen.contains(entry.id))
            continue;
        seen.insert(entry.id);
        out.push_back(std::move(entry));
    }
    return out;
}

wire::TimeEntry applyPatch(const wire::TimeEntry& entry, const wire::TimeEntryUpdateRequest& request)
{
    wire::TimeEntry copy = entry;
    copy.date = request.date.value_or(entry.date);
    copy.start_time = request.start_time.value_or(entry.start_time);
    if (request.end_time)
        copy.end_time = request.end_time;
    copy.activity = request.activity.value_or(entry.activity);
    if (request.category_id)
        copy.category_id = request.category_id;
    copy.confirmed = request.confirmed.value_or(entry.confirmed);
    if (request.rest_quality)
        copy.rest_quality = request.rest_quality;
    copy.raw_note.reset();
    copy.place.reset();
    return copy;
}

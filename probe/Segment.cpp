#include "Segment.h"

#include "time/TimeDomainModels.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr int kMaxActivityLength = 200;
const QString kOffscreen = QStringLiteral("离屏");
const QString kIdleApp = QStringLiteral("空闲");

// Both ends round to the nearest minute, so neighbouring segments still meet exactly.
QDateTime roundedToMinute(const QDateTime& at, const QTimeZone& zone)
{
    const QDateTime local = at.addSecs(30).toTimeZone(zone);
    return QDateTime(local.date(), QTime(local.time().hour(), local.time().minute()), zone);
}

QString activityOf(const Segment& segment)
{
    if (segment.offscreen)
        return kOffscreen;
    const QString app = segment.appName.trimmed();
    const QString title = segment.title.trimmed();
    if (title.isEmpty() || title == app)
        return app.left(kMaxActivityLength);
    return (app + QStringLiteral(" · ") + title).left(kMaxActivityLength);
}

QString breakdownOf(const Segment& segment)
{
    if (segment.offscreen)
        return QStringLiteral("{\"%1\":100}").arg(kIdleApp);
    qint64 total = 0;
    for (const auto& [app, ms] : segment.appMs)
        total += ms;
    QJsonObject shares;
    if (total <= 0) {
        shares.insert(segment.appName, 100);
    } else {
        for (const auto& [app, ms] : segment.appMs) {
            const int pct = int(std::lround(100.0 * double(ms) / double(total)));
            if (pct > 0)
                shares.insert(app, pct);
        }
    }
    return QString::fromUtf8(QJsonDocument(shares).toJson(QJsonDocument::Compact));
}

} // namespace

wire::TimeManualRequest segmentRequest(const Segment& segment, const QTimeZone& zone)
{
    const QDateTime start = roundedToMinute(segment.start, zone);
    const QDateTime end = roundedToMinute(segment.end, zone);
    wire::TimeManualRequest request;
    request.date = start.date().toString(QStringLiteral("yyyy-MM-dd"));
    request.start_time = start.time().toString(QStringLiteral("HH:mm"));
    request.end_time = end.time().toString(QStringLiteral("HH:mm"));
    request.activity = activityOf(segment);
    request.source = QStringLiteral("mac-sensor");
    request.raw_note = breakdownOf(segment);
    return request;
}

#include "HealthWriter.h"

#include "PrivateFile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

// The client reads instants in the internet form without fractions.
QString instant(const QDateTime& at)
{
    return at.toUTC().toString(Qt::ISODate);
}

} // namespace

HealthWriter::HealthWriter(QString path)
    : m_path(std::move(path))
{
}

QString HealthWriter::defaultPath(const QString& homeDir)
{
    return homeDir + QStringLiteral("/.cache/focus-probe/health.json");
}

QByteArray HealthWriter::encode(const HealthReport& report)
{
    QJsonObject health;
    health.insert(QStringLiteral("updated_at"), instant(report.updatedAt));
    health.insert(QStringLiteral("bundle_id"), report.window ? report.window->appClass : QString());
    health.insert(QStringLiteral("app_name"), report.window ? report.window->appName : QString());
    health.insert(QStringLiteral("window_title_available"), report.titleReadable);
    // What the desktop lets the sensor see: here, whether a display names its active window.
    health.insert(QStringLiteral("accessibility_trusted"), report.windowReadable);
    if (report.idleSec)
        health.insert(QStringLiteral("idle_sec"), *report.idleSec);
    health.insert(QStringLiteral("sample_interval_sec"), report.sampleIntervalSec);
    if (report.liveSegment) {
        const Segment& segment = *report.liveSegment;
        QJsonObject live;
        live.insert(QStringLiteral("start_at"), instant(segment.start));
        live.insert(QStringLiteral("updated_at"), instant(segment.end));
        live.insert(QStringLiteral("duration_sec"), qint64(segment.lengthSec()));
        live.insert(QStringLiteral("app_name"), segment.offscreen ? QStringLiteral("离屏") : segment.appName);
        live.insert(QStringLiteral("window_title"), segment.title);
        live.insert(QStringLiteral("bucket"), QStringLiteral("未归类"));
        live.insert(QStringLiteral("is_offscreen"), segment.offscreen);
        health.insert(QStringLiteral("live_segment"), live);
    }
    health.insert(QStringLiteral("idle_available"), report.idleReadable);
    health.insert(QStringLiteral("queue_waiting"), report.waitingSegments);
    health.insert(QStringLiteral("queue_refused"), report.refusedSegments);
    health.insert(QStringLiteral("problems"), QJsonArray::fromStringList(report.problems));
    return QJsonDocument(health).toJson(QJsonDocument::Indented);
}

bool HealthWriter::write(const HealthReport& report)
{
    const QString error = writePrivateFile(m_path, encode(report));
    m_problem = error.isEmpty() ? QString() : QStringLiteral("无法写入状态文件 %1：%2").arg(m_path, error);
    return error.isEmpty();
}

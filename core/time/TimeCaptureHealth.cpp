#include "TimeCaptureHealth.h"

#include "TimeDomain.h"

#include <QFile>
#include <QRegularExpression>

#include <cmath>

namespace {

const QStringList selfBundleIDs { QStringLiteral("me.velmar311.VelmarOS"), QStringLiteral("com.velmar.focus-probe") };
const QStringList selfAppNames { QStringLiteral("Velmar OS"), QStringLiteral("Velmar OS Dev"),
    QStringLiteral("focus-probe") };

// The internet date-time form without fractions: "2026-11-21T09:30:00Z" or with an offset.
std::optional<QDateTime> parseInternetDateTime(const QString& text)
{
    static const QRegularExpression form(QStringLiteral(R"(^\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}(Z|[+-]\d{2}:\d{2})$)"));
    if (!form.match(text).hasMatch())
        return std::nullopt;
    const QDateTime parsed = QDateTime::fromString(text, Qt::ISODate);
    if (!parsed.isValid())
        return std::nullopt;
    return parsed;
}

} // namespace

QString TimeCaptureLiveSegment::displayBucket(const QString& bundleID) const
{
    const QString trimmed = bucket.trimmed();
    if (!trimmed.isEmpty() && trimmed != QStringLiteral("未归类"))
        return trimmed;
    return isAmbiguousMessaging(bundleID, appName) ? QStringLiteral("通讯待确认") : QStringLiteral("待确认分类");
}

TimeCaptureLiveSegment TimeCaptureLiveSegment::fromJson(const wire::ObjectReader& in)
{
    TimeCaptureLiveSegment segment;
    segment.startAt = in.required<QString>(QStringLiteral("start_at"));
    segment.updatedAt = in.required<QString>(QStringLiteral("updated_at"));
    segment.durationSec = in.required<int>(QStringLiteral("duration_sec"));
    segment.appName = in.required<QString>(QStringLiteral("app_name"));
    segment.windowTitle = in.required<QString>(QStringLiteral("window_title"));
    segment.bucket = in.required<QString>(QStringLiteral("bucket"));
    segment.categoryID = in.optional<int>(QStringLiteral("category_id"));
    segment.isOffscreen = in.required<bool>(QStringLiteral("is_offscreen"));
    return segment;
}

void TimeCaptureLiveSegment::writeJson(wire::ObjectWriter& out) const
{
    out.set(QStringLiteral("start_at"), startAt)
        .set(QStringLiteral("updated_at"), updatedAt)
        .set(QStringLiteral("duration_sec"), durationSec)
        .set(QStringLiteral("app_name"), appName)
        .set(QStringLiteral("window_title"), windowTitle)
        .set(QStringLiteral("bucket"), bucket)
        .set(QStringLiteral("category_id"), categoryID)
        .set(QStringLiteral("is_offscreen"), isOffscreen);
}

QString TimeCaptureHealth::filePath(const QString& homeDir)
{
    return homeDir + QStringLiteral("/.cache/focus-probe/health.json");
}

std::optional<TimeCaptureHealth> TimeCaptureHealth::load(const QString& homeDir)
{
    QFile file(filePath(homeDir));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    try {
        return wire::fromBytes<TimeCaptureHealth>(file.readAll());
    } catch (...) {
        return std::nullopt;
    }
}

bool TimeCaptureHealth::isFresh(const QDateTime& now) const
{
    const auto written = parseInternetDateTime(updatedAt);
    if (!written)
        return false;
    return written->msecsTo(now) <= 180 * 1000;
}

bool TimeCaptureHealth::isSelfForeground() const
{
    return selfBundleIDs.contains(bundleID) || selfAppNames.contains(appName);
}

bool TimeCaptureHealth::isLoginWindow() const
{
    return bundleID == QStringLiteral("com.apple.loginwindow") || appName == QStringLiteral("loginwindow");
}

TimeCaptureHealth TimeCaptureHealth::fromJson(const wire::ObjectReader& in)
{
    TimeCaptureHealth health;
    health.updatedAt = in.required<QString>(QStringLiteral("updated_at"));
    health.bundleID = in.required<QString>(QStringLiteral("bundle_id"));
    health.appName = in.required<QString>(QStringLiteral("app_name"));
    health.windowTitleAvailable = in.required<bool>(QStringLiteral("window_title_available"));
    health.accessibilityTrusted = in.required<bool>(QStringLiteral("accessibility_trusted"));
    health.idleSec = in.optional<int>(QStringLiteral("idle_sec"));
    health.sampleIntervalSec = in.optional<double>(QStringLiteral("sample_interval_sec"));
    health.liveSegment = in.optional<TimeCaptureLiveSegment>(QStringLiteral("live_segment"));
    return health;
}

void TimeCaptureHealth::writeJson(wire::ObjectWriter& out) const
{
    out.set(QStringLiteral("updated_at"), updatedAt)
        .set(QStringLiteral("bundle_id"), bundleID)
        .set(QStringLiteral("app_name"), appName)
        .set(QStringLiteral("window_title_available"), windowTitleAvailable)
        .set(QStringLiteral("accessibility_trusted"), accessibilityTrusted)
        .set(QStringLiteral("idle_sec"), idleSec)
        .set(QStringLiteral("sample_interval_sec"), sampleIntervalSec)
        .set(QStringLiteral("live_segment"), liveSegment);
}

bool isAmbiguousMessaging(const QString& bundleID, const QString& appName)
{
    static const QStringList bundlePrefixes { QStringLiteral("com.tencent.xinwechat"),
        QStringLiteral("com.tencent.weworkmac"), QStringLiteral("ru.keepcoder.telegram"),
        QStringLiteral("org.telegram.desktop"), QStringLiteral("com.apple.mobilesms"),
        QStringLiteral("com.hnc.discord") };
    static const QStringList nameParts { QStringLiteral("微信"), QStringLiteral("企业微信"), QStringLiteral("telegram"),
        QStringLiteral("discord"), QStringLiteral("messages") };
    const QString bundle = bundleID.toLower();
    for (const QString& prefix : bundlePrefixes) {
        if (bundle.startsWith(prefix))
            return true;
    }
    const QString name = appName.toLower();
    for (const QString& part : nameParts) {
        if (name.contains(part))
            return true;
    }
    return false;
}

TimeCaptureHealthIssue captureHealthIssue(const std::optional<TimeCaptureHealth>& health, const QDateTime& now)
{
    if (!health)
        return TimeCaptureHealthIssue::notConnected;
    if (!health->isFresh(now))
        return TimeCaptureHealthIssue::notRefreshed;
    if (!health->accessibilityTrusted)
        return TimeCaptureHealthIssue::permissionMissing;
    return TimeCaptureHealthIssue::none;
}

TimeCaptureIssueWords captureIssueWords(TimeCaptureHealthIssue issue)
{
    switch (issue) {
    case TimeCaptureHealthIssue::notConnected:
        return { QStringLiteral("采集器未连接"),
            QStringLiteral("尚未读到 focus-probe health.json；通常是 Velmar Focus Probe "
                           "未运行或刚启动，还不是辅助功能开关问题。"),
            QStringLiteral("未读到状态文件；先重启采集器，不是系统权限问题。") };
    case TimeCaptureHealthIssue::notRefreshed:
        return { QStringLiteral("采集器未刷新"),
            QStringLiteral("focus-probe 最近没有刷新 health.json，通常是 Velmar Focus Probe "
                           "未运行或刚重启，和辅助功能开关无关。"),
            QStringLiteral("状态文件停止刷新；先重启采集器，不用重复打开权限。") };
    case TimeCaptureHealthIssue::permissionMissing:
        return { QStringLiteral("辅助功能权限未生效"),
            QStringLiteral("系统设置 System Settings → 隐私与安全性 Privacy & Security → 辅助功能 "
                           "Accessibility，确认 focus-probe / Velmar Focus Probe "
                           "已打开；如果已经打开，点重启采集器刷新授权状态。"),
            QStringLiteral("系统设置 System Settings → 隐私与安全性 Privacy & Security → 辅助功能 Accessibility。") };
    case TimeCaptureHealthIssue::none:
        break;
    }
    return {};
}

QString passiveCaptureDetail(const TimeCaptureHealth& health, const QString& fallback)
{
    if (!health.liveSegment)
        return fallback;
    const TimeCaptureLiveSegment& segment = *health.liveSegment;
    const double minutes = std::max(0.0, std::round(segment.durationSec / 60.0));
    const QString compact = timeHM(minutes);
    if (segment.isOffscreen)
        return QStringLiteral("已离屏 %1 · 不计入时间账本").arg(compact);
    QString detail = QStringLiteral("待写入 %1").arg(compact);
    const QString bucket = segment.displayBucket(health.bundleID).trimmed();
    if (!bucket.isEmpty() && bucket != segment.appName)
        detail += QStringLiteral(" · ") + bucket;
    else if (!fallback.isEmpty())
        detail += QStringLiteral(" · ") + fallback;
    return detail;
}

QString captureFallbackDetail(const TimeCaptureHealth& health)
{
    if (health.liveSegment && !health.liveSegment->isOffscreen)
        return health.liveSegment->displayBucket(health.bundleID);
    if (!health.idleSec)
        return QStringLiteral("输入状态未知");
    if (*health.idleSec < 60)
        return QStringLiteral("输入刚刚");
    return QStringLiteral("输入 %1m 前").arg(*health.idleSec / 60);
}

PassiveCaptureStatus passiveCaptureStatus(
    bool firstLoadDone, const std::optional<TimeCaptureHealth>& health, const QDateTime& now)
{
    using Tone = PassiveCaptureStatus::Tone;
    const QString warningSymbol = QStringLiteral("exclamationmark.triangle.fill");
    if (!firstLoadDone)
        return { QStringLiteral("自动采集检查中"), QStringLiteral("正在读取 Velmar Focus Probe 状态"),
            QStringLiteral("circle.dotted"), Tone::gray400 };
    if (!health)
        return { QStringLiteral("自动采集器未连接"), QStringLiteral("Velmar Focus Probe 未运行，或刚启动还没写入状态"),
            warningSymbol, Tone::warning };
    if (!health->isFresh(now))
        return { QStringLiteral("自动采集器未刷新"),
            QStringLiteral("Velmar Focus Probe 可能已停止，和辅助功能开关无关"), warningSymbol, Tone::warning };
    if (!health->accessibilityTrusted)
        return { QStringLiteral("自动采集权限未生效"),
            QStringLiteral("系统设置 System Settings → 隐私与安全性 Privacy & Security → 辅助功能 Accessibility"),
            warningSymbol, Tone::warning };
    // A segment's own flag outranks the idle time, both ways.
    const bool offscreen
        = health->liveSegment ? health->liveSegment->isOffscreen : (health->idleSec && *health->idleSec >= 900);
    if (offscreen)
        return { QStringLiteral("离屏检测中"), passiveCaptureDetail(*health, QStringLiteral("超过 15 分钟无键鼠输入")),
            QStringLiteral("moon.zzz.fill"), Tone::gray500 };
    if (health->isSelfForeground())
        return { QStringLiteral("自动采集待机"), QStringLiteral("Velmar OS 自身不计入时间"),
            QStringLiteral("pause.circle.fill"), Tone::gray500 };
    if (health->isLoginWindow())
        return { QStringLiteral("自动采集待机"), QStringLiteral("系统登录窗口不计入时间"), QStringLiteral("lock.fill"),
            Tone::gray500 };
    const QString app = health->appName.isEmpty() ? QStringLiteral("当前应用") : health->appName;
    return { QStringLiteral("自动采集中：%1").arg(app), passiveCaptureDetail(*health, captureFallbackDetail(*health)),
        QStringLiteral("dot.radiowaves.left.and.right"), Tone::income };
}

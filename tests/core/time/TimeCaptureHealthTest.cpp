#include "time/TimeCaptureHealth.h"
#include "time/ServiceManager.h"

#include "AwaitTask.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QDateTime now(QDate(2026, 11, 21), QTime(9, 30), Qt::UTC);

TimeCaptureHealth freshHealth()
{
    TimeCaptureHealth health;
    health.updatedAt = QStringLiteral("2026-11-21T09:29:50Z");
    health.bundleID = QStringLiteral("org.gnome.Terminal");
    health.appName = QStringLiteral("Terminal");
    health.windowTitleAvailable = true;
    health.accessibilityTrusted = true;
    return health;
}

TimeCaptureLiveSegment segment(int durationSec, QString bucket, bool offscreen, QString appName = "Terminal")
{
    TimeCaptureLiveSegment live;
    live.startAt = QStringLiteral("2026-11-21T09:00:00Z");
    live.updatedAt = QStringLiteral("2026-11-21T09:29:50Z");
    live.durationSec = durationSec;
    live.appName = std::move(appName);
    live.bucket = std::move(bucket);
    live.isOffscreen = offscreen;
    return live;
}

void writeFile(const QString& home, const QByteArray& bytes)
{
    QDir().mkpath(home + "/.cache/focus-probe");
    QFile file(TimeCaptureHealth::filePath(home));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

// A stand-in for systemctl: notes its arguments and exits with the given status.
QString recordingScript(const QTemporaryDir& dir, int status)
{
    const QString path = dir.filePath(QStringLiteral("service-manager"));
    QFile script(path);
    if (!script.open(QIODevice::WriteOnly))
        return {};
    script.write(QStringLiteral("#!/bin/sh\necho \"$@\" > \"%1\"\nexit %2\n")
                     .arg(dir.filePath(QStringLiteral("called")))
                     .arg(status)
                     .toUtf8());
    script.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    return path;
}

} // namespace

// The sensor's health file and every judgement made from it.
class TimeCaptureHealthTest : public QObject {
    Q_OBJECT

private slots:
    void freshness_data()
    {
        QTest::addColumn<QString>("updatedAt");
        QTest::addColumn<bool>("fresh");
        QTest::newRow("180 s old is fresh") << "2026-11-21T09:27:00Z" << true;
        QTest::newRow("181 s old is not") << "2026-11-21T09:26:59Z" << false;
        QTest::newRow("the future counts as fresh") << "2026-11-21T10:30:00Z" << true;
        QTest::newRow("an offset is read") << "2026-11-21T20:29:00+11:00" << true;
        QTest::newRow("fractional seconds do not parse") << "2026-11-21T09:29:59.500Z" << false;
        QTest::newRow("no zone does not parse") << "2026-11-21T09:29:59" << false;
        QTest::newRow("garbage") << "yesterday" << false;
    }
    void freshness()
    {
        QFETCH(QString, updatedAt);
        QFETCH(bool, fresh);
        TimeCaptureHealth health = freshHealth();
        health.updatedAt = updatedAt;
        QCOMPARE(health.isFresh(now), fresh);
    }

    void loading_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("loads");
        const QByteArray base
            = R"("updated_at":"2026-11-21T09:29:50Z","bundle_id":"x","app_name":"X","window_title_available":true,"accessibility_trusted":true)";
        QTest::newRow("minimal") << QByteArray("{" + base + "}") << true;
        QTest::newRow("extra keys are ignored") << QByteArray("{" + base + R"(,"pid":42,"version":"2"})") << true;
        QTest::newRow("a required key missing") << QByteArray(R"({"updated_at":"2026-11-21T09:29:50Z"})") << false;
        QTest::newRow("a key of the wrong type") << QByteArray("{" + base + R"(,"idle_sec":"long"})") << false;
        QTest::newRow("a live segment without its bucket fails the whole file") << QByteArray("{" + base
            + R"(,"live_segment":{"start_at":"a","updated_at":"b","duration_sec":5,"app_name":"X","window_title":"","is_offscreen":false}})")
                                                                                << false;
        QTest::newRow("not JSON") << QByteArray("{half") << false;
        QTest::newRow("empty") << QByteArray() << false;
    }
    void loading()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, loads);
        QTemporaryDir home;
        writeFile(home.path(), bytes);
        QCOMPARE(TimeCaptureHealth::load(home.path()).has_value(), loads);
    }

    void displayBucket_data()
    {
        QTest::addColumn<QString>("bucket");
        QTest::addColumn<QString>("bundleID");
        QTest::addColumn<QString>("appName");
        QTest::addColumn<QString>("shown");
        QTest::newRow("unclassified Safari") << "未归类"
                                             << "com.apple.Safari"
                                             << "Safari"
                                             << "待确认分类";
        QTest::newRow("blank bucket, Telegram by name") << "  "
                                                        << "org.example.tg"
                                                        << "Telegram Desktop"
                                                        << "通讯待确认";
        QTest::newRow("a bucket is trimmed") << " coding\n"
                                             << "com.microsoft.VSCode"
                                             << "Code"
                                             << "coding";
    }
    void displayBucket()
    {
        QFETCH(QString, bucket);
        QFETCH(QString, bundleID);
        QFETCH(QString, appName);
        QFETCH(QString, shown);
        QCOMPARE(segment(60, bucket, false, appName).displayBucket(bundleID), shown);
    }

    void issues_data()
    {
        QTest::addColumn<bool>("present");
        QTest::addColumn<QString>("updatedAt");
        QTest::addColumn<bool>("trusted");
        QTest::addColumn<int>("issue");
        QTest::newRow("no record") << false << "" << true << int(TimeCaptureHealthIssue::notConnected);
        QTest::newRow("stale goes before the permission")
            << true << "2026-11-21T09:00:00Z" << false << int(TimeCaptureHealthIssue::notRefreshed);
        QTest::newRow("fresh without permission")
            << true << "2026-11-21T09:29:50Z" << false << int(TimeCaptureHealthIssue::permissionMissing);
        QTest::newRow("all well") << true << "2026-11-21T09:29:50Z" << true << int(TimeCaptureHealthIssue::none);
    }
    void issues()
    {
        QFETCH(bool, present);
        QFETCH(QString, updatedAt);
        QFETCH(bool, trusted);
        QFETCH(int, issue);
        std::optional<TimeCaptureHealth> health;
        if (present) {
            health = freshHealth();
            health->updatedAt = updatedAt;
            health->accessibilityTrusted = trusted;
        }
        QCOMPARE(int(captureHealthIssue(health, now)), issue);
    }

    void passiveStatus_data()
    {
        QTest::addColumn<QVariant>("health");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("detail");
        QTest::addColumn<QString>("symbol");

        auto row = [](const char* name, const TimeCaptureHealth& health, const char* title, const char* detail,
                       const char* symbol) {
            QTest::newRow(name) << QVariant::fromValue(wire::toJson(health)) << QString::fromUtf8(title)
                                << QString::fromUtf8(detail) << QString::fromUtf8(symbol);
        };
        TimeCaptureHealth active = freshHealth();
        active.idleSec = 5000;
        active.liveSegment = segment(330, "coding", false);
        row("a live segment on screen outranks a long idle", active, "自动采集中：Terminal", "待写入 6m · coding",
            "dot.radiowaves.left.and.right");

        TimeCaptureHealth idle = freshHealth();
        idle.idleSec = 899;
        row("idle just under the threshold", idle, "自动采集中：Terminal", "输入 14m 前",
            "dot.radiowaves.left.and.right");

        TimeCaptureHealth sensor = freshHealth();
        sensor.bundleID = QStringLiteral("com.velmar.focus-probe");
        row("the sensor itself", sensor, "自动采集待机", "Velmar OS 自身不计入时间", "pause.circle.fill");

        TimeCaptureHealth nameless = freshHealth();
        nameless.appName.clear();
        row("an app without a name", nameless, "自动采集中：当前应用", "输入状态未知", "dot.radiowaves.left.and.right");
    }
    void passiveStatus()
    {
        QFETCH(QVariant, health);
        QFETCH(QString, title);
        QFETCH(QString, detail);
        QFETCH(QString, symbol);
        const auto record = wire::fromJson<TimeCaptureHealth>(health.value<QJsonValue>());
        const PassiveCaptureStatus status = passiveCaptureStatus(true, record, now);
        QCOMPARE(status.title, title);
        QCOMPARE(status.detail, detail);
        QCOMPARE(status.symbol, symbol);
    }

    void statusBeforeTheFirstRead()
    {
        QCOMPARE(passiveCaptureStatus(false, freshHealth(), now).title, QStringLiteral("自动采集检查中"));
        QCOMPARE(passiveCaptureStatus(true, std::nullopt, now).tone, PassiveCaptureStatus::Tone::warning);
    }

    void pendingDetail_data()
    {
        QTest::addColumn<QString>("bucket");
        QTest::addColumn<QString>("fallback");
        QTest::addColumn<QString>("detail");
        QTest::newRow("a bucket equal to the app is not repeated") << "Terminal"
                                                                   << ""
                                                                   << "待写入 5m";
        QTest::newRow("then the fallback follows") << "Terminal"
                                                   << "输入刚刚"
                                                   << "待写入 5m · 输入刚刚";
        QTest::newRow("a bucket of its own") << "阅读"
                                             << "输入刚刚"
                                             << "待写入 5m · 阅读";
    }
    void pendingDetail()
    {
        QFETCH(QString, bucket);
        QFETCH(QString, fallback);
        QFETCH(QString, detail);
        TimeCaptureHealth health = freshHealth();
        health.liveSegment = segment(290, bucket, false);
        QCOMPARE(passiveCaptureDetail(health, fallback), detail);
    }

    void fallbackDetailByIdleTime_data()
    {
        QTest::addColumn<int>("idle");
        QTest::addColumn<QString>("detail");
        QTest::newRow("59 s") << 59 << "输入刚刚";
        QTest::newRow("60 s") << 60 << "输入 1m 前";
        QTest::newRow("179 s truncates") << 179 << "输入 2m 前";
    }
    void fallbackDetailByIdleTime()
    {
        QFETCH(int, idle);
        QFETCH(QString, detail);
        TimeCaptureHealth health = freshHealth();
        health.idleSec = idle;
        QCOMPARE(captureFallbackDetail(health), detail);
    }

    void restartAsksTheServiceManager_data()
    {
        QTest::addColumn<int>("exitStatus");
        QTest::addColumn<bool>("succeeded");
        QTest::newRow("success") << 0 << true;
        QTest::newRow("refused") << 5 << false;
    }
    void restartAsksTheServiceManager()
    {
        QFETCH(int, exitStatus);
        QFETCH(bool, succeeded);
        QTemporaryDir dir;
        const SystemServiceManager::Command real = SystemServiceManager::restartCommand();
        SystemServiceManager services({ recordingScript(dir, exitStatus), real.arguments });
        QCOMPARE(awaitTask(services.restartFocusProbe()), succeeded);
        QFile called(dir.filePath("called"));
        QVERIFY(called.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(called.readAll().trimmed()), real.arguments.join(QLatin1Char(' ')));
    }

    void restartWithoutTheServiceManagerFails()
    {
        SystemServiceManager services({ QStringLiteral("/nonexistent/systemctl"), { QStringLiteral("--user") } });
        QVERIFY(!awaitTask(services.restartFocusProbe()));
    }
};

QTEST_GUILESS_MAIN(TimeCaptureHealthTest)
#include "TimeCaptureHealthTest.moc"

#include "AwaitTask.h"
#include "ClientHarness.h"
#include "TestServer.h"

#include "shell/GlobalActivityBarModel.h"
#include "time/TimeCaptureHealth.h"
#include "time/TimeStore.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <qcoro/qcorosignal.h>

namespace {

const QString password = QStringLiteral("demo-pass-1");

RhythmFactory manualRhythms()
{
    return [](QObject* owner) { return new Rhythm(Rhythm::Mode::manual, owner); };
}

void writeHealth(const QString& home, const QString& updatedAt, bool trusted)
{
    TimeCaptureHealth health;
    health.updatedAt = updatedAt;
    health.bundleID = QStringLiteral("org.gnome.Terminal");
    health.appName = QStringLiteral("Terminal");
    health.windowTitleAvailable = true;
    health.accessibilityTrusted = trusted;
    health.idleSec = 5;
    QDir().mkpath(home + "/.cache/focus-probe");
    QFile file(TimeCaptureHealth::filePath(home));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(wire::toBytes(health));
}

// A service manager that answers when the test says so, to see the bar while it waits.
class HeldServiceManager final : public ServiceManager {
public:
    QCoro::Task<bool> restartFocusProbe() override
    {
        ++calls;
        co_await qCoro(&release, &QTimer::timeout);
        co_return true;
    }
    QTimer release;
    int calls = 0;
};

} // namespace

// The activity strip: its rhythms, its words for a running activity, and the sensor restart.
class ActivityBarModelTest : public QObject {
    Q_OBJECT

private slots:
    void clockWords_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("clock");
        QTest::newRow("under a minute") << qint64(59) << "0:59";
        QTest::newRow("last second under an hour") << qint64(3599) << "59:59";
        QTest::newRow("an hour") << qint64(3600) << "1:00:00";
        QTest::newRow("hours minutes seconds") << qint64(3725) << "1:02:05";
        QTest::newRow("a start in the future") << qint64(-20) << "0:00";
    }
    void clockWords()
    {
        QFETCH(qint64, seconds);
        QFETCH(QString, clock);
        QCOMPARE(GlobalActivityBarModel::elapsedClock(seconds), clock);
    }

    void subtitleWords_data()
    {
        QTest::addColumn<QString>("category");
        QTest::addColumn<QString>("start");
        QTest::addColumn<QString>("subtitle");
        const QString local = QDateTime(QDate(2026, 11, 21), QTime(8, 5)).toUTC().toString(Qt::ISODate);
        const QString localWithMs
            = QDateTime(QDate(2026, 11, 21), QTime(8, 5, 0, 250)).toUTC().toString(Qt::ISODateWithMs);
        QTest::newRow("with a category") << "工作" << local << "工作 · 起 08:05";
        QTest::newRow("fractional seconds read too") << "" << localWithMs << "起 08:05";
        QTest::newRow("an unreadable start") << "学习"
                                             << "soon"
                                             << "学习 · 起 —";
    }
    void subtitleWords()
    {
        QFETCH(QString, category);
        QFETCH(QString, start);
        QFETCH(QString, subtitle);
        const auto name = category.isEmpty() ? std::nullopt : std::optional<QString>(category);
        QCOMPARE(GlobalActivityBarModel::activitySubtitle(name, start), subtitle);
    }

    void healthRhythmRereadsTheFile()
    {
        ClientHarness client(QUrl("http://127.0.0.1:9"));
        client.clock().set(QDateTime(QDate(2026, 11, 21), QTime(9, 30), Qt::UTC));
        AppState app(client.deps());
        QTemporaryDir home;
        GlobalActivityBarModel bar(manualRhythms(), nullptr);
        bar.setHomeDir(home.path());
        bar.setAppState(&app);
        QCOMPARE(bar.currentRhythm()->interval(), std::chrono::milliseconds(8000));
        QCOMPARE(bar.healthRhythm()->interval(), std::chrono::milliseconds(15000));
        QCOMPARE(bar.statusTitle(), QStringLiteral("自动采集器未连接"));
        QCOMPARE(bar.issueTitle(), QStringLiteral("采集器未连接"));

        writeHealth(home.path(), "2026-11-21T09:29:50Z", false);
        QSignalSpy changed(&bar, &GlobalActivityBarModel::statusChanged);
        QCOMPARE(changed.count(), 0);
        bar.healthRhythm()->fire();
        QCOMPARE(bar.issueTitle(), QStringLiteral("辅助功能权限未生效"));
        QCOMPARE(changed.count(), 1);
        // The same record again redraws nothing.
        bar.healthRhythm()->fire();
        QCOMPARE(changed.count(), 1);
        // Time passes and the same record goes stale.
        client.clock().advance(300);
        bar.healthRhythm()->fire();
        QCOMPARE(changed.count(), 2);
        QCOMPARE(bar.statusTitle(), QStringLiteral("自动采集器未刷新"));
        QCOMPARE(bar.issueShortText(), QStringLiteral("状态文件停止刷新；先重启采集器，不用重复打开权限。"));
    }

    void runningActivityFromTheServer()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        ClientHarness otherDevice(server.baseUrl());
        AppState app(client.deps());
        AppState other(otherDevice.deps());
        awaitTask(app.login("velmar", password));
        awaitTask(other.login("velmar", password));
        GlobalActivityBarModel bar(manualRhythms(), nullptr);
        bar.setAppState(&app);
        QVERIFY(!bar.isRunning());

        // Started on another machine: the 8-second rhythm brings it here.
        const auto category = app.time()->categories().front();
        other.time()->start("读论文", category.id);
        QTRY_VERIFY(other.time()->currentMutationInFlight() == 0);
        bar.currentRhythm()->fire();
        QTRY_VERIFY(bar.isRunning());
        QCOMPARE(bar.activityTitle(), QStringLiteral("读论文"));
        QVERIFY2(bar.subtitle().startsWith(category.name + " · 起 "), qPrintable(bar.subtitle()));

        const QDateTime start
            = QDateTime::fromString(app.time()->current()->start_time.value_or(QString()), Qt::ISODate);
        client.clock().set(start.addSecs(65));
        bar.clockRhythm()->fire();
        QCOMPARE(bar.elapsedText(), QStringLiteral("1:05"));

        bar.stop();
        QVERIFY(!bar.isRunning());
        QTRY_VERIFY(app.time()->currentMutationInFlight() == 0);
        awaitTask(other.time()->refreshCurrent());
        QVERIFY(!other.time()->isRunning());
    }

    void restartHoldsTheButtonUntilTheAnswer()
    {
        ClientHarness client(QUrl("http://127.0.0.1:9"));
        client.clock().set(QDateTime(QDate(2026, 11, 21), QTime(9, 30), Qt::UTC));
        AppState app(client.deps());
        QTemporaryDir home;
        auto services = std::make_shared<HeldServiceManager>();
        services->release.setSingleShot(true);
        GlobalActivityBarModel bar(manualRhythms(), services);
        bar.setHomeDir(home.path());
        bar.setAppState(&app);

        bar.restartAgent();
        QVERIFY(bar.isRestartingAgent());
        bar.restartAgent();
        QCOMPARE(services->calls, 1);
        // The sensor comes back while the restart runs; the end of the restart reads it.
        writeHealth(home.path(), "2026-11-21T09:29:58Z", true);
        services->release.start(0);
        QTRY_VERIFY(!bar.isRestartingAgent());
        QVERIFY(!bar.hasIssue());
        QCOMPARE(bar.statusTitle(), QStringLiteral("自动采集中：Terminal"));
    }
};

QTEST_GUILESS_MAIN(ActivityBarModelTest)
#include "ActivityBarModelTest.moc"

#include "AwaitTask.h"
#include "ClientHarness.h"
#include "TestServer.h"

#include "shell/DashboardViewModel.h"
#include "shell/VelmarOSRootViewModel.h"
#include "time/TimeStore.h"

#include <QSignalSpy>
#include <QTest>

namespace {

const QString password = QStringLiteral("demo-pass-1");

QStringList rowTitles(const QVariantList& rows)
{
    QStringList out;
    for (const QVariant& row : rows)
        out << row.toMap().value("title").toString();
    return out;
}

QString selectedTitle(const QVariantList& rows)
{
    for (const QVariant& row : rows) {
        if (row.toMap().value("selected").toBool())
            return row.toMap().value("title").toString();
    }
    return {};
}

RhythmFactory manualRhythms()
{
    return [](QObject* owner) { return new Rhythm(Rhythm::Mode::manual, owner); };
}

} // namespace

// The shell's navigation rules and the home screen's words, over an AppState of a test client.
class ShellViewModelsTest : public QObject {
    Q_OBJECT

private slots:
    void routeTitle_data()
    {
        QTest::addColumn<QString>("organ");
        QTest::addColumn<QString>("sub");
        QTest::addColumn<QString>("title");
        QTest::newRow("sub the organ does not have") << "time"
                                                     << "nowhere"
                                                     << "时间";
        QTest::newRow("body keeps the raw value health") << "health"
                                                         << "overview"
                                                         << "身体 · 概览";
    }
    void routeTitle()
    {
        QFETCH(QString, organ);
        QFETCH(QString, sub);
        QFETCH(QString, title);
        const auto id = organs::fromRaw(organ);
        QVERIFY(id);
        QCOMPARE(VelmarOSRoute::organRoute(*id, sub).title(), title);
        QCOMPARE(VelmarOSRoute::home().title(), QStringLiteral("首页"));
        QCOMPARE(VelmarOSRoute::conversation().title(), QStringLiteral("会话"));
    }

    void sidebarHasTwoStates()
    {
        ClientHarness client(QUrl("http://127.0.0.1:9"));
        AppState app(client.deps());
        VelmarOSRootViewModel shell;
        shell.setAppState(&app);

        QCOMPARE(rowTitles(shell.sidebarRows()),
            QStringList({ "首页", "会话", "BOARDS", "财务", "时间", "日常", "墨大", "身体", "服务器" }));
        QCOMPARE(selectedTitle(shell.sidebarRows()), QStringLiteral("首页"));

        shell.activateRow("organ", "finance");
        QCOMPARE(shell.sub(), QStringLiteral("overview"));
        const QStringList inside = rowTitles(shell.sidebarRows());
        QCOMPARE(inside.first(), QStringLiteral("返回主菜单"));
        QCOMPARE(inside.mid(1),
            QStringList({ "概览", "账户", "流水", "分析", "资产", "待审", "预算", "分类", "导入", "导出", "设置" }));
        shell.activateRow("sub", "budget");
        QCOMPARE(shell.routeTitle(), QStringLiteral("财务 · 预算"));
        QCOMPARE(selectedTitle(shell.sidebarRows()), QStringLiteral("预算"));

        shell.activateRow("back", QString());
        QCOMPARE(shell.routeKind(), QStringLiteral("home"));

        // An organ without sub-screens keeps the root rows, with the organ marked.
        shell.activateRow("organ", "unimelb");
        QVERIFY(!shell.sidebarInOrgan());
        QCOMPARE(selectedTitle(shell.sidebarRows()), QStringLiteral("墨大"));
    }

    void navigationRequestsMoveTheShell()
    {
        ClientHarness client(QUrl("http://127.0.0.1:9"));
        AppState app(client.deps());
        // A request made before the shell exists is answered when it appears.
        app.navigate("time", "analysis");
        VelmarOSRootViewModel shell;
        shell.setAppState(&app);
        QCOMPARE(shell.routeTitle(), QStringLiteral("时间 · 分析"));
        QVERIFY(!app.hasNavIntent());

        // The same request twice: each takes effect, since each is cleared after use.
        app.navigate("reports", "viewer-monthly");
        QCOMPARE(shell.sub(), QStringLiteral("viewer-monthly"));
        shell.goHome();
        app.navigate("reports", "viewer-monthly");
        QCOMPARE(shell.routeKind(), QStringLiteral("organ"));
        QCOMPARE(shell.organRaw(), QStringLiteral("reports"));
    }

    void remindersLeadToTheReportViewer_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("sub");
        QTest::newRow("daily") << 0 << "viewer";
        QTest::newRow("monthly") << 2 << "viewer-monthly";
    }
    void remindersLeadToTheReportViewer()
    {
        QFETCH(int, row);
        QFETCH(QString, sub);
        ClientHarness client(QUrl("http://127.0.0.1:9"));
        AppState app(client.deps());
        VelmarOSRootViewModel shell;
        shell.setAppState(&app);
        DashboardViewModel dashboard(manualRhythms());
        dashboard.setAppState(&app);
        dashboard.openReminder(row);
        QCOMPARE(shell.organRaw(), QStringLiteral("reports"));
        QCOMPARE(shell.sub(), sub);
        QCOMPARE(shell.routeTitle(), QStringLiteral("日常 · 报告"));
    }

    void greetingFollowsTheHour_data()
    {
        QTest::addColumn<int>("hour");
        QTest::addColumn<QString>("text");
        QTest::newRow("0 is late night") << 0 << QStringLiteral("深夜好 — 早点睡");
        QTest::newRow("5 is morning") << 5
                                      << "早上好 ☀️ — 从底部 chatbar 录一笔，或点侧栏切板块";
        QTest::newRow("10 is still morning")
            << 10 << "早上好 ☀️ — 从底部 chatbar 录一笔，或点侧栏切板块";
        QTest::newRow("11 is noon") << 11 << "中午好 — 想记账还是看 dashboard？";
        QTest::newRow("13 is still noon") << 13 << "中午好 — 想记账还是看 dashboard？";
        QTest::newRow("14 is afternoon") << 14 << "下午好 — 继续干";
        QTest::newRow("17 is still afternoon") << 17 << "下午好 — 继续干";
        QTest::newRow("18 is evening") << 18 << "晚上好 🌙 — 今天的数据";
        QTest::newRow("22 is still evening") << 22 << "晚上好 🌙 — 今天的数据";
    }
    void greetingFollowsTheHour()
    {
        QFETCH(int, hour);
        QFETCH(QString, text);
        ClientHarness client(QUrl("http://127.0.0.1:9"));
        client.clock().set(QDateTime(QDate(2026, 11, 21), QTime(hour, 30)));
        AppState app(client.deps());
        DashboardViewModel dashboard(manualRhythms());
        dashboard.setAppState(&app);
        QCOMPARE(dashboard.welcomeSubtitle(), text);
    }

    void greetingChangesOnTheMinuteTick()
    {
        ClientHarness client(QUrl("http://127.0.0.1:9"));
        client.clock().set(QDateTime(QDate(2026, 11, 21), QTime(10, 59)));
        AppState app(client.deps());
        DashboardViewModel dashboard(manualRhythms());
        dashboard.setAppState(&app);
        QCOMPARE(dashboard.greetingRhythm()->interval(), std::chrono::milliseconds(60000));
        QSignalSpy changed(&dashboard, &DashboardViewModel::welcomeSubtitleChanged);
        client.clock().set(QDateTime(QDate(2026, 11, 21), QTime(11, 0)));
        QCOMPARE(changed.count(), 0);
        dashboard.greetingRhythm()->fire();
        QCOMPARE(changed.count(), 1);
        QCOMPARE(dashboard.welcomeSubtitle(), QStringLiteral("中午好 — 想记账还是看 dashboard？"));
    }

    void returningToTheWindowRefreshesOnce()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("velmar", password));
        VelmarOSRootViewModel shell;
        shell.setAppState(&app);

        client.clock().advance(600);
        QSignalSpy finished(&shell, &VelmarOSRootViewModel::refreshOnReturnFinished);
        shell.sceneBecameActive();
        QVERIFY(shell.isRefreshingOnReturn());
        // A second activation while the first runs starts nothing.
        shell.sceneBecameActive();
        QTRY_COMPARE(finished.count(), 1);
        QVERIFY(!shell.isRefreshingOnReturn());
        QCOMPARE(app.time()->state().lastRefreshedAt, client.clock().now());
    }
};

QTEST_GUILESS_MAIN(ShellViewModelsTest)
#include "ShellViewModelsTest.moc"

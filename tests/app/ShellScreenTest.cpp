#include "AwaitTask.h"
#include "ClientHarness.h"
#include "ScreenHarness.h"
#include "TestServer.h"

#include "relay/MintbridgeClient.h"
#include "relay/RelayBearerStore.h"
#include "time/TimeCaptureHealth.h"
#include "time/TimeStore.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "ImportQmlModules.h"

namespace {

const QString password = QStringLiteral("demo-pass-1");

QString text(const ScreenHarness& screen, const QString& objectName)
{
    QQuickItem* item = screen.find(objectName);
    return item ? item->property("text").toString() : QString();
}

bool shown(const ScreenHarness& screen, const QString& objectName)
{
    QQuickItem* item = screen.find(objectName);
    return item && item->isVisible();
}

QString warningsText()
{
    return ScreenHarness::warnings().join(QLatin1Char('\n'));
}

void writeHealth(const QString& home, const QByteArray& json)
{
    QDir().mkpath(home + "/.cache/focus-probe");
    QFile file(TimeCaptureHealth::filePath(home));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(json);
}

} // namespace

// The signed-in shell on the real screens over the in-process lumen-api.
class ShellScreenTest : public QObject {
    Q_OBJECT

private slots:
    void sidebarRoutesAndNavigationRequests()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("Velmar ", password));
        ScreenHarness screen(&app);
        QTRY_VERIFY(screen.find("rootView"));
        QCOMPARE(app.currentUsername(), QStringLiteral("velmar"));
        QCOMPARE(text(screen, "routeTitle"), QStringLiteral("首页"));
        const QStringList home = screen.visibleTexts();
        for (const char* expected : { "首页", "会话", "BOARDS", "财务", "时间", "日常", "墨大", "身体", "服务器",
                 "进入会话", "用 chat 录一笔", "账户 / 资产 / 报表", "日 / 周 / 月 看板", "Rook1 / Pawn1 / Pawn2",
                 "看昨天的日报", "每日复盘 · 昨天的时间与花钱", "看上周的周报", "看上月的月报", "今日时间" })
            QVERIFY2(home.contains(QString::fromUtf8(expected)), expected);

        QVERIFY(screen.clickVisible("sidebarRow-organ-finance"));
        QTRY_COMPARE(text(screen, "routeTitle"), QStringLiteral("财务 · 概览"));
        QTRY_VERIFY(screen.find("organPlaceholder"));
        QVERIFY(screen.visibleTexts().contains("返回主菜单"));
        QVERIFY(screen.clickVisible("sidebarRow-sub-transactions"));
        QTRY_COMPARE(text(screen, "routeTitle"), QStringLiteral("财务 · 流水"));

        // An unknown organ moves nothing and is cleared all the same.
        app.navigate("garden", "overview");
        QVERIFY(!app.hasNavIntent());
        QCOMPARE(text(screen, "routeTitle"), QStringLiteral("财务 · 流水"));

        QVERIFY(screen.clickVisible("sidebarRow-back-"));
        QTRY_COMPARE(text(screen, "routeTitle"), QStringLiteral("首页"));
        QTRY_VERIFY(shown(screen, "reminder-viewer-weekly"));
        QVERIFY(screen.clickVisible("reminder-viewer-weekly"));
        QTRY_COMPARE(text(screen, "routeTitle"), QStringLiteral("日常 · 报告"));
        QVERIFY(screen.clickVisible("sidebarRow-back-"));
        QTRY_VERIFY(shown(screen, "quickCard-服务器"));
        QVERIFY(screen.clickVisible("quickCard-服务器"));
        QTRY_COMPARE(text(screen, "routeTitle"), QStringLiteral("服务器"));

        // The header's controls carry their help words.
        QCOMPARE(screen.find("accountButton")->property("helpText").toString(), QStringLiteral("切换账号 / 关系管理"));
        QCOMPARE(screen.find("dashboardModeButton")->property("helpText").toString(), QStringLiteral("切回 Dashboard"));
        QCOMPARE(
            screen.find("conversationModeButton")->property("helpText").toString(), QStringLiteral("切到对话模式"));
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(warningsText()));
    }

    void lateHoursGreetAlike_data()
    {
        QTest::addColumn<int>("hour");
        QTest::newRow("4 in the morning") << 4;
        QTest::newRow("11 at night") << 23;
    }
    void lateHoursGreetAlike()
    {
        QFETCH(int, hour);
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        client.clock().set(QDateTime(QDate(2026, 11, 21), QTime(hour, 10)));
        AppState app(client.deps());
        awaitTask(app.login("velmar", password));
        ScreenHarness screen(&app);
        QTRY_COMPARE(text(screen, "welcomeSubtitle"), QStringLiteral("深夜好 — 早点睡"));
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(warningsText()));
    }

    void accountsThroughTheSheets()
    {
        TestServer server;
        server.seedDemo(password);
        server.createUser("mira", password, "Mira");
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("velmar", password));
        ScreenHarness screen(&app);
        QTRY_VERIFY(screen.find("rootView"));

        QVERIFY(screen.clickVisible("accountButton"));
        QTRY_VERIFY(shown(screen, "signOutRow"));
        QTRY_COMPARE(text(screen, "accountHeader"), QStringLiteral("当前 · Velmar (@velmar)"));
        for (const char* expected : { "添加账号", "登录另一个 Velmar OS 账号到本设备", "关系管理",
                 "绑定成员 / 移交管理员 / 共享财务", "退出当前账号", "从设备移除 velmar 的登录" })
            QVERIFY2(screen.visibleTexts().contains(QString::fromUtf8(expected)), expected);

        // Add sefa, typed with a capital and a trailing blank.
        QVERIFY(screen.clickVisible("addAccountRow"));
        QTRY_VERIFY(shown(screen, "addAccountButton"));
        QTRY_VERIFY(screen.visibleTexts().contains(
            "登录另一个 Velmar OS 账号（velmar / sefa / ...）。Token 存到本设备 Keychain。"));
        screen.type("Sefa ");
        QTest::keyClick(screen.window(), Qt::Key_Return);
        screen.type(password);
        QTest::keyClick(screen.window(), Qt::Key_Return);
        QTRY_COMPARE(app.currentUsername(), QStringLiteral("sefa"));
        QTRY_VERIFY(!shown(screen, "signOutRow"));

        // Switch back to velmar from the sheet.
        QVERIFY(screen.clickVisible("accountButton"));
        QTRY_VERIFY(shown(screen, "accountRow-velmar"));
        QVERIFY(screen.visibleTexts().contains("点击切换"));
        QVERIFY(screen.clickVisible("accountRow-velmar"));
        QTRY_COMPARE(app.currentUsername(), QStringLiteral("velmar"));
        QTRY_COMPARE(text(screen, "accountHeader"), QStringLiteral("当前 · Velmar (@velmar)"));

        // Relations: bind mira.
        QVERIFY(screen.clickVisible("relationsRow"));
        QTRY_VERIFY(shown(screen, "relationRow-sefa"));
        QVERIFY(screen.visibleTexts().contains("你绑定的 · 成员"));
        screen.find("bindUsernameField")->property("input").value<QQuickItem*>()->forceActiveFocus();
        screen.type("mira");
        QVERIFY(screen.clickVisible("bindButton"));
        QTRY_VERIFY(shown(screen, "relationRow-mira"));
        QTest::keyClick(screen.window(), Qt::Key_Escape);
        QTRY_VERIFY(!shown(screen, "bindButton"));

        // Signing velmar out returns to the login screen; sefa stays on the device.
        QTRY_VERIFY(shown(screen, "signOutRow"));
        QVERIFY(screen.clickVisible("signOutRow"));
        QTRY_VERIFY(screen.find("loginView"));
        QVERIFY(!app.hasToken());
        QTRY_VERIFY(screen.visibleTexts().contains("已登过的账号"));
        QVERIFY(screen.visibleTexts().contains("sefa"));
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(warningsText()));
    }

    void passiveCaptureRows_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("detail");
        QTest::addColumn<QString>("issue");
        // The test clock reads 2026-11-21 09:30 UTC.
        const QByteArray fresh = R"("updated_at":"2026-11-21T09:29:30Z")";
        QTest::newRow("no file") << QByteArray() << "自动采集器未连接"
                                 << "Velmar Focus Probe 未运行，或刚启动还没写入状态"
                                 << "采集器未连接";
        QTest::newRow("stale file") << QByteArray(
            R"({"updated_at":"2026-11-21T09:26:59Z","bundle_id":"org.gnome.Terminal","app_name":"Terminal","window_title_available":true,"accessibility_trusted":true})")
                                    << "自动采集器未刷新"
                                    << "Velmar Focus Probe 可能已停止，和辅助功能开关无关"
                                    << "采集器未刷新";
        QTest::newRow("permission missing, segment live") << QByteArray("{" + fresh
            + R"(,"bundle_id":"org.gnome.Terminal","app_name":"Terminal","window_title_available":false,"accessibility_trusted":false,"live_segment":{"start_at":"2026-11-21T09:00:00Z","updated_at":"2026-11-21T09:29:30Z","duration_sec":1800,"app_name":"Terminal","window_title":"","bucket":"未归类","is_offscreen":true}})")
                                                          << "自动采集权限未生效"
                                                          << "系统设置 System Settings → 隐私与安全性 Privacy & "
                                                             "Security → 辅助功能 Accessibility"
                                                          << "辅助功能权限未生效";
        QTest::newRow("offscreen segment") << QByteArray("{" + fresh
            + R"(,"bundle_id":"org.gnome.Terminal","app_name":"Terminal","window_title_available":true,"accessibility_trusted":true,"idle_sec":20,"live_segment":{"start_at":"2026-11-21T09:00:00Z","updated_at":"2026-11-21T09:29:30Z","duration_sec":1500,"app_name":"Terminal","window_title":"","bucket":"未归类","is_offscreen":true}})")
                                           << "离屏检测中"
                                           << "已离屏 25m · 不计入时间账本"
                                           << "";
        QTest::newRow("idle without a segment") << QByteArray("{" + fresh
            + R"(,"bundle_id":"org.gnome.Terminal","app_name":"Terminal","window_title_available":true,"accessibility_trusted":true,"idle_sec":900})")
                                                << "离屏检测中"
                                                << "超过 15 分钟无键鼠输入"
                                                << "";
        QTest::newRow("the client itself") << QByteArray("{" + fresh
            + R"(,"bundle_id":"me.velmar311.VelmarOS","app_name":"Velmar OS","window_title_available":true,"accessibility_trusted":true,"idle_sec":3})")
                                           << "自动采集待机"
                                           << "Velmar OS 自身不计入时间"
                                           << "";
        QTest::newRow("login window") << QByteArray("{" + fresh
            + R"(,"bundle_id":"com.apple.loginwindow","app_name":"loginwindow","window_title_available":true,"accessibility_trusted":true})")
                                      << "自动采集待机"
                                      << "系统登录窗口不计入时间"
                                      << "";
        QTest::newRow("capturing a chat app") << QByteArray("{" + fresh
            + R"(,"bundle_id":"com.tencent.xinwechat.mac","app_name":"微信","window_title_available":true,"accessibility_trusted":true,"idle_sec":4,"live_segment":{"start_at":"2026-11-21T09:18:00Z","updated_at":"2026-11-21T09:29:30Z","duration_sec":690,"app_name":"微信","window_title":"","bucket":"未归类","is_offscreen":false}})")
                                              << "自动采集中：微信"
                                              << "待写入 12m · 通讯待确认"
                                              << "";
    }
    void passiveCaptureRows()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, title);
        QFETCH(QString, detail);
        QFETCH(QString, issue);
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("velmar", password));
        QTemporaryDir home;
        if (!json.isEmpty())
            writeHealth(home.path(), json);
        ScreenHarness screen(&app);
        QTRY_VERIFY(screen.find("rootView"));
        QObject* activity = screen.find("rootView")->property("activityModel").value<QObject*>();
        QVERIFY(activity);
        activity->setProperty("homeDir", home.path());
        QTRY_COMPARE(text(screen, "captureStatusTitle"), title);
        QCOMPARE(text(screen, "captureStatusDetail"), detail);

        // The time organ carries the full banner when capture has an issue.
        QVERIFY(screen.clickVisible("sidebarRow-organ-time"));
        QTRY_VERIFY(screen.find("organContent"));
        QQuickItem* banner = nullptr;
        for (QQuickItem* candidate : screen.find("organContent")->findChildren<QQuickItem*>("captureHealthBanner"))
            banner = candidate;
        QVERIFY(banner);
        QCOMPARE(banner->isVisible(), !issue.isEmpty());
        if (!issue.isEmpty()) {
            QVERIFY(screen.visibleTexts().contains(issue));
            QVERIFY(screen.visibleTexts().contains("重启 Velmar Focus Probe"));
            QCOMPARE(screen.visibleTexts().contains("打开辅助功能设置"), issue == "辅助功能权限未生效");
        }
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(warningsText()));
    }

    void relayTokenSheet()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        // A relay that is not running: the token is kept all the same.
        QTemporaryDir relayHome;
        RelayBearerStore bearers(ClientPaths::under(relayHome.filePath("data")), relayHome.path(), nullptr,
            QStringLiteral("127.0.0.1"), RelayBearerStore::defaultAccount, [](const char*) { return QString(); });
        MintbridgeClient relay(QUrl("http://127.0.0.1:9"), &bearers);
        AppStateDeps deps = client.deps();
        deps.relay = &relay;
        AppState app(deps);
        awaitTask(app.login("velmar", password));
        ScreenHarness screen(&app);
        QTRY_VERIFY(shown(screen, "moreButton"));
        QVERIFY(screen.clickVisible("moreButton"));
        QTRY_VERIFY(shown(screen, "tokenMenuItem"));
        QVERIFY(screen.clickVisible("tokenMenuItem"));
        QTRY_VERIFY(shown(screen, "tokenSaveButton"));
        for (const char* expected :
            { "配置 Mintbridge 中继 Token", "打开 Bitwarden app → 搜该 item → 复制 password 字段 → 回来粘贴。",
                "粘贴新 token 会覆盖；留空保留现有。" })
            QVERIFY2(screen.visibleTexts().contains(QString::fromUtf8(expected)), expected);

        QVERIFY(screen.clickVisible("tokenSaveButton"));
        QTRY_COMPARE(text(screen, "tokenStatus"), QStringLiteral("请先粘贴 mintbridge token。"));
        screen.click(screen.find("tokenField")->property("input").value<QQuickItem*>());
        screen.type("relay-token-1");
        QTest::keyClick(screen.window(), Qt::Key_Return);
        QTRY_COMPARE(text(screen, "tokenStatus"),
            QStringLiteral("Token 已保存。但 mintbridge 当前不可达（Mac 可能离线），下一笔时会重试。"));
        QCOMPARE(awaitTask(bearers.bearer()), QStringLiteral("relay-token-1"));
        relay.networkAccessManager()->clearConnectionCache();
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(warningsText()));
    }

    void runningActivityShowsItsClockAndStops()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("velmar", password));
        ScreenHarness screen(&app);
        QTRY_VERIFY(screen.find("rootView"));
        app.time()->start("写周报", std::nullopt);
        QTRY_COMPARE(text(screen, "activityTitle"), QStringLiteral("写周报"));
        QVERIFY(text(screen, "activitySubtitle").startsWith("起 "));
        QTRY_VERIFY(!text(screen, "activityElapsed").isEmpty());
        QVERIFY(screen.clickVisible("activityStopButton"));
        QTRY_VERIFY(!app.time()->isRunning());
        QTRY_VERIFY(shown(screen, "captureStatusTitle"));
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(warningsText()));
    }
};

QTEST_MAIN(ShellScreenTest)
#include "ShellScreenTest.moc"

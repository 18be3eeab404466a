#include "AwaitTask.h"
#include "ChatScreenHarness.h"
#include "ClientHarness.h"
#include "ScreenHarness.h"
#include "TestServer.h"

#include "chat/SessionsStore.h"
#include "chat/VelmarOSChatStore.h"
#include "time/TimeCaptureHealth.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "ImportQmlModules.h"

namespace {

const QString password = QStringLiteral("demo-pass-1");

bool shown(const ScreenHarness& screen, const QString& objectName)
{
    QQuickItem* item = screen.find(objectName);
    return item && item->isVisible();
}

} // namespace

// Pictures of the main screens over the demo household, for a person to look at: each
// picture is taken once its screen shows what it is meant to show.
class ScreenshotTest : public QObject {
    Q_OBJECT

private slots:
    void loginScreen()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        ScreenHarness screen(&app);
        QTRY_VERIFY(shown(screen, "loginView"));
        screen.saveScreenshot("01-login");
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(ScreenHarness::warnings().join('\n')));
    }

    void conversationWithACard()
    {
        TestServer server;
        server.seedDemo(password);
        ChatDevice device(server);
        device.show("velmar", password);
        const ScreenHarness& screen = *device.screen;
        QTRY_VERIFY(shown(screen, "sidebarRow-conversation-conversation"));
        QVERIFY(screen.clickVisible("sidebarRow-conversation-conversation"));
        QTRY_VERIFY(shown(screen, "composerInput"));
        VelmarOSChatStore* chat = device.app->chatSessions()->activeStore();
        for (const char* sentence : { "上午 9 点到 11 点 coding", "今天午餐 50" }) {
            screen.find("composerInput")->forceActiveFocus();
            screen.typeText(QString::fromUtf8(sentence));
            QTest::keyClick(screen.window(), Qt::Key_Return);
            QTRY_VERIFY(!chat->agentLoopActive() && chat->queuedCount() == 0);
        }
        QTRY_VERIFY(shown(screen, "pendingCard"));
        // The first card confirmed, the second still waiting.
        const QString first = chat->events()[1].toVariantMap().value("item").toMap().value("id").toString();
        chat->confirm(first);
        QTRY_VERIFY(chat->inFlightTerminal().isEmpty());
        screen.find("composerInput")->forceActiveFocus();
        screen.typeText(QStringLiteral("晚上去超市"));
        screen.saveScreenshot("03-conversation");
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(ScreenHarness::warnings().join('\n')));
    }

    void homeAccountsAndRelations()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        // A morning on the test server's day, so the demo fortnight reaches today.
        client.clock().set(QDateTime(QDate(2026, 11, 21), QTime(9, 30)));
        AppState app(client.deps());
        awaitTask(app.login("sefa", password));
        awaitTask(app.login("velmar", password));
        QTemporaryDir home;
        QDir().mkpath(home.path() + "/.cache/focus-probe");
        QFile health(TimeCaptureHealth::filePath(home.path()));
        QVERIFY(health.open(QIODevice::WriteOnly));
        health.write(
            R"({"updated_at":"2026-11-21T09:29:40Z","bundle_id":"org.gnome.Terminal","app_name":"Terminal","window_title_available":true,"accessibility_trusted":true,"idle_sec":2,"live_segment":{"start_at":"2026-11-21T09:05:00Z","updated_at":"2026-11-21T09:29:40Z","duration_sec":1480,"app_name":"Terminal","window_title":"velmaros","bucket":"coding","is_offscreen":false}})");
        health.close();

        ScreenHarness screen(&app);
        QTRY_VERIFY(shown(screen, "rootView"));
        screen.find("rootView")->property("activityModel").value<QObject*>()->setProperty("homeDir", home.path());
        QTRY_VERIFY(screen.visibleTexts().contains("自动采集中：Terminal"));
        QTRY_VERIFY(screen.find("timeWidgetTotal")->property("text").toString() != "0m");
        screen.saveScreenshot("02-home");

        QVERIFY(screen.clickVisible("accountButton"));
        QTRY_VERIFY(shown(screen, "signOutRow"));
        QTRY_VERIFY(shown(screen, "accountRow-sefa"));
        screen.saveScreenshot("04-account-sheet");

        QVERIFY(screen.clickVisible("relationsRow"));
        QTRY_VERIFY(shown(screen, "relationRow-sefa"));
        screen.saveScreenshot("05-relations");
        QVERIFY2(ScreenHarness::warnings().isEmpty(), qPrintable(ScreenHarness::warnings().join('\n')));
    }
};

QTEST_MAIN(ScreenshotTest)
#include "ScreenshotTest.moc"

#include "ChatHarness.h"

#include "chat/ChatSyncLoop.h"
#include "session/AppState.h"
#include "time/TimeStore.h"

// The chat as the app boots it: AppState's sessions, stores wired to time and sign-out.
class ChatBootTest : public QObject {
    Q_OBJECT

private slots:
    void bootedChatReachesTimeAndSignOut()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        AgentHarness device(server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("velmar")));
        QTemporaryDir defaults;
        QSettings settings(defaults.filePath("defaults.ini"), QSettings::IniFormat);
        AppStateDeps deps = device.client().deps();
        deps.settings = &settings;
        deps.agent = &device.agent();
        AppState app(deps);

        QSignalSpy booted(app.chatSync(), &ChatSyncLoop::booted);
        app.bootChatAgent();
        app.bootChatAgent();
        QTRY_COMPARE(booted.size(), 1);
        QVERIFY(app.chatSync()->running());
        VelmarOSChatStore* chat = app.chatSessions()->activeStore();
        QTRY_COMPARE(chat->historyDidLoad(), 1);

        chat->submit("开始 coding");
        QVERIFY(settle(*chat));
        QVERIFY(app.time()->isRunning());
        QCOMPARE(app.time()->current()->activity, std::optional<QString>("coding"));
        chat->submit("结束");
        QVERIFY(settle(*chat));
        QTRY_VERIFY(!app.time()->isRunning());

        // A store made later is wired the same way; its 401 signs the user out.
        const QString other = app.chatSessions()->create(ChatModel::sonnet());
        QVERIFY(!app.sessionExpired());
        VelmarOSChatStore* second = app.chatSessions()->store(other);
        QVERIFY(second->onAuthFailure);
        second->onAuthFailure();
        QVERIFY(app.sessionExpired());
        app.chatSync()->stop();
    }
};

QTEST_GUILESS_MAIN(ChatBootTest)
#include "ChatBootTest.moc"

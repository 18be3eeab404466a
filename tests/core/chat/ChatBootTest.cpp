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
        const QString clock = VelmarOSChatStore::shortClock(app.time()->current()->start_time);
        QVERIFY2(transcript(*chat).contains("agent: ▶️ 开始 coding · " + clock),
            qPrintable(transcript(*chat).join(" | ")));
        QCOMPARE(chat->timeActivityChanged(), 1);
        // A stop is shown, and the ledger reloads in full.
        chat->submit("结束");
        QVERIFY(settle(*chat));
        const QStringList said = transcript(*chat);
        QVERIFY(std::any_of(
            said.begin(), said.end(), [](const QString& line) { return line.startsWith("agent: ⏹ 结束"); }));
        QCOMPARE(chat->timeActivityChanged(), 2);
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

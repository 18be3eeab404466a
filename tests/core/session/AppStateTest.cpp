#include "AwaitTask.h"
#include "ClientHarness.h"
#include "ScriptedPeer.h"
#include "TestServer.h"

#include "finance/AssetsStore.h"
#include "session/DomainStore.h"
#include "session/QuillonAppRuntime.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

namespace {

const QString password = QStringLiteral("demo-pass-1");

// A store whose refresh posts to the path it is given, to drive the frame with a real refusal.
class ProbeStore : public DomainStore {
public:
    ProbeStore(StoreContext context, QString path)
        : DomainStore(std::move(context), nullptr)
        , m_path(std::move(path))
    {
    }
    QCoro::Task<void> refresh()
    {
        LumenAPIClient* client = &api();
        const QString path = m_path;
        const auto fetch = [client, path] {
            return client->request<wire::AnyCodableValue>(
                path, "POST", wire::AddRelationRequest { "nobody", "member" });
        };
        co_await runRefresh<wire::AnyCodableValue>(fetch, [](wire::AnyCodableValue) {});
    }

private:
    QString m_path;
};

void writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

class AppStateTest : public QObject {
    Q_OBJECT

private slots:
    void noTokenStopsAtTheLoginScreen()
    {
        TestServer server;
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.bootstrap());
        QVERIFY(!app.hasToken());
        QVERIFY(app.knownUsernames().isEmpty());
        QVERIFY(!app.assets()->state().lastRefreshedAt);
    }

    void loginKeepsTheServersName()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        QSignalSpy tokenSpy(&app, &AppState::hasTokenChanged);
        awaitTask(app.login("Velmar", password));
        QVERIFY(app.hasToken());
        QCOMPARE(tokenSpy.count(), 1);
        QCOMPARE(app.currentUsername(), QStringLiteral("velmar"));
        QCOMPARE(app.currentDisplayName(), QStringLiteral("Velmar"));
        QCOMPARE(app.knownUsernames(), QStringList { "velmar" });
        QCOMPARE(awaitTask(client.keychain().currentUsername()), QStringLiteral("velmar"));
        // The start-up fan-out ran under the new token.
        QVERIFY(app.assets()->state().lastRefreshedAt);
        QVERIFY(!app.assets()->items().empty());
    }

    void wrongPasswordChangesNothing()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        try {
            awaitTask(app.login("velmar", "wrong"));
            QFAIL("signed in with a wrong password");
        } catch (const LumenAPIError& error) {
            QCOMPARE(error.kind(), LumenAPIError::Kind::Unauthorized);
        }
        QVERIFY(!app.hasToken());
        QVERIFY(!awaitTask(client.keychain().hasToken()));
    }

    void unauthorizedAnywhereSignsOutEveryAccount()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("sefa", password));
        awaitTask(app.login("velmar", password));
        QCOMPARE(app.knownUsernames(), (QStringList { "sefa", "velmar" }));
        // The server forgets velmar's token (signed out elsewhere).
        awaitTask(client.api().request<wire::AnyCodableValue>("/auth/logout", "POST", wire::EmptyBody {}));
        QSignalSpy failures(&app, &AppState::authFailedAtChanged);
        awaitTask(app.assets()->refresh());
        QVERIFY(!app.hasToken());
        QVERIFY(app.authFailedAt());
        QCOMPARE(app.assets()->state().errorText(), QStringLiteral("Bearer token 失效，请重新输入"));
        QTRY_VERIFY(QDir(client.paths().credentialDir()).entryList(QDir::Files).isEmpty());
        QVERIFY(!awaitTask(client.keychain().hasToken()));
        // A second report only moves the time forward.
        client.clock().advance(5);
        app.handleAuthFailure();
        QCOMPARE(failures.count(), 2);
        QCOMPARE(*app.authFailedAt(), client.clock().now());
        QCOMPARE(app.currentUsername(), QStringLiteral("velmar"));
    }

    void switchUserTakesEffectOnTheNextCall()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        AssetsStore* assetsBefore = app.assets();
        awaitTask(app.login("velmar", password));
        awaitTask(app.login("sefa", password));
        QCOMPARE(awaitTask(client.api().me()).username, QStringLiteral("sefa"));
        awaitTask(app.switchUser("velmar"));
        QCOMPARE(app.currentUsername(), QStringLiteral("velmar"));
        QCOMPARE(awaitTask(client.api().me()).username, QStringLiteral("velmar"));
        QCOMPARE(app.assets(), assetsBefore);
    }

    void forgetUser_data()
    {
        QTest::addColumn<QString>("forgotten");
        QTest::addColumn<bool>("staysSignedIn");
        QTest::addColumn<QStringList>("remaining");
        QTest::newRow("the current one") << "velmar" << false << QStringList { "sefa" };
        QTest::newRow("another one") << "sefa" << true << QStringList { "velmar" };
    }
    void forgetUser()
    {
        QFETCH(QString, forgotten);
        QFETCH(bool, staysSignedIn);
        QFETCH(QStringList, remaining);
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("sefa", password));
        awaitTask(app.login("velmar", password));
        awaitTask(app.forgetUser(forgotten));
        QCOMPARE(app.hasToken(), staysSignedIn);
        QCOMPARE(app.hasProfile(), staysSignedIn);
        QCOMPARE(app.knownUsernames(), remaining);
        QVERIFY(!QFileInfo::exists(client.keychain().customFilePath(KeychainStore::userTokenKey(forgotten))));
        QVERIFY(QFileInfo::exists(client.keychain().customFilePath(KeychainStore::userTokenKey(remaining.first()))));
    }

    // Only a 401 ends the session; a refusal of one action leaves the user signed in.
    void forbiddenKeepsTheSession()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("sefa", password));
        ProbeStore probe(client.storeContext(), "/auth/relations");
        probe.onAuthFailure = [&app] { app.handleAuthFailure(); };
        awaitTask(probe.refresh());
        QCOMPARE(probe.state().errorText(), QStringLiteral("只有管理员可以绑定、移除或移交成员"));
        QVERIFY(!probe.state().isLoading);
        QVERIFY(app.hasToken());
        QVERIFY(!app.authFailedAt());
    }

    void snapshotFillsTheStoreBeforeTheNetwork_data()
    {
        QTest::addColumn<QByteArray>("snapshot");
        QTest::addColumn<int>("items");
        QTest::newRow("valid") << QByteArray(R"({"items":[{"slug":"car","mode":"markdown","body_md":"x"}]})") << 1;
        QTest::newRow("unknown extra key") << QByteArray(R"({"items":[{"slug":"car","mode":"m"}],"v":2})") << 1;
        QTest::newRow("missing required key") << QByteArray(R"({"items":[{"slug":"car"}]})") << 0;
        QTest::newRow("corrupt") << QByteArray(R"({"items":[{"slug":)") << 0;
    }
    void snapshotFillsTheStoreBeforeTheNetwork()
    {
        QFETCH(QByteArray, snapshot);
        QFETCH(int, items);
        ClientHarness client(QUrl("http://127.0.0.1:9"));
        writeFile(client.paths().widgetCacheDir() + "/assets-store.json", snapshot);
        AppState app(client.deps());
        QCOMPARE(int(app.assets()->items().size()), items);
        QVERIFY(!app.assets()->state().hasError());
        QVERIFY(!app.assets()->state().lastRefreshedAt);
    }

    void failedRefreshKeepsTheData()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("velmar", password));
        const auto items = app.assets()->items();
        QVERIFY(!items.empty());
        server.stop();
        client.api().networkAccessManager()->clearConnectionCache();
        awaitTask(app.assets()->refresh());
        QVERIFY(app.assets()->state().errorText().startsWith("网络错误："));
        QCOMPARE(app.assets()->items(), items);
        QCOMPARE(client.sleeps().size(), std::size_t(3));
    }

    void profileFailureDoesNotBlockTheStores()
    {
        ScriptedPeer peer;
        peer.enqueueResponse(500, R"({"detail":"db down"})"); // /auth/me
        peer.enqueueResponse(200, R"({"count":0,"items":[]})"); // /assets/list
        ClientHarness client(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("tok"));
        AppState app(client.deps());
        awaitTask(app.bootstrap());
        QVERIFY(app.hasToken());
        QVERIFY(!app.hasProfile());
        QVERIFY(app.assets()->state().lastRefreshedAt);
        QCOMPARE(peer.requests().at(1).path, QByteArray("/assets/list"));
    }

    void sameValuesWakeNoScreen()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        awaitTask(app.login("velmar", password));
        QSignalSpy profile(&app, &AppState::currentUserChanged);
        QSignalSpy known(&app, &AppState::knownUsernamesChanged);
        QSignalSpy token(&app, &AppState::hasTokenChanged);
        QSignalSpy assetItems(app.assets(), &AssetsStore::itemsChanged);
        awaitTask(app.bootstrap());
        awaitTask(app.switchUser("velmar"));
        QCOMPARE(profile.count(), 0);
        QCOMPARE(known.count(), 0);
        QCOMPARE(token.count(), 0);
        QCOMPARE(assetItems.count(), 0);
    }

    void requestNavSetsRangeBeforeIntent()
    {
        ClientHarness client(QUrl("http://127.0.0.1:9"));
        AppState app(client.deps());
        const AnalysisRange range { "2026-11-01", "2026-11-21", "本月", "time" };
        bool rangeReadyWhenIntentFired = false;
        connect(&app, &AppState::navIntentChanged, this, [&] {
            rangeReadyWhenIntentFired = app.pendingAnalysisRange() == range && app.analysisReturn().has_value();
        });
        app.requestNav("time", "analysis", range, NavIntent { "time", "today" });
        QVERIFY(rangeReadyWhenIntentFired);
        QCOMPARE(app.navIntent()->organRaw, QStringLiteral("time"));
    }

    void laterCallersJoinTheOneStartup()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(server.baseUrl());
        awaitTask(client.keychain().storeUser("velmar", server.issueToken("velmar"), "Velmar", true));
        QuillonAppRuntime runtime(client.deps());
        int detachedRuns = 0;
        runtime.detachedStartupJob = [&detachedRuns] { ++detachedRuns; };
        auto first = runtime.bootstrapOnce();
        auto second = runtime.bootstrapOnce();
        QVERIFY(runtime.isBootstrapStarted());
        QVERIFY(!runtime.isBootstrapFinished());
        awaitTask(std::move(second));
        QVERIFY(runtime.isBootstrapFinished());
        awaitTask(std::move(first));
        awaitTask(runtime.bootstrapOnce());
        QCOMPARE(detachedRuns, 1);
        QCOMPARE(runtime.appState()->currentUsername(), QStringLiteral("velmar"));
    }
};

QTEST_GUILESS_MAIN(AppStateTest)
#include "AppStateTest.moc"

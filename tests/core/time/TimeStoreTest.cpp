#include "AwaitTask.h"
#include "ClientHarness.h"
#include "TestServer.h"

#include "time/TimeCache.h"
#include "time/TimeStore.h"

#include <QSignalSpy>
#include <QTest>

#include <sqlite3.h>

namespace {

const QString day = QStringLiteral("2026-11-20");

// One signed-in device of a user, with its own cache and time store.
class Device {
public:
    Device(TestServer& server, const QString& username)
        : m_client(server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken(username)))
        , m_cache(&m_client.api(), m_client.sharedClock())
        , m_store(m_client.storeContext(), &m_cache)
    {
        m_store.onAuthFailure = [this] { ++authFailures; };
    }

    ClientHarness& client() { return m_client; }
    LumenAPIClient& api() { return m_client.api(); }
    TimeCache& cache() { return m_cache; }
    TimeStore& store() { return m_store; }

    std::vector<wire::TimeEntry> serverEntries() { return awaitTask(api().timeList(std::nullopt, 1000, 1)); }
    wire::TimeCurrent serverCurrent() { return awaitTask(api().timeCurrent()); }
    void addEntry(const QString& date, const QString& start, const QString& end, const QString& activity)
    {
        wire::TimeManualRequest request;
        request.date = date;
        request.start_time = start;
        request.end_time = end;
        request.activity = activity;
        request.source = "app";
        awaitTask(api().timeManual(request));
    }
    void startOnServer(const QString& activity)
    {
        wire::TimeStartRequest request;
        request.activity = activity;
        request.source = "app";
        awaitTask(api().timeStart(request));
    }
    // The server forgets this device's token, as a sign-out elsewhere does.
    void revokeToken() { awaitTask(api().request<wire::AnyCodableValue>("/auth/logout", "POST", wire::EmptyBody {})); }
    void fillCache()
    {
        m_cache.storeEntries({}, day);
        m_cache.storeEntries({}, "2026-11-01");
    }

    int authFailures = 0;

private:
    ClientHarness m_client;
    TimeCache m_cache;
    TimeStore m_store;
};

// Holds the server's write lock: writes wait, reads go on.
class WriteLock {
public:
    explicit WriteLock(const TestServer& server)
    {
        sqlite3_open_v2(
            QString(server.dataDir() + "/lumen.db").toUtf8().constData(), &m_db, SQLITE_OPEN_READWRITE, nullptr);
        m_ok = sqlite3_exec(m_db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    ~WriteLock() { release(); }
    bool isHeld() const { return m_ok; }
    void release()
    {
        if (!m_db)
            return;
        sqlite3_exec(m_db, "COMMIT", nullptr, nullptr, nullptr);
        sqlite3_close(m_db);
        m_db = nullptr;
    }

private:
    sqlite3* m_db = nullptr;
    bool m_ok = false;
};

QStringList activities(const std::vector<wire::TimeEntry>& entries)
{
    QStringList out;
    for (const auto& entry : entries)
        out << entry.activity;
    out.sort();
    return out;
}

int idOf(const std::vector<wire::TimeEntry>& entries, const QString& activity)
{
    for (const auto& entry : entries) {
        if (entry.activity == activity)
            return entry.id;
    }
    return -1;
}

} // namespace

class TimeStoreTest : public QObject {
    Q_OBJECT

private slots:
    void refreshPublishesAndKeepsASnapshot()
    {
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        Device device(server, "velmar");
        device.addEntry(day, "08:00", "09:00", "coding");
        device.addEntry(day, "09:00", "09:30", "mail");
        device.startOnServer("reading");

        TimeStore& store = device.store();
        awaitTask(store.refresh());
        QCOMPARE(activities(store.entries()), (QStringList { "coding", "mail" }));
        QCOMPARE(store.categories(), awaitTask(device.api().timeCategories()));
        QVERIFY(store.current() && store.current()->active);
        QCOMPARE(store.current()->activity, std::optional<QString>("reading"));
        QVERIFY(store.state().lastRefreshedAt);

        // A second start of the app shows the same before the network answers.
        TimeCache otherCache(&device.api(), device.client().sharedClock());
        TimeStore reopened(device.client().storeContext(), &otherCache);
        QCOMPARE(reopened.entries(), store.entries());
        QCOMPARE(reopened.categories(), store.categories());
        QCOMPARE(reopened.current(), store.current());
        QVERIFY(!reopened.state().lastRefreshedAt);

        // A failed refresh keeps what is shown and says why.
        device.revokeToken();
        awaitTask(store.refresh());
        QCOMPARE(activities(store.entries()), (QStringList { "coding", "mail" }));
        QCOMPARE(store.state().errorMessage, std::optional<QString>("Bearer token 失效，请重新输入"));
        QCOMPARE(device.authFailures, 1);
    }

    void startShowsAtOnceThenTheServersAnswer()
    {
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        Device device(server, "velmar");
        TimeStore& store = device.store();
        device.client().clock().set(QDateTime(QDate(2026, 11, 21), QTime(8, 15, 30), Qt::UTC));

        store.start("coding", std::nullopt);
        QVERIFY(store.isRunning());
        QCOMPARE(store.current()->activity, std::optional<QString>("coding"));
        QCOMPARE(store.current()->start_time, std::optional<QString>("2026-11-21T08:15:30Z"));
        QCOMPARE(store.current()->source, std::optional<QString>());
        QCOMPARE(store.currentMutationInFlight(), 1);

        QTRY_COMPARE(store.currentMutationInFlight(), 0);
        QCOMPARE(store.current(), std::optional(device.serverCurrent()));
        QCOMPARE(store.current()->source, std::optional<QString>("app"));
        QVERIFY(!store.state().errorMessage);
    }

    void refusedStartPutsTheOldActivityBack()
    {
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        Device device(server, "velmar");
        device.startOnServer("reading");
        TimeStore& store = device.store();
        awaitTask(store.refresh());
        const auto before = store.current();

        store.start("coding", 4242); // no such category
        QCOMPARE(store.current()->activity, std::optional<QString>("coding"));
        QTRY_COMPARE(store.currentMutationInFlight(), 0);
        QCOMPARE(store.current(), before);
        QCOMPARE(store.state().errorMessage, std::optional<QString>("时间分类 4242 不存在"));
        QCOMPARE(device.authFailures, 0);
    }

    void stopShowsInactiveAtOnce_data()
    {
        QTest::addColumn<QString>("server");
        QTest::addColumn<bool>("runningAfter");
        QTest::addColumn<QString>("stopError");
        QTest::addColumn<int>("versionRises");
        QTest::newRow("stopped, entries reloaded") << "running" << false << "" << 1;
        // Another device stopped it since: the server says 400, which is the goal reached.
        QTest::newRow("nothing running is not an error") << "idle" << false << "" << 0;
        QTest::newRow("refused: the activity comes back, the reason beside it")
            << "revoked" << true << "Bearer token 失效，请重新输入" << 0;
    }
    void stopShowsInactiveAtOnce()
    {
        QFETCH(QString, server);
        QFETCH(bool, runningAfter);
        QFETCH(QString, stopError);
        QFETCH(int, versionRises);
        TestServer lumen;
        lumen.createUser("velmar", "pw-velmar-1");
        Device device(lumen, "velmar");
        TimeStore& store = device.store();
        device.startOnServer("coding");
        awaitTask(store.refresh());
        if (server == "idle")
            awaitTask(device.api().timeStop({}));
        if (server == "revoked")
            device.revokeToken();
        QSignalSpy versions(&store, &TimeStore::directTimeChangeVersionChanged);

        store.stop(QStringLiteral("done"));
        QVERIFY(store.current() && !store.current()->active);
        QCOMPARE(store.currentMutationInFlight(), 1);
        QTRY_COMPARE(store.currentMutationInFlight(), 0);

        QCOMPARE(store.isRunning(), runningAfter);
        QCOMPARE(store.stopErrorMessage().value_or(QString()), stopError);
        QCOMPARE(versions.count(), versionRises);
        // The stop's failure shows beside the activity, never as a load banner.
        QVERIFY(!store.state().errorMessage);
        QCOMPARE(device.authFailures, server == "revoked" ? 1 : 0);
        if (server == "running") {
            QCOMPARE(activities(store.entries()), QStringList { "coding" });
            QCOMPARE(store.entries(), device.serverEntries());
        }
    }

    void refreshBegunDuringAStopLeavesItStopped()
    {
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        Device device(server, "velmar");
        device.startOnServer("coding");
        TimeStore& store = device.store();
        awaitTask(store.refresh());

        WriteLock lock(server);
        QVERIFY(lock.isHeld());
        store.stop(std::nullopt);
        QSignalSpy changes(&store, &TimeStore::currentChanged);
        // The stop waits on the lock, so /time/current still says "coding" to this refresh.
        awaitTask(store.refresh());
        QVERIFY(store.state().lastRefreshedAt);
        QVERIFY(!store.isRunning());
        QCOMPARE(changes.count(), 0);
        QCOMPARE(store.currentMutationInFlight(), 1);

        lock.release();
        QTRY_COMPARE(store.currentMutationInFlight(), 0);
        QVERIFY(!store.isRunning());
        QCOMPARE(activities(store.entries()), QStringList { "coding" });
    }

    void chatEffectsMoveTheRunningActivity()
    {
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        Device device(server, "velmar");
        const int work = awaitTask(device.api().timeCategories()).front().id;
        TimeStore& store = device.store();
        store.start("planning", work);
        QTRY_COMPARE(store.currentMutationInFlight(), 0);
        device.revokeToken();
        awaitTask(store.refresh()); // leaves a banner for the effect to clear
        QVERIFY(store.state().errorMessage);
        QSignalSpy versions(&store, &TimeStore::directTimeChangeVersionChanged);

        store.applyChatEffect({ TimeActivityEffect::Kind::Started, "coding", "2026-11-21T10:00:00+11:00" });
        wire::TimeCurrent expected;
        expected.active = true;
        expected.activity = "coding";
        expected.category_id = work; // kept from what was running
        expected.start_time = "2026-11-21T10:00:00+11:00";
        expected.source = "velmar-os-chat";
        expected.updated_at = "2026-11-21T10:00:00+11:00";
        QCOMPARE(store.current(), std::optional(expected));
        QVERIFY(!store.state().errorMessage);

        store.applyChatEffect({ TimeActivityEffect::Kind::Stopped, std::nullopt, std::nullopt });
        QCOMPARE(store.current(), std::optional(wire::TimeCurrent {}));
        store.clearCurrent();
        store.applyChatEffect({ TimeActivityEffect::Kind::Started, "reading", std::nullopt });
        QCOMPARE(store.current()->category_id, std::optional<int>());
        QCOMPARE(versions.count(), 0);
    }

    void updateEntryShowsTheEditAndKeepsIt()
    {
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        Device device(server, "velmar");
        device.addEntry(day, "08:00", "09:00", "coding");
        TimeStore& store = device.store();
        awaitTask(store.refresh());
        const int id = idOf(store.entries(), "coding");
        device.fillCache();
        QSignalSpy versions(&store, &TimeStore::directTimeChangeVersionChanged);

        wire::TimeEntryUpdateRequest request;
        request.activity = "deep work";
        store.updateEntry(id, { day }, request);
        QCOMPARE(store.entries().front().activity, QStringLiteral("deep work"));
        QCOMPARE(versions.count(), 1);
        QVERIFY(!device.cache().entries(day));
        QVERIFY(device.cache().entries("2026-11-01")); // far from the edit
        QTRY_COMPARE(device.serverEntries().front().activity, QStringLiteral("deep work"));
        QCOMPARE(versions.count(), 1);
        QVERIFY(!store.state().errorMessage);
    }

    void refusedEntryWritesBringTheListBack_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("message");
        QTest::newRow("update of an id the server does not know") << "update-unknown"
                                                                  << "时间记录不存在";
        QTest::newRow("update to an impossible clock") << "update-bad-clock"
                                                       << "时间格式应为 HH:mm：25:00";
        QTest::newRow("delete of an id the server does not know") << "delete-unknown"
                                                                  << "时间记录不存在";
    }
    void refusedEntryWritesBringTheListBack()
    {
        QFETCH(QString, operation);
        QFETCH(QString, message);
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        Device device(server, "velmar");
        device.addEntry(day, "08:00", "09:00", "coding");
        TimeStore& store = device.store();
        awaitTask(store.refresh());
        const auto before = store.entries();
        const int id = idOf(before, "coding");
        device.fillCache();
        QSignalSpy versions(&store, &TimeStore::directTimeChangeVersionChanged);

        wire::TimeEntryUpdateRequest request;
        if (operation == "update-unknown") {
            request.activity = "ghost";
            store.updateEntry(id + 100, {}, request);
            QCOMPARE(store.entries(), before);
        } else if (operation == "update-bad-clock") {
            request.start_time = "25:00";
            store.updateEntry(id, {}, request);
            QCOMPARE(store.entries().front().start_time, QStringLiteral("25:00"));
        } else {
            store.deleteEntry(id + 100, std::nullopt);
        }
        // No day named: the whole cache goes.
        QVERIFY(!device.cache().entries("2026-11-01"));
        QTRY_COMPARE(versions.count(), 2);
        QCOMPARE(store.entries(), before);
        QCOMPARE(store.state().errorMessage, std::optional<QString>(message));
        QCOMPARE(device.serverEntries(), before);
    }

    void manualEntryReloadsTheList()
    {
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        Device device(server, "velmar");
        TimeStore& store = device.store();
        device.fillCache();

        wire::TimeManualRequest request;
        request.date = day;
        request.start_time = "13:00";
        request.end_time = "14:30";
        request.activity = "gym";
        request.source = "app";
        store.addManualEntry(request);
        QTRY_COMPARE(store.directTimeChangeVersion(), 1);
        QCOMPARE(activities(store.entries()), QStringList { "gym" });
        QCOMPARE(store.entries().front().duration_min, std::optional<double>(90));
        QVERIFY(!device.cache().entries(day));

        request.end_time = "99:99";
        store.addManualEntry(request);
        QTRY_VERIFY(store.state().errorMessage);
        QCOMPARE(store.directTimeChangeVersion(), 1);
        QCOMPARE(activities(store.entries()), QStringList { "gym" });
    }

    void categoryWrites()
    {
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        Device device(server, "velmar");
        TimeStore& store = device.store();
        const auto named = [&store](const QString& name) -> std::optional<wire::TimeCategory> {
            for (const auto& category : store.categories()) {
                if (category.name == name)
                    return category;
            }
            return std::nullopt;
        };
        store.addCategory("冥想", "#AA0000");
        QTRY_VERIFY(named("冥想"));
        const wire::TimeCategory added = *named("冥想");
        QCOMPARE(added.color, std::optional<QString>("#AA0000"));
        QCOMPARE(added.sort_order, std::optional<int>(100));
        QCOMPARE(store.categories(), awaitTask(device.api().timeCategories()));

        wire::TimeCategoryUpdateRequest rename;
        rename.name = "打坐";
        rename.keywords = "静坐";
        store.updateCategory(added.id, rename);
        QVERIFY(named("打坐"));
        QTRY_COMPARE(awaitTask(device.api().timeCategories()), store.categories());

        // A refusal puts the list back as it was.
        const auto before = store.categories();
        store.updateCategory(added.id + 500, rename);
        QTRY_VERIFY(store.state().errorMessage);
        QCOMPARE(store.categories(), before);
    }

    void appStateLoadsTimeAtStartAndForgetsTheActivityOfAUserWhoLeaves()
    {
        TestServer server;
        server.seedDemo("demo-pass-1");
        ClientHarness client(server.baseUrl());
        AppState app(client.deps());
        QVERIFY(app.stores().contains(app.time()));
        awaitTask(app.login("velmar", "demo-pass-1"));
        QVERIFY(app.time()->state().lastRefreshedAt);
        app.time()->applyChatEffect({ TimeActivityEffect::Kind::Started, "coding", std::nullopt });
        QVERIFY(app.time()->isRunning());
        awaitTask(app.forgetUser("velmar"));
        QVERIFY(!app.time()->current());
    }
};

QTEST_GUILESS_MAIN(TimeStoreTest)
#include "TimeStoreTest.moc"

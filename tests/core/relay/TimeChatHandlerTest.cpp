// A time sentence from the input bar to the ledger: signed in to the real lumen-api, the
// sentence read by the real relay, the block found in the server's list.

#include "AwaitTask.h"
#include "ClientHarness.h"
#include "RelayClientHarness.h"
#include "TestRelay.h"
#include "TestServer.h"

#include "relay/TimeChatHandler.h"
#include "time/TimeStore.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString password = u"demo-pass-1"_s;

TestRelay::Options notStarted()
{
    TestRelay::Options options;
    options.start = false;
    return options;
}

// One signed-in device with the relay beside it; `modelAnswer`, when given, is what a
// stand-in model command prints for every sentence.
struct Household {
    TestServer server;
    TestRelay relay { notStarted() };
    ClientHarness client { server.baseUrl() };
    std::unique_ptr<RelayClientHarness> device;
    std::unique_ptr<AppState> app;

    explicit Household(const QByteArray& modelAnswer = {})
    {
        if (!modelAnswer.isEmpty())
            relay.options().modelCommand
                = relay.writeScript(u"model.sh"_s, "cat >/dev/null; echo '" + modelAnswer + "'");
        relay.start();
        device = std::make_unique<RelayClientHarness>(relay.baseUrl());
        server.seedDemo(password);
        AppStateDeps deps = client.deps();
        deps.relay = &relayClient();
        app = std::make_unique<AppState>(deps);
        awaitTask(app->login(u"velmar"_s, password));
        awaitTask(relayClient().storeBearer(relay.token()));
    }

    MintbridgeClient& relayClient() { return device->client(); }
    std::vector<wire::TimeEntry> ledger() { return awaitTask(client.api().timeList(std::nullopt, 1000, 1)); }
};

} // namespace

class TimeChatHandlerTest : public QObject {
    Q_OBJECT

private slots:
    void blockSentenceLandsInTheLedger()
    {
        Household home;
        TimeStore* store = home.app->time();
        TimeChatHandler handler(store, &home.relayClient());
        QCOMPARE(handler.chatPlaceholder(), u"记时间 — 例：在 coding / 刚才睡了 1 小时 / 上午 9 点到 11 点 coding"_s);
        QVERIFY(!handler.isReady());
        QVERIFY(awaitTask(handler.checkRelay()));
        QVERIFY(handler.isReady());
        const int version = store->directTimeChangeVersion();

        QVERIFY2(awaitTask(handler.submitText(u"上午 9 点到 11 点 coding"_s)), qPrintable(handler.lastError()));

        // The device's clock says 20:30 on 21 November in Melbourne: the morning just past.
        const auto matches = [](const wire::TimeEntry& entry) {
            return entry.activity == u"coding"_s && entry.date == u"2026-11-21"_s && entry.start_time == u"09:00"_s
                && entry.end_time == std::optional<QString>(u"11:00"_s) && entry.source == u"voice-backfill"_s;
        };
        const auto ledger = home.ledger();
        QVERIFY(std::any_of(ledger.begin(), ledger.end(), matches));
        QVERIFY(std::any_of(store->entries().begin(), store->entries().end(), matches));
        QCOMPARE(store->directTimeChangeVersion(), version + 1);
        QVERIFY(!store->state().errorMessage);
        QVERIFY(handler.lastError().isEmpty());
    }

    void startThenStopMovesTheRunningActivity()
    {
        Household home;
        TimeStore* store = home.app->time();
        TimeChatHandler handler(store, &home.relayClient());
        QVERIFY(awaitTask(handler.submitText(u"开始 写论文"_s)));
        QVERIFY(store->current() && store->current()->active);
        QCOMPARE(store->current()->activity, std::optional<QString>(u"写论文"_s));
        QCOMPARE(store->current()->source, std::optional<QString>(u"voice"_s));
        QCOMPARE(store->currentMutationInFlight(), 0);

        home.server.clock().advance(45 * 60);
        QVERIFY(awaitTask(handler.submitText(u"写完了"_s)));
        QVERIFY(store->current() && !store->current()->active);
        QCOMPARE(store->currentMutationInFlight(), 0);
        const auto ledger = home.ledger();
        QVERIFY(std::any_of(
            ledger.begin(), ledger.end(), [](const wire::TimeEntry& entry) { return entry.activity == u"写论文"_s; }));
    }

    // What the bar shows is fixed; the store says why.
    void sentencesThatChangeNothing_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("situation");
        QTest::addColumn<QString>("storeMessage");
        QTest::newRow("not a time sentence") << u"今天午餐 50"_s << QString() << u"无法识别:没有识别出时间记录"_s;
        QTest::newRow("manual without a day")
            << u"上午 9 点到 11 点 coding"_s << u"no date"_s << u"manual 字段不全(activity/date/start/end)"_s;
        QTest::newRow("unknown action") << u"暂停一下"_s << u"pause"_s << u"未识别动作"_s;
        QTest::newRow("start without activity") << u"开始"_s << u"bare start"_s << u"没解析出活动名"_s;
        QTest::newRow("relay stopped by its switch")
            << u"上午 9 点到 11 点 coding"_s << u"kill switch"_s
            << u"mintbridge 失败:mintbridge 已紧急停用（~/.mintbridge-disable）"_s;
    }
    void sentencesThatChangeNothing()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, situation);
        QFETCH(QString, storeMessage);
        QByteArray answer;
        if (situation == u"no date")
            answer = R"({"action":"manual","activity":"coding","start_time":"09:00","end_time":"11:00"})";
        else if (situation == u"pause")
            answer = R"({"action":"pause","activity":"coding"})";
        else if (situation == u"bare start")
            answer = R"({"action":"start"})";
        Household home(answer);
        TimeStore* store = home.app->time();
        if (situation == u"kill switch")
            home.relay.setKillSwitch(true);
        TimeChatHandler handler(store, &home.relayClient());
        const auto before = home.ledger();
        const int version = store->directTimeChangeVersion();

        QVERIFY(!awaitTask(handler.submitText(sentence)));
        QCOMPARE(handler.lastError(), u"mintbridge 没解析出动作"_s);
        QCOMPARE(store->state().errorMessage, std::optional<QString>(storeMessage));
        QCOMPARE(store->directTimeChangeVersion(), version);
        QCOMPARE(store->currentMutationInFlight(), 0);
        QCOMPARE(home.ledger(), before);
    }

    void blankSentenceSaysNothing()
    {
        Household home;
        TimeStore* store = home.app->time();
        QVERIFY(!awaitTask(store->submitTimeIntent(u" \t "_s, u"haiku"_s)));
        QVERIFY(!store->state().errorMessage);
    }
};

QTEST_GUILESS_MAIN(TimeChatHandlerTest)
#include "TimeChatHandlerTest.moc"

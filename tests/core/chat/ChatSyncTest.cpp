#include "ChatHarness.h"

#include "agent/AgentEvent.h"
#include "chat/ChatSyncLoop.h"

#include <QCoroSignal>
#include <QNetworkReply>

#include <thread>

namespace {

using lumen::agent::TurnChannel;
using lumen::agent::TurnRequest;

// Releases the sync loop's pause when the test says so, and notes each pause asked for.
class Ticker : public QObject {
    Q_OBJECT

public:
    std::vector<std::chrono::milliseconds> asked;

    ChatSyncLoop::Sleep sleep()
    {
        return [this](std::chrono::milliseconds pause) -> QCoro::Task<void> {
            asked.push_back(pause);
            co_await qCoro(this, &Ticker::released);
        };
    }
    void release() { emit released(); }

signals:
    void released();
};

// Every machine's clock, and the server's, one minute on: each step has its own time.
void minuteLater(TestServer& server, std::initializer_list<ChatDevice*> devices)
{
    server.clock().advance(60);
    for (ChatDevice* device : devices)
        device->clock().advance(60);
}

// One machine at chat boot: its session list, the loop booted, the open conversation loaded.
struct Machine {
    ChatDevice device;
    SessionsStore sessions;
    Ticker ticker;
    ChatSyncLoop loop;

    Machine(TestServer& server)
        : device(server, "velmar")
        , sessions(device.context())
        , loop(&sessions, ticker.sleep())
    {
    }
    VelmarOSChatStore& chat() { return *sessions.activeStore(); }
    bool boot()
    {
        awaitTask(loop.boot());
        return QTest::qWaitFor([&] { return chat().historyDidLoad() > 0; }, 15000);
    }
};

} // namespace

// The conversation brought back from the log, and kept the same on two machines.
class ChatSyncTest : public QObject {
    Q_OBJECT

private slots:
    void damagedLogReplaysTheRest()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        wire::PendingCreate create;
        create.domain = "finance";
        create.payload = { { "amount", 12 }, { "category", "交通" }, { "currency", "AUD" } };
        create.source_text = "打车 12";
        const wire::PendingItem card = awaitTask(device.api().createPending(create));

        QDir().mkpath(device.client().paths().sessionsDir());
        const QStringList lines {
            R"({"id":"1","text":"打车 12","ts":"2026-11-20T08:00:00.000Z","type":"user_message"})",
            "{\"id\":\"2\",\"text\":\"被截断的一", // torn by a crash
            "",
            R"({"id":"3","tool":"create_pending","ts":"2026-11-20T08:00:01.000Z","type":"tool_call"})",
            QStringLiteral(R"({"assistant_text":"记一笔交通","domain":"finance","id":"4","pending_id":"%1",)"
                           R"("ts":"2026-11-20T08:00:02.000Z","type":"pending_emitted"})")
                .arg(card.id),
            R"({"assistant_text":"","domain":"finance","id":"5","pending_id":"999999","type":"pending_emitted"})",
            R"({"pending_id":"1","ts":"2026-11-20T08:00:03.000Z","type":"pending_committed"})",
            R"({"id":"6","message":"rate_limit","ts":"2026-11-20T08:00:04.000Z","type":"error"})",
            R"({"id":"7","row_count":"2","ts":"2026-11-20T08:00:05.000Z","type":"query_result"})",
            R"({"id":"8","text":"好的","type":"assistant_text"})",
        };
        QFile log(SessionJSONLWriter::urlFor(device.client().paths(), "S1"));
        QVERIFY(log.open(QIODevice::WriteOnly));
        log.write((lines.join('\n') + '\n').toUtf8());
        log.close();

        VelmarOSChatStore store(device.context(), "S1", true);
        QVERIFY(store.isLoadingHistory() || store.historyDidLoad() == 0);
        QTRY_COMPARE(store.historyDidLoad(), 1);
        QVERIFY(!store.isLoadingHistory());
        QCOMPARE(transcript(store),
            (QStringList {
                "user: 打车 12", "card: finance pending", "error: rate_limit", "query: 查询结果", "agent: 好的" }));
        const auto* shown = eventsOf<ChatEvent::PendingEmitted>(store).front();
        QCOMPARE(shown->assistantText, QStringLiteral("记一笔交通"));
        QCOMPARE(shown->sourceText, QStringLiteral("打车 12"));
        QCOMPARE(store.events().front().timestamp(), QDateTime(QDate(2026, 11, 20), QTime(8, 0), Qt::UTC));
        // The list of cards came after the history.
        QTRY_COMPARE(store.aggregatedPending().size(), std::size_t(1));
    }

    void loopBootsThenTicksEveryEightSeconds()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        Machine machine(server);
        QSignalSpy booted(&machine.loop, &ChatSyncLoop::booted);
        machine.loop.start();
        machine.loop.start(); // once is enough
        QTRY_COMPARE(booted.size(), 1);
        QTRY_COMPARE(machine.ticker.asked.size(), std::size_t(1));
        QCOMPARE(machine.ticker.asked.front(), std::chrono::milliseconds(8000));

        machine.ticker.release();
        QTRY_COMPARE(machine.loop.ticks(), 1);
        QTRY_COMPARE(machine.ticker.asked.size(), std::size_t(2));

        machine.loop.stop();
        QVERIFY(!machine.loop.running());
        machine.ticker.release();
        QTest::qWait(50);
        QCOMPARE(machine.loop.ticks(), 1);
    }

    void twoMachinesShowTheSameConversation()
    {
        TestServer::Options options;
        options.agentTurnsPerMinute = 0;
        TestServer server(options);
        server.seedDemo(chatPassword);
        Machine a(server);
        Machine b(server);
        QVERIFY(a.boot());
        QVERIFY(b.boot());
        QCOMPARE(a.sessions.activeSessionId(), b.sessions.activeSessionId());

        minuteLater(server, { &a.device, &b.device });
        a.chat().submit("今天午餐 50");
        QVERIFY(settle(a.chat()));
        awaitTask(b.loop.tick());
        QCOMPARE(transcript(b.chat()), (QStringList { "user: 今天午餐 50", "card: finance pending" }));

        // The other machine confirms; its line comes back here.
        minuteLater(server, { &a.device, &b.device });
        b.chat().confirm(eventsOf<ChatEvent::PendingEmitted>(b.chat()).front()->item.id);
        QTRY_VERIFY(b.chat().inFlightTerminal().isEmpty());
        QVERIFY(settle(b.chat()));
        minuteLater(server, { &a.device, &b.device });
        b.chat().submit("咖啡 30");
        QVERIFY(settle(b.chat()));

        awaitTask(a.loop.tick());
        awaitTask(b.loop.tick());
        const QStringList expected { "user: 今天午餐 50", "card: finance committed", "agent: ✓ 已记 餐饮 A$50.00",
            "user: 咖啡 30", "card: finance pending" };
        QCOMPARE(transcript(a.chat()), expected);
        QCOMPARE(transcript(b.chat()), expected);
        QCOMPARE(a.chat().aggregatedPending().size(), std::size_t(1));
        QCOMPARE(a.sessions.activeSession().title, QStringLiteral("今天午餐 50"));
        QCOMPARE(b.sessions.activeSession().title, QStringLiteral("今天午餐 50"));

        // Nothing changed: a tick leaves the screen alone.
        QSignalSpy rebuilt(&a.chat(), &VelmarOSChatStore::eventsChanged);
        awaitTask(a.loop.tick());
        QCOMPARE(rebuilt.size(), 0);
        const auto messages = awaitTask(a.device.api().chatMessages(a.sessions.activeSessionId(), 400));
        QCOMPARE(messages.size(), std::size_t(5));
    }

    void answerOfACutStreamArrivesWithTheServersCopy()
    {
        TestServer::Options options;
        options.agentTurnsPerMinute = 0;
        TestServer server(options);
        server.seedDemo(chatPassword);
        Gate gate;
        ScriptedAgent::install(server, [&](const TurnRequest&, TurnChannel& channel) {
            channel.say("第一段。");
            gate.wait();
            channel.say("第二段。");
            // Goes on until a write fails, so the server knows the client went away.
            for (int i = 0; i < 500 && !channel.clientGone(); ++i) {
                channel.send(lumen::agent::AgentEvent::textDelta(QString()));
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        });
        Machine a(server);
        Machine b(server);
        QVERIFY(a.boot());
        QVERIFY(b.boot());

        minuteLater(server, { &a.device, &b.device });
        a.chat().submit("讲两段", {}, {}, opus);
        QTRY_COMPARE(a.chat().streamingText(), QStringLiteral("第一段。"));
        // The connection dies under the answer (not a cancel by the user).
        for (QNetworkReply* reply : a.device.agent().networkAccessManager()->findChildren<QNetworkReply*>())
            reply->abort();
        QTRY_COMPARE(a.chat().inFlight(), 0);
        QCOMPARE(a.chat().streamingText(), QString());
        QCOMPARE(transcript(a.chat()), QStringList { "user: 讲两段" });
        minuteLater(server, { &a.device, &b.device });
        gate.open();

        const QString session = a.sessions.activeSessionId();
        QVERIFY2(
            QTest::qWaitFor([&] { return awaitTask(a.device.api().chatMessages(session, 400)).size() >= 2; }, 15000),
            "the server kept no copy of the cut answer");
        QVERIFY(settle(a.chat()));
        awaitTask(a.loop.tick());
        awaitTask(b.loop.tick());
        const QStringList expected { "user: 讲两段", "agent: 第一段。第二段。" };
        QCOMPARE(transcript(a.chat()), expected);
        QCOMPARE(transcript(b.chat()), expected);
        // Ticks later, still once each.
        awaitTask(a.loop.tick());
        QCOMPARE(awaitTask(a.device.api().chatMessages(session, 400)).size(), std::size_t(2));
    }
};

QTEST_GUILESS_MAIN(ChatSyncTest)
#include "ChatSyncTest.moc"

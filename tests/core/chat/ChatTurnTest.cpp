#include "ChatHarness.h"

#include "agent/AgentEvent.h"

#include <QRegularExpression>

namespace {

using lumen::agent::TurnChannel;
using lumen::agent::TurnRequest;
namespace server = lumen::agent;

QStringList logTypes(VelmarOSChatStore& store)
{
    QStringList types;
    for (const QString& line : store.writer().readLines())
        types << QJsonDocument::fromJson(line.toUtf8()).object().value("type").toString();
    return types;
}

QList<QJsonObject> logLines(VelmarOSChatStore& store, const QString& type)
{
    QList<QJsonObject> found;
    for (const QString& line : store.writer().readLines()) {
        const QJsonObject object = QJsonDocument::fromJson(line.toUtf8()).object();
        if (object.value("type") == type)
            found << object;
    }
    return found;
}

} // namespace

// Chat turns from submit to the last event, against the real server: its built-in agent,
// and a scripted agent in its place for what the built-in one never says.
class ChatTurnTest : public QObject {
    Q_OBJECT

private slots:
    void sentenceBecomesACardWithItsTrailAndResumeId()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        VelmarOSChatStore store(device.context(), QString());
        QCOMPARE(store.sessionId(), QStringLiteral("default"));

        store.submit("  今天午餐 50\n");
        // On screen and in the log before the agent says anything.
        QCOMPARE(transcript(store), QStringList { "user: 今天午餐 50" });
        QCOMPARE(logTypes(store), QStringList { "user_message" });
        QCOMPARE(store.inFlight(), 1);
        QCOMPARE(store.newTurnScrollAnchor(), 1);

        QVERIFY(settle(store));
        QCOMPARE(transcript(store), (QStringList { "user: 今天午餐 50", "card: finance pending" }));
        const auto* card = eventsOf<ChatEvent::PendingEmitted>(store).front();
        QVERIFY(card->assistantText.contains("A$50"));
        QCOMPARE(card->item.source_session, std::optional<QString>("default"));
        QCOMPARE(card->item.source_text, std::optional<QString>("今天午餐 50"));
        QCOMPARE(store.aggregatedPending().size(), std::size_t(1));
        QCOMPARE(store.firstPendingEventID(), std::optional(store.events().back().id()));

        // Each tool step of the turn, numbered, finished.
        QCOMPARE(store.toolTrail().size(), std::size_t(2));
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(store.toolTrail()[i].iter, i + 1);
            QCOMPARE(store.toolTrail()[i].status, ToolTrailEntry::Status::ok);
            QVERIFY(store.toolTrail()[i].durationMs());
        }
        QVERIFY(!store.agentLoopActive());
        QCOMPARE(store.streamingText(), QString());
        QCOMPARE(logTypes(store),
            (QStringList {
                "user_message", "tool_call", "tool_result", "tool_call", "tool_result", "pending_emitted" }));
        QCOMPARE(logLines(store, "pending_emitted").front().value("pending_id").toString(), card->item.id);
        // The resume id the server reported is kept for the next turn.
        QVERIFY(!store.agentCliSessionId().value_or(QString()).isEmpty());
        QCOMPARE(device.settings().value("_agentCliSessionId_default").toString(), *store.agentCliSessionId());

        // One learnt from the server wins; an empty one changes nothing.
        store.seedResumeCliSessionId(QStringLiteral("from-the-server-1"));
        store.seedResumeCliSessionId(QString());
        store.submit("你好");
        QVERIFY(settle(store));
        QCOMPARE(store.agentCliSessionId(), std::optional<QString>("from-the-server-1"));

        awaitTask(store.clearChatHistory());
        QVERIFY(!device.settings().contains("_agentCliSessionId_default"));
        QVERIFY(store.events().empty());
        QVERIFY(store.writer().readLines().isEmpty());
    }

    void queuedSentencesRunOneAtATimeInOrder()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        VelmarOSChatStore store(device.context(), "S1");
        QList<int> inFlight;
        connect(&store, &VelmarOSChatStore::inFlightChanged, this, [&] { inFlight << store.inFlight(); });

        store.submit("今天午餐 50");
        store.submit("咖啡 30");
        QCOMPARE(transcript(store), (QStringList { "user: 今天午餐 50", "user: 咖啡 30" }));
        QCOMPARE(store.queuedCount(), 1);
        QVERIFY(settle(store));

        QCOMPARE(transcript(store),
            (QStringList { "user: 今天午餐 50", "user: 咖啡 30", "card: finance pending", "card: finance pending" }));
        const auto cards = eventsOf<ChatEvent::PendingEmitted>(store);
        QCOMPARE(cards[0]->item.payload.at("amount").doubleValue(), std::optional<double>(50));
        QCOMPARE(cards[1]->item.payload.at("amount").doubleValue(), std::optional<double>(30));
        QCOMPARE(cards[1]->item.source_text, std::optional<QString>("咖啡 30"));
        // Newest first in the list of cards waiting.
        QCOMPARE(store.aggregatedPending().front().id, cards[1]->item.id);
        QCOMPARE(inFlight, (QList<int> { 1, 0, 1, 0 }));
    }

    void cancelThenSubmitLeavesInFlightRight()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        Gate gate;
        ScriptedAgent::install(server, [&](const TurnRequest&, TurnChannel& channel) {
            channel.say("让我想想");
            gate.wait();
            channel.say("晚到的话。");
            channel.say("更晚的话。");
        });
        ChatDevice device(server, "velmar");
        VelmarOSChatStore store(device.context(), "S1");
        QList<int> inFlight;
        connect(&store, &VelmarOSChatStore::inFlightChanged, this, [&] { inFlight << store.inFlight(); });

        store.submit("慢慢想", {}, {}, opus);
        store.submit("排队的一句");
        QTRY_COMPARE(store.streamingText(), QStringLiteral("让我想想"));
        store.cancelCurrentTurn();
        QCOMPARE(store.inFlight(), 0);
        QCOMPARE(store.queuedCount(), 0);
        QVERIFY(!store.agentLoopActive());
        QCOMPARE(store.streamingText(), QString());

        store.submit("今天午餐 50");
        QCOMPARE(store.inFlight(), 1);
        gate.open();
        QVERIFY(settle(store));

        QCOMPARE(inFlight, (QList<int> { 1, 0, 1, 0 }));
        // The cancelled turn's words never show, nor an error; the queued sentence was dropped.
        QCOMPARE(transcript(store),
            (QStringList { "user: 慢慢想", "user: 排队的一句", "user: 今天午餐 50", "card: finance pending" }));
        QCOMPARE(logLines(store, "assistant_text").size(), 0);
    }

    void toolTrailAndSubagents()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        const QString task = QString(70, QChar(u'查'));
        ScriptedAgent::install(server, [&](const TurnRequest&, TurnChannel& channel) {
            channel.say("先查一下。");
            const QString spawn = channel.startTool("spawn_subagent", { { "kind", "research" }, { "task", task } });
            channel.send(server::AgentEvent::toolResult("nobody", false, "ignored"));
            channel.finishTool(spawn, true, "spent $0.00 then $1.25");
            const QString lookup = channel.startTool("spawn_subagent", { { "task", 7 } });
            channel.finishTool(lookup, false, QString());
            channel.say("查完了。");
        });
        ChatDevice device(server, "velmar");
        VelmarOSChatStore store(device.context(), "S1");
        store.submit("查查看", {}, {}, opus);
        QVERIFY(settle(store));

        QCOMPARE(transcript(store), (QStringList { "user: 查查看", "agent: 先查一下。", "agent: 查完了。" }));
        const auto& trail = store.toolTrail();
        QCOMPARE(trail.size(), std::size_t(2));
        QCOMPARE(trail[0].status, ToolTrailEntry::Status::ok);
        QCOMPARE(trail[0].resultPreview, std::optional<QString>("spent $0.00 then $1.25"));
        QCOMPARE(trail[1].status, ToolTrailEntry::Status::error);
        QCOMPARE(trail[1].resultPreview, std::nullopt);

        const auto& runs = store.subagentRuns();
        QCOMPARE(runs.size(), std::size_t(2));
        QCOMPARE(runs[0].kind, QStringLiteral("research"));
        QCOMPARE(runs[0].label, task.left(60));
        QCOMPARE(runs[0].status, SubagentRun::Status::done);
        QCOMPARE(runs[0].costUSD, std::optional<double>(1.25));
        QCOMPARE(runs[1].kind, QStringLiteral("cc"));
        QCOMPARE(runs[1].label, QString());
        QCOMPARE(runs[1].status, SubagentRun::Status::failed);

        // Text before a tool is its own line, logged as such; tool steps stay in the log.
        const auto said = logLines(store, "assistant_text");
        QCOMPARE(said.size(), 2);
        QCOMPARE(said[0].value("text").toString(), QStringLiteral("先查一下。"));
        QCOMPARE(logLines(store, "tool_result").size(), 3);
        QCOMPARE(logLines(store, "tool_result")[0].value("ok").toString(), QStringLiteral("false"));
    }

    void turnEndings_data()
    {
        QTest::addColumn<QString>("ending");
        QTest::addColumn<QString>("shown"); // a pattern
        QTest::addColumn<QString>("logged"); // the error line's message; empty for none
        QTest::newRow("nothing said") << "silent"
                                      << "^没识别出可记录的内容，换种说法再试一次$"
                                      << "";
        QTest::newRow("agent failure") << "throws"
                                       << "^服务器内部错误，请稍后再试$"
                                       << "服务器内部错误，请稍后再试";
        QTest::newRow("rate limited") << "limited"
                                      << "^速率限制，\\d+s 后重试$"
                                      << "rate_limit";
        QTest::newRow("login expired") << "expired"
                                       << "^登录已过期，请重新登录$"
                                       << "登录已过期，请重新登录";
    }

    void turnEndings()
    {
        QFETCH(QString, ending);
        QFETCH(QString, shown);
        QFETCH(QString, logged);
        TestServer::Options options;
        options.agentTurnsPerMinute = ending == "limited" ? 1 : 20;
        TestServer server(options);
        server.seedDemo(chatPassword);
        ScriptedAgent::install(server, [&](const TurnRequest&, TurnChannel& channel) {
            if (ending == "throws")
                throw std::runtime_error("scripted failure");
            if (ending == "limited")
                channel.say("第一句。");
        });
        ChatDevice device(server, "velmar", ending == "expired" ? QStringLiteral("no-longer-valid") : QString());
        VelmarOSChatStore store(device.context(), "S1");
        int authFailures = 0;
        store.onAuthFailure = [&] { ++authFailures; };
        if (ending == "limited") {
            store.submit("第一句", {}, {}, opus);
            QVERIFY(settle(store));
        }
        store.submit("这一句", {}, {}, opus);
        QVERIFY(settle(store));

        const auto errors = eventsOf<ChatEvent::ErrorMessage>(store);
        QCOMPARE(errors.size(), std::size_t(1));
        QVERIFY2(
            QRegularExpression(shown).match(errors.front()->message).hasMatch(), qPrintable(errors.front()->message));
        const auto lines = logLines(store, "error");
        QCOMPARE(lines.size(), logged.isEmpty() ? 0 : 1);
        if (!logged.isEmpty())
            QCOMPARE(lines.front().value("message").toString(), logged);
        QCOMPARE(authFailures, ending == "expired" ? 1 : 0);
        QCOMPARE(store.inFlight(), 0);
    }

    void proposedDeletes_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::newRow("the record goes") << true;
        QTest::newRow("a record already gone") << false;
    }

    void proposedDeletes()
    {
        QFETCH(bool, exists);
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        const auto ledger = ledgerOf(server, "velmar");
        QVERIFY(!ledger.empty());
        const qint64 target = exists ? qint64(ledger.front().id) : 987654;
        ScriptedAgent::install(server, [&](const TurnRequest&, TurnChannel& channel) {
            channel.say("要删这笔吗？");
            channel.send(server::AgentEvent::proposedDelete(
                "finance", target, "午餐 50", QStringLiteral("/finance/transactions/%1/delete").arg(target)));
        });
        VelmarOSChatStore store(device.context(), "S1");
        store.submit("删掉刚才那笔", {}, {}, opus);
        QVERIFY(settle(store));
        QCOMPARE(transcript(store), (QStringList { "user: 删掉刚才那笔", "agent: 要删这笔吗？", "delete: pending" }));
        const QUuid proposal = store.events().back().id();

        store.cancelProposedDelete(store.events().front().id()); // not a delete: nothing happens
        store.confirmProposedDelete(proposal);
        QCOMPARE(transcript(store).last(), QStringLiteral("delete: deleting"));
        if (exists) {
            QTRY_COMPARE(transcript(store).last(), QStringLiteral("delete: confirmed"));
            QCOMPARE(store.financeActivityChanged(), 1);
            QCOMPARE(ledgerOf(server, "velmar").size(), ledger.size() - 1);
        } else {
            QTRY_VERIFY(transcript(store).last().startsWith("error: 删除失败："));
            QCOMPARE(transcript(store).at(2), QStringLiteral("delete: pending"));
            QCOMPARE(store.financeActivityChanged(), 0);
            store.cancelProposedDelete(proposal);
            QCOMPARE(transcript(store).at(2), QStringLiteral("delete: cancelled"));
        }
    }
};

QTEST_GUILESS_MAIN(ChatTurnTest)
#include "ChatTurnTest.moc"

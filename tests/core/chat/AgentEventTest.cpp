#include "AgentHarness.h"

#include <QTest>

namespace {

using E = AgentEvent;
using Events = std::vector<AgentEvent>;

QJsonObject object(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

} // namespace

// How one data object becomes an event: every default of the event table.
class AgentEventTest : public QObject {
    Q_OBJECT

private slots:
    void parseSSEEvent_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<Events>("expected");

        QTest::newRow("session") << "session" << QByteArray(R"({"session_id":"s1","model":"sonnet"})")
                                 << Events { E::Session { "s1", "sonnet" } };
        QTest::newRow("text_delta") << "text_delta" << QByteArray(R"({"text":"你好"})")
                                    << Events { E::TextDelta { "你好" } };
        QTest::newRow("text_delta without text is dropped") << "text_delta" << QByteArray("{}") << Events {};
        QTest::newRow("tool_call_start defaults")
            << "tool_call_start" << QByteArray("{}") << Events { E::ToolCallStart {} };
        QTest::newRow("tool_call_start input keeps integers apart")
            << "tool_call_start"
            << QByteArray(R"({"tool_use_id":"t1","tool":"ledger","input":{"n":2,"x":1.5,"s":"a","b":true,"z":null}})")
            << Events { E::ToolCallStart { "t1", "ledger",
                   { { "n", wire::JSONScalar(qint64(2)) }, { "x", wire::JSONScalar(1.5) },
                       { "s", wire::JSONScalar(QString("a")) }, { "b", wire::JSONScalar(true) },
                       { "z", wire::JSONScalar() } } } };
        QTest::newRow("tool_result without ok is a success")
            << "tool_result" << QByteArray(R"({"tool_use_id":"t1"})") << Events { E::ToolResult { "t1", true, "" } };
        QTest::newRow("tool_result with a numeric ok counts it absent")
            << "tool_result" << QByteArray(R"({"ok":0})") << Events { E::ToolResult { "", true, "" } };
        QTest::newRow("pending_card with an empty payload")
            << "pending_card" << QByteArray(R"({"payload":{}})")
            << Events { E::PendingCard { "", "finance", "create", { { "_kind", "create" } }, "" } };
        QTest::newRow("pending_card keeps its kind")
            << "pending_card"
            << QByteArray(
                   R"({"pending_id":"p1","domain":"time","payload":{"_kind":"update","amount":50},"source_text":"s"})")
            << Events { E::PendingCard { "p1", "time", "update", { { "_kind", "update" }, { "amount", 50 } }, "s" } };
        QTest::newRow("pending_card kind that is not text")
            << "pending_card" << QByteArray(R"({"payload":{"_kind":7}})")
            << Events { E::PendingCard { "", "finance", "create", { { "_kind", 7 } }, "" } };
        QTest::newRow("target_id 12.9 gives 12")
            << "proposed_delete" << QByteArray(R"({"target_id":12.9,"delete_endpoint":"/finance/transactions/12"})")
            << Events { E::ProposedDelete { "finance", 12, "", "/finance/transactions/12" } };
        QTest::newRow("target_id as text gives 0")
            << "proposed_delete" << QByteArray(R"({"domain":"time","target_id":"12","preview":"删 午餐"})")
            << Events { E::ProposedDelete { "time", 0, "删 午餐", "" } };
        QTest::newRow("query_result defaults")
            << "query_result" << QByteArray("{}") << Events { QueryResultBlock { "finance", "查询结果", {}, "", "" } };
        QTest::newRow("query_result cells as text")
            << "query_result"
            << QByteArray(R"({"rows":[{"b":true,"f":false,"i":3,"w":3.0,"d":2.5,"n":null,"s":"x","big":1e18,)"
                          R"("huge":1e30}],"id_hint":"id","summary":"共 1 条"})")
            << Events { QueryResultBlock { "finance", "查询结果",
                   { { { "b", "是" }, { "f", "否" }, { "i", "3" }, { "w", "3" }, { "d", "2.5" }, { "n", "—" },
                       { "s", "x" }, { "big", "1000000000000000000" }, { "huge", "1e+30" } } },
                   "id", "共 1 条" } };
        QTest::newRow("query_result rows with a non-object are unusable")
            << "query_result" << QByteArray(R"({"rows":[{"a":1},2],"title":"本月"})")
            << Events { QueryResultBlock { "finance", "本月", {}, "", "" } };
        QTest::newRow("time_effect defaults")
            << "time_effect" << QByteArray("{}") << Events { E::TimeEffect { "started", std::nullopt, std::nullopt } };
        QTest::newRow("time_effect stopped")
            << "time_effect" << QByteArray(R"({"kind":"stopped","activity":"coding","timestamp":"t"})")
            << Events { E::TimeEffect { "stopped", "coding", "t" } };
        QTest::newRow("rate_limit truncates")
            << "rate_limit" << QByteArray(R"({"retry_after_sec":30.7})") << Events { E::RateLimited { 30 } };
        QTest::newRow("error defaults") << "error" << QByteArray(R"({"code":1})")
                                        << Events { E::Error { "unknown", "未知错误" } };
        QTest::newRow("result numbers") << "result"
                                        << QByteArray(R"({"reason":"end_turn","iterations":3.9,"cost_usd":1})")
                                        << Events { E::Result { "end_turn", 3, 1.0 } };
        QTest::newRow("unknown type is dropped") << "thinking" << QByteArray(R"({"text":"x"})") << Events {};
    }
    void parseSSEEvent()
    {
        QFETCH(QString, type);
        QFETCH(QByteArray, data);
        QFETCH(Events, expected);
        const auto event = AgentClient::parseSSEEvent(type, object(data));
        const Events actual = event ? Events { *event } : Events {};
        QCOMPARE(describe(actual), describe(expected));
        QVERIFY(actual == expected);
    }

    void timeEffectBecomesAnActivityEffect()
    {
        const E::TimeEffect started { "started", "coding", "2026-11-21T09:00:00Z" };
        const TimeActivityEffect expected { TimeActivityEffect::Kind::Started, "coding", "2026-11-21T09:00:00Z" };
        QCOMPARE(started.activityEffect(), std::optional(expected));
        const E::TimeEffect stopped { "stopped", std::nullopt, std::nullopt };
        QCOMPARE(stopped.activityEffect()->kind, TimeActivityEffect::Kind::Stopped);
        const E::TimeEffect paused { "paused", std::nullopt, std::nullopt };
        QVERIFY(!paused.activityEffect());
    }
};

QTEST_GUILESS_MAIN(AgentEventTest)
#include "AgentEventTest.moc"

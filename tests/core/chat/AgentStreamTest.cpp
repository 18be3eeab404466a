#include "AgentHarness.h"
#include "ScriptedPeer.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>

using namespace std::chrono_literals;

namespace {

using E = AgentEvent;
using Events = std::vector<AgentEvent>;

QByteArray sse(const QByteArray& body)
{
    return ScriptedPeer::head(200, "text/event-stream", body.size()) + body;
}

// An answer that promises more than it sends, so the peer can cut it or hold it open.
QByteArray openSse(const QByteArray& firstBytes)
{
    return ScriptedPeer::head(200, "text/event-stream", 100000) + firstBytes;
}

const QByteArray eventA = "event: text_delta\ndata: {\"text\":\"a\"}\n\n";
const QByteArray goodBody = "data: {\"type\":\"text_delta\",\"text\":\"ok\"}\n\ndata: [DONE]\n\n";

// "type" or "error:code", one per event.
QStringList outline(const Events& events)
{
    QStringList out;
    for (const auto& event : events) {
        if (const auto* error = event.as<E::Error>())
            out << "error:" + error->code;
        else
            out << AgentEvent::typeName(event.kind());
    }
    return out;
}

QUrl closedPortUrl()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port));
}

std::unique_ptr<AgentStream> open(AgentHarness& device, bool chatSession, std::vector<VisionImage> images = {})
{
    return device.agent().streamAgentChat("今天午餐 50", std::nullopt, std::nullopt, std::move(images),
        chatSession ? std::optional<QString>("chat-1") : std::nullopt);
}

} // namespace

// The stream against a scripted peer: framing, the event table, and faults a real server never produces.
class AgentStreamTest : public QObject {
    Q_OBJECT

private slots:
    void framing_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<Events>("expected");
        QTest::newRow("[DONE] with a pending name ends the stream") << QByteArray(
            "data: {\"type\":\"text_delta\",\"text\":\"a\"}\nevent: text_delta\ndata: [DONE]\n"
            "data: {\"type\":\"text_delta\",\"text\":\"after\"}\n") << Events { E::TextDelta { "a" } };
        QTest::newRow("data: without the blank is ignored")
            << QByteArray("data:{\"type\":\"text_delta\",\"text\":\"x\"}\n") << Events {};
        QTest::newRow("event: without the blank binds nothing")
            << QByteArray("event:result\ndata: {\"type\":\"text_delta\",\"text\":\"x\"}\n")
            << Events { E::TextDelta { "x" } };
        QTest::newRow("a name binds across an empty line")
            << QByteArray("event: text_delta\n\ndata: {\"text\":\"hi\"}\n") << Events { E::TextDelta { "hi" } };
        QTest::newRow("the pending name wins over type")
            << QByteArray("event: text_delta\ndata: {\"type\":\"result\",\"text\":\"hi\"}\n")
            << Events { E::TextDelta { "hi" } };
        QTest::newRow("undecodable data drops the pending name")
            << QByteArray("event: result\ndata: not json\ndata: {\"type\":\"text_delta\",\"text\":\"x\"}\n")
            << Events { E::TextDelta { "x" } };
        QTest::newRow("an unknown event drops the pending name") << QByteArray(
            "event: mystery\ndata: {\"type\":\"text_delta\",\"text\":\"z\"}\n"
            "data: {\"type\":\"text_delta\",\"text\":\"w\"}\n") << Events { E::TextDelta { "w" } };
        QTest::newRow("comments, ids and retries are plain lines")
            << QByteArray(": ping\nid: 3\nretry: 10\ndata: {\"type\":\"tool_result\"}\n")
            << Events { E::ToolResult { "", true, "" } };
        QTest::newRow("a last line without its newline")
            << QByteArray("data: {\"type\":\"text_delta\",\"text\":\"tail\"}") << Events { E::TextDelta { "tail" } };
        QTest::newRow("a result does not end reading")
            << QByteArray("data: {\"type\":\"result\"}\ndata: {\"type\":\"text_delta\",\"text\":\"late\"}\n")
            << Events { E::Result {}, E::TextDelta { "late" } };
    }
    void framing()
    {
        QFETCH(QByteArray, body);
        QFETCH(Events, expected);
        ScriptedPeer peer;
        peer.enqueue({ ScriptedPeer::write(sse(body)) });
        AgentHarness device(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("tok"));
        auto stream = open(device, false);
        const Events events = collect(*stream);
        QCOMPARE(describe(events), describe(expected));
        QCOMPARE(stream->attempts(), 1);
    }

    // One data object to one event: the defaults of the event table.
    void parseSSEEvent_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<Events>("expected");

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
        const auto event = AgentClient::parseSSEEvent(type, QJsonDocument::fromJson(data).object());
        const Events actual = event ? Events { *event } : Events {};
        QCOMPARE(describe(actual), describe(expected));
        QVERIFY(actual == expected);
    }

    void requestCarriesTheSentenceAndHeaders()
    {
        ScriptedPeer peer;
        peer.enqueue({ ScriptedPeer::write(sse(goodBody)) });
        AgentHarness device(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("tok-7"));
        auto stream = device.agent().streamAgentChat(
            "今天午餐 50", "agent-s", "sonnet", { { "image/jpeg", "QUJD" } }, QStringLiteral("chat-1"));
        collect(*stream);
        const auto& request = peer.requests().at(0);
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.path, QByteArray("/agent/chat"));
        QCOMPARE(request.headers.value("accept"), QByteArray("text/event-stream"));
        QCOMPARE(request.headers.value("content-type"), QByteArray("application/json"));
        QCOMPARE(request.headers.value("authorization"), QByteArray("Bearer tok-7"));
        // Keys sorted; a stream without images or ids leaves those keys out.
        QCOMPARE(request.body,
            QByteArray(R"({"chat_session_id":"chat-1","images":[{"base64":"QUJD","media_type":"image/jpeg"}],)"
                       R"("message":"今天午餐 50","model":"sonnet","session_id":"agent-s"})"));
        QCOMPARE(AgentClient::requestBody("hi", std::nullopt, std::nullopt, {}, std::nullopt),
            QByteArray(R"({"message":"hi"})"));
    }

    void linesAreReadAsTheyArrive()
    {
        ScriptedPeer peer;
        const QByteArray first = "data: {\"type\":\"text_delta\",\"text\":\"jo";
        const QByteArray second = "ined\"}\n";
        peer.enqueue({ ScriptedPeer::write(openSse(first)), ScriptedPeer::pause(30), ScriptedPeer::write(second),
            ScriptedPeer::hold() });
        AgentHarness device(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("tok"));
        auto stream = open(device, true);
        QSignalSpy received(stream.get(), &AgentStream::eventReceived);
        QSignalSpy finished(stream.get(), &AgentStream::finished);
        // The peer still holds the answer open: the event came from the first bytes alone.
        QTRY_COMPARE(received.count(), 1);
        QCOMPARE(received.at(0).at(0).value<AgentEvent>(), AgentEvent(E::TextDelta { "joined" }));
        QCOMPARE(finished.count(), 0);

        stream->cancel();
        QCOMPARE(finished.count(), 1);
        QVERIFY(stream->isFinished());
        // The event waits for next(); after it, the end. No error event for a cancel.
        QCOMPARE(describe(collect(*stream)), describe({ E::TextDelta { "joined" } }));
    }

    void doneEndsTheStreamThoughTheConnectionStaysOpen()
    {
        ScriptedPeer peer;
        peer.enqueue(
            { ScriptedPeer::write(openSse("data: {\"type\":\"result\"}\ndata: [DONE]\n")), ScriptedPeer::hold() });
        AgentHarness device(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("tok"));
        auto stream = open(device, false);
        QCOMPARE(outline(collect(*stream)), QStringList { "result" });
    }

    void droppingTheStreamEndsItSilently()
    {
        ScriptedPeer peer;
        peer.enqueue({ ScriptedPeer::write(openSse(eventA)), ScriptedPeer::hold() });
        AgentHarness device(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("tok"));
        auto stream = open(device, false);
        QSignalSpy finished(stream.get(), &AgentStream::finished);
        QCOMPARE(outline({ awaitTask(stream->next()).value() }), QStringList { "text_delta" });

        // A consumer still waiting for the next event when the stream goes away.
        std::optional<std::optional<AgentEvent>> waited;
        auto waiter = [](AgentStream* s, std::optional<std::optional<AgentEvent>>* out) -> QCoro::Task<void> {
            *out = co_await s->next();
        }(stream.get(), &waited);
        QVERIFY(!waited);
        stream.reset();
        QTRY_VERIFY(waited.has_value());
        QVERIFY(!waited->has_value());
        QCOMPARE(finished.count(), 0);
        QCOMPARE(peer.requestCount(), 1);
    }

    void connectionFaults_data()
    {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<bool>("chatSession");
        QTest::addColumn<QStringList>("events");
        QTest::addColumn<int>("attempts");
        for (const bool chat : { true, false }) {
            const char* suffix = chat ? ", chat session sent" : ", no chat session";
            const QStringList lostEnd = chat ? QStringList {} : QStringList { "error:transport" };
            QTest::addRow("lost before any answer, retried once%s", suffix)
                << "lost-then-good" << chat << QStringList { "text_delta" } << 2;
            QTest::addRow("lost twice before any event%s", suffix) << "lost-twice" << chat << lostEnd << 2;
            QTest::addRow("answered but cut before any event, retried%s", suffix)
                << "cut-before-event" << chat << QStringList { "text_delta" } << 2;
            QTest::addRow("cut after the first event, never retried%s", suffix)
                << "cut-after-event" << chat << (QStringList { "text_delta" } + lostEnd) << 1;
            QTest::addRow("stalled twice%s", suffix) << "stalled" << chat << lostEnd << 2;
            QTest::addRow("trickling past the whole-transfer limit%s", suffix) << "trickle" << chat << lostEnd << 2;
            QTest::addRow("nothing listening%s", suffix) << "refused" << chat << lostEnd << 2;
        }
    }
    void connectionFaults()
    {
        QFETCH(QString, scenario);
        QFETCH(bool, chatSession);
        QFETCH(QStringList, events);
        QFETCH(int, attempts);
        ScriptedPeer peer;
        const ScriptedPeer::Script trickle { ScriptedPeer::write(openSse(": ping\n")), ScriptedPeer::pause(100),
            ScriptedPeer::write(": ping\n"), ScriptedPeer::pause(100), ScriptedPeer::write(": ping\n"),
            ScriptedPeer::pause(100), ScriptedPeer::write(": ping\n"), ScriptedPeer::pause(100),
            ScriptedPeer::write(": ping\n"), ScriptedPeer::hold() };
        // Qt itself resends once on a connection closed before any answer, so each loss seen
        // by the stream takes two drops.
        if (scenario == "lost-then-good") {
            for (int i = 0; i < 2; ++i)
                peer.enqueue({ ScriptedPeer::close() });
            peer.enqueue({ ScriptedPeer::write(sse(goodBody)) });
        } else if (scenario == "lost-twice") {
            for (int i = 0; i < 4; ++i)
                peer.enqueue({ ScriptedPeer::close() });
        } else if (scenario == "cut-before-event") {
            peer.enqueue({ ScriptedPeer::write(openSse(": ping\nevent: text_delta\n")), ScriptedPeer::close() });
            peer.enqueue({ ScriptedPeer::write(sse(goodBody)) });
        } else if (scenario == "cut-after-event") {
            peer.enqueue({ ScriptedPeer::write(openSse(eventA)), ScriptedPeer::close() });
            peer.enqueue({ ScriptedPeer::write(sse(goodBody)) });
        } else if (scenario == "stalled") {
            peer.enqueue({ ScriptedPeer::hold() });
            peer.enqueue({ ScriptedPeer::hold() });
        } else if (scenario == "trickle") {
            peer.enqueue(trickle);
            peer.enqueue(trickle);
        }
        const QUrl base = scenario == "refused" ? closedPortUrl() : peer.baseUrl();
        AgentHarness device(base, ClientHarness::Options::bearerInEnvironment("tok"), AgentTimeouts { 250ms, 350ms });
        auto stream = open(device, chatSession);
        const Events received = collect(*stream);
        QCOMPARE(outline(received), events);
        QCOMPARE(stream->attempts(), attempts);
        const std::vector<std::chrono::milliseconds> expectedPauses(attempts - 1, 350ms);
        QCOMPARE(device.pauses(), expectedPauses);
        if (scenario == "stalled" || scenario == "trickle") {
            if (const auto* error = received.empty() ? nullptr : received.back().as<E::Error>())
                QCOMPARE(error->message, QStringLiteral("请求超时"));
        }
    }

    void refusals_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("withImage");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("message");
        const QByteArray two00(200, 'a');
        QTest::newRow("401") << 401 << QByteArray(R"({"detail":"expired"})") << false << "unauthorized"
                             << "登录已过期，请重新登录";
        QTest::newRow("a body of 200 characters stays whole") << 500 << two00 << false << "http_500"
                                                              << "服务器错误 (500) " + QString(two00);
        QTest::newRow("a body of 201 characters is cut") << 500 << two00 + "b" << false << "http_500"
                                                         << "服务器错误 (500) " + QString(two00) + "…";
        QTest::newRow("422 with images") << 422 << QByteArray(R"({"detail":"bad image"})") << true << "image_error"
                                         << "图片处理失败，请重试或换一张";
        QTest::newRow("422 without images") << 422 << QByteArray(R"({"detail":"bad"})") << false << "http_422"
                                            << R"(服务器错误 (422) {"detail":"bad"})";
    }
    void refusals()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(bool, withImage);
        QFETCH(QString, code);
        QFETCH(QString, message);
        ScriptedPeer peer;
        peer.enqueueResponse(status, body, "text/plain", { { "Location", peer.baseUrl().toString().toUtf8() + "/x" } });
        AgentHarness device(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("tok"));
        std::vector<VisionImage> images;
        if (withImage)
            images.push_back({ "image/png", "QUJD" });
        auto stream = open(device, true, images);
        QCOMPARE(describe(collect(*stream)), describe({ E::Error { code, message } }));
        QCOMPARE(stream->attempts(), 1);
        QVERIFY(device.pauses().empty());
    }

    void missingTokenIsATransportError()
    {
        ScriptedPeer peer;
        AgentHarness device(peer.baseUrl(), {});
        auto stream = open(device, true);
        const Events events = collect(*stream);
        QCOMPARE(outline(events), QStringList { "error:transport" });
        QVERIFY(!events.front().as<E::Error>()->message.isEmpty());
        QCOMPARE(stream->attempts(), 0);
        QCOMPARE(peer.requestCount(), 0);
    }
};

QTEST_GUILESS_MAIN(AgentStreamTest)
#include "AgentStreamTest.moc"

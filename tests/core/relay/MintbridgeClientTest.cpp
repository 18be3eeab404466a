// MintbridgeClient against the real relay in-process, and a scripted peer only for what the
// relay cannot be made to answer.

#include "AwaitTask.h"
#include "RelayClientHarness.h"
#include "ScriptedPeer.h"
#include "TestRelay.h"

#include <QTcpServer>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

MintbridgeError expectRelayError(QCoro::Task<wire::RelayIntentResponse> task)
{
    try {
        awaitTask(std::move(task));
    } catch (const MintbridgeError& error) {
        return error;
    }
    throw std::runtime_error("call succeeded where it should have failed");
}

QString parsedText(const wire::RelayIntentResponse& response, const QString& key)
{
    if (!response.parsed)
        return {};
    const auto it = response.parsed->find(key);
    return it == response.parsed->end() ? QString() : it->second.displayText();
}

// A loopback port with nothing listening on it.
QUrl deadAddress()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    return QUrl(u"http://127.0.0.1:%1"_s.arg(port));
}

} // namespace

class MintbridgeClientTest : public QObject {
    Q_OBJECT

private slots:
    void intentReadsTheSentenceAsOfNow()
    {
        TestRelay relay;
        RelayClientHarness device(relay.baseUrl());
        awaitTask(device.client().storeBearer(relay.token()));
        // 01:00 on 1 March in Melbourne, still 28 February in UTC: "今天" is the device's day.
        device.clock().set(QDateTime(QDate(2026, 3, 1), QTime(1, 0), QTimeZone("Australia/Melbourne")));
        const auto response
            = awaitTask(device.client().intent(u"今天午餐 50"_s, u"finance"_s, std::optional<QString>()));
        QVERIFY(response.ok);
        QCOMPARE(parsedText(response, u"date"_s), u"2026-03-01"_s);
        QCOMPARE(parsedText(response, u"amount"_s), u"50"_s);
        QCOMPARE(response.cost_usd, std::optional<double>(0.0));
        QVERIFY(response.session_id && !response.session_id->isEmpty());
    }

    // Every row of the error table that the relay itself produces.
    void relayRefusalsBecomeTheirWords_data()
    {
        QTest::addColumn<QString>("situation");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("message");
        using K = MintbridgeError::Kind;
        QTest::newRow("401 wrong token")
            << u"wrong token"_s << int(K::Unauthorized)
            << u"mintbridge token 失效。点右上角 ⋯ → 配置 Mintbridge 中继 Token 重新粘贴。"_s;
        QTest::newRow("429 shows the relay's detail")
            << u"limit"_s << int(K::RateLimited)
            << u"24 小时内的 0 次模型调用已用完，11-22 20:30 起可再用（约 1440 分钟后）。内置解析不受限制。"_s;
        QTest::newRow("503 kill switch") << u"kill switch"_s << int(K::KillSwitchActive)
                                         << u"mintbridge 已紧急停用（~/.mintbridge-disable）"_s;
        QTest::newRow("504 model too slow")
            << u"hang"_s << int(K::Timeout) << u"Mac CC 响应超时 — 可能 MacBook 合盖了"_s;
        QTest::newRow("502 model failed") << u"fail"_s << int(K::ServerError) << u"quota exhausted"_s;
        QTest::newRow("422 unknown section")
            << u"section"_s << int(K::ServerError) << u"section 只能是 finance、time 或 steward，收到的是「body」"_s;
    }
    void relayRefusalsBecomeTheirWords()
    {
        QFETCH(QString, situation);
        QFETCH(int, kind);
        QFETCH(QString, message);
        TestRelay::Options options;
        options.start = false;
        options.modelTimeout = 200ms;
        TestRelay relay(options);
        if (situation == u"limit") {
            relay.options().dailyLimit = 0;
            relay.options().modelCommand = relay.writeScript(u"model.sh"_s, "echo '{\"action\":\"stop\"}'");
        } else if (situation == u"hang") {
            relay.options().modelCommand = relay.writeScript(u"model.sh"_s, "exec sleep 30");
        } else if (situation == u"fail") {
            relay.options().modelCommand = relay.writeScript(u"model.sh"_s, "echo 'quota exhausted' >&2; exit 1");
        }
        relay.start();
        if (situation == u"kill switch")
            relay.setKillSwitch(true);
        RelayClientHarness device(relay.baseUrl());
        awaitTask(device.client().storeBearer(situation == u"wrong token" ? u"stale-token"_s : relay.token()));

        const QString section = situation == u"section" ? u"body"_s : u"time"_s;
        const MintbridgeError error = expectRelayError(device.client().intent(u"写完了"_s, section, u"haiku"_s));
        QCOMPARE(int(error.kind()), kind);
        QCOMPARE(error.userMessage(), message);
        // Only a 401 forgets the token.
        QCOMPARE(device.client().bearerCache().has_value(), situation != u"wrong token");
    }

    void aRepastedTokenWorksAtOnce()
    {
        TestRelay relay;
        RelayClientHarness device(relay.baseUrl());
        const QString appFile = device.bearers().appFilePath();
        RelayClientHarness::writeFile(appFile, "old-token\n");
        const MintbridgeError refused
            = expectRelayError(device.client().intent(u"写完了"_s, u"time"_s, std::optional<QString>()));
        QCOMPARE(refused.kind(), MintbridgeError::Kind::Unauthorized);
        // Pasted by hand into the file (or by the setup sheet): the next call reads it afresh.
        RelayClientHarness::writeFile(appFile, relay.token().toUtf8());
        const auto response = awaitTask(device.client().intent(u"写完了"_s, u"time"_s, std::optional<QString>()));
        QCOMPARE(parsedText(response, u"action"_s), u"stop"_s);
    }

    void noTokenAnywhereSendsNothing()
    {
        ScriptedPeer peer;
        RelayClientHarness device(peer.baseUrl());
        QVERIFY_THROWS_EXCEPTION(RelayBearerStore::StoreError,
            awaitTask(device.client().intent(u"写完了"_s, u"time"_s, std::optional<QString>())));
        QCOMPARE(peer.requestCount(), 0);
    }

    // What the relay never answers on purpose.
    void protocolFaults_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("messageStart");
        using K = MintbridgeError::Kind;
        QTest::newRow("429 without detail")
            << 429 << QByteArray() << int(K::RateLimited) << u"今日 200 次 claude 调用上限已到（自动 24h 滑窗重置）"_s;
        QTest::newRow("500 without body") << 500 << QByteArray() << int(K::ServerError) << u"Mac CC 错误（500）"_s;
        QTest::newRow("502 html page") << 502 << QByteArray("<html>bad gateway</html>") << int(K::ServerError)
                                       << u"Mac CC 错误（502）"_s;
        QTest::newRow("200 not json") << 200 << QByteArray("<html>ok</html>") << int(K::DecodeFailed)
                                      << u"mintbridge 响应解析失败："_s;
        QTest::newRow("200 without ok") << 200 << QByteArray(R"({"parsed":{}})") << int(K::DecodeFailed)
                                        << u"mintbridge 响应解析失败：field 'ok' is required"_s;
    }
    void protocolFaults()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(int, kind);
        QFETCH(QString, messageStart);
        ScriptedPeer peer;
        peer.enqueueResponse(status, body, body.startsWith('{') ? "application/json" : "text/html");
        RelayClientHarness device(peer.baseUrl(), { false, { { "MINTBRIDGE_BEARER", u"t"_s } }, {} });
        const MintbridgeError error
            = expectRelayError(device.client().intent(u"今天午餐 50"_s, u"finance"_s, std::optional<QString>()));
        QCOMPARE(int(error.kind()), kind);
        QVERIFY2(error.userMessage().startsWith(messageStart), qPrintable(error.userMessage()));

        const auto& request = peer.requests().at(0);
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.path, QByteArray("/intent"));
        QCOMPARE(request.headers.value("authorization"), QByteArray("Bearer t"));
        QCOMPARE(request.headers.value("content-type"), QByteArray("application/json"));
        const auto sent = wire::fromBytes<wire::RelayIntentRequest>(request.body);
        QCOMPARE(sent.text, u"今天午餐 50"_s);
        QCOMPARE(sent.model, std::optional<QString>());
        QCOMPARE(sent.ts, std::optional<QString>(u"2026-11-21T09:30:00Z"_s));
    }

    void silentPeerTimesOut()
    {
        ScriptedPeer peer;
        peer.enqueue({ ScriptedPeer::hold() });
        MintbridgeTimeouts timeouts;
        timeouts.inactivity = 150ms;
        timeouts.resource = 400ms;
        RelayClientHarness device(peer.baseUrl(), { false, { { "MINTBRIDGE_BEARER", u"t"_s } }, timeouts });
        const MintbridgeError error
            = expectRelayError(device.client().intent(u"写完了"_s, u"time"_s, std::optional<QString>()));
        QCOMPARE(error.kind(), MintbridgeError::Kind::Timeout);
    }

    void nobodyListeningIsTransport()
    {
        RelayClientHarness device(deadAddress(), { false, { { "MINTBRIDGE_BEARER", u"t"_s } }, {} });
        const MintbridgeError error
            = expectRelayError(device.client().intent(u"写完了"_s, u"time"_s, std::optional<QString>()));
        QCOMPARE(error.kind(), MintbridgeError::Kind::Transport);
        QVERIFY2(error.userMessage().endsWith(u"（Mac 可能离线）"_s), qPrintable(error.userMessage()));
    }

    void healthIsTrueOnlyForOk_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("healthy");
        QTest::newRow("ok true") << 200 << QByteArray(R"({"ok":true})") << true;
        QTest::newRow("ok false") << 200 << QByteArray(R"({"ok":false})") << false;
        QTest::newRow("ok as text") << 200 << QByteArray(R"({"ok":"true"})") << false;
        QTest::newRow("not json") << 200 << QByteArray("ok") << false;
        QTest::newRow("503 with ok") << 503 << QByteArray(R"({"ok":true})") << false;
    }
    void healthIsTrueOnlyForOk()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(bool, healthy);
        ScriptedPeer peer;
        peer.enqueueResponse(status, body);
        RelayClientHarness device(peer.baseUrl());
        QCOMPARE(awaitTask(device.client().health()), healthy);
        QVERIFY(!peer.requests().at(0).headers.contains("authorization"));
    }
};

QTEST_GUILESS_MAIN(MintbridgeClientTest)
#include "MintbridgeClientTest.moc"

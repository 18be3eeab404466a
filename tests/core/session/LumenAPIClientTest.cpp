#include "AwaitTask.h"
#include "ClientHarness.h"
#include "ScriptedPeer.h"

#include <QTest>

using namespace std::chrono_literals;

namespace {

LumenAPIError expectApiError(QCoro::Task<wire::AnyCodableValue> task)
{
    try {
        awaitTask(std::move(task));
    } catch (const LumenAPIError& error) {
        return error;
    }
    throw std::runtime_error("call succeeded where it should have failed");
}

QCoro::Task<wire::AnyCodableValue> getAny(LumenAPIClient& api, QString path)
{
    co_return co_await api.request<wire::AnyCodableValue>(path);
}

} // namespace

// The transport against a scripted peer: what a real server is never asked to produce.
class LumenAPIClientTest : public QObject {
    Q_OBJECT

private slots:
    void statusMapsToError_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("retryable");
        using K = LumenAPIError::Kind;
        QTest::newRow("401 ignores its detail") << 401 << QByteArray(R"({"detail":"expired"})") << int(K::Unauthorized)
                                                << "Bearer token 失效，请重新输入" << false;
        QTest::newRow("403 with detail") << 403 << QByteArray(R"({"detail":"x"})") << int(K::Forbidden) << "x" << false;
        QTest::newRow("403 empty body") << 403 << QByteArray() << int(K::Forbidden) << "无权限" << false;
        QTest::newRow("404 empty body") << 404 << QByteArray() << int(K::NotFound) << "endpoint 不存在" << false;
        QTest::newRow("409 with detail") << 409 << QByteArray(R"({"detail":"已绑定"})") << int(K::ClientError)
                                         << "已绑定" << false;
        QTest::newRow("418 plain text") << 418 << QByteArray("teapot") << int(K::ClientError) << "teapot" << false;
        QTest::newRow("429 empty") << 429 << QByteArray() << int(K::ClientError) << "客户端错误（429）" << false;
        QTest::newRow("500 empty") << 500 << QByteArray() << int(K::ServerError) << "服务端错误（500）— 稍后重试"
                                   << true;
        QTest::newRow("599 detail") << 599 << QByteArray(R"({"detail":"down"})") << int(K::ServerError) << "down"
                                    << true;
        QTest::newRow("600 is a client error")
            << 600 << QByteArray() << int(K::ClientError) << "客户端错误（600）" << false;
        QTest::newRow("302 with html") << 302 << QByteArray("<html><body>moved</body></html>") << int(K::ClientError)
                                       << "<html><body>moved</body></html>" << false;
        QTest::newRow("500 not utf-8") << 500 << QByteArray("\xff\xfe\xfd") << int(K::ServerError)
                                       << "服务端错误（500）— 稍后重试" << true;
    }
    void statusMapsToError()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(int, kind);
        QFETCH(QString, message);
        QFETCH(bool, retryable);
        ScriptedPeer peer;
        peer.enqueueResponse(status, body, body.startsWith('{') ? "application/json" : "text/html",
            { { "Location", "http://127.0.0.1:1/elsewhere" } });
        ClientHarness client(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("t"));
        const LumenAPIError error = expectApiError(getAny(client.api(), "/x"));
        QCOMPARE(int(error.kind()), kind);
        QCOMPARE(error.userMessage(), message);
        QCOMPARE(error.isRetryable(), retryable);
        QCOMPARE(error.statusCode(), status);
        QCOMPARE(peer.requestCount(), 1);
    }

    void longErrorDetailIsCutAt2048Bytes()
    {
        ScriptedPeer peer;
        peer.enqueueResponse(502, QByteArray(5000, 'a'), "text/html");
        ClientHarness client(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("t"));
        const LumenAPIError error = expectApiError(getAny(client.api(), "/x"));
        QCOMPARE(error.detail().value_or(QString()).size(), 2048);
    }

    void emptySuccessBodyFailsToDecode()
    {
        ScriptedPeer peer;
        peer.enqueueResponse(200, QByteArray());
        ClientHarness client(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("t"));
        const LumenAPIError error = expectApiError(getAny(client.api(), "/x"));
        QCOMPARE(error.kind(), LumenAPIError::Kind::DecodeFailed);
        QVERIFY(error.userMessage().startsWith("JSON 解析失败："));
    }

    void requestCarriesHeadersAndNoEmptyQuery()
    {
        ScriptedPeer peer;
        peer.enqueueResponse(200, R"({"ok":true})");
        peer.enqueueResponse(200, R"({"ok":true})");
        peer.enqueueResponse(404, QByteArray());
        ClientHarness client(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("tok-1"));
        awaitTask(client.api().request<wire::GenericOK>("/time/list", "GET", std::nullopt, {}));
        awaitTask(client.api().request<wire::GenericOK>(
            "/time/list", "GET", std::nullopt, { { "limit", "5" }, { "date", "2026-11-20" } }));
        const auto& first = peer.requests().at(0);
        QCOMPARE(first.path, QByteArray("/time/list"));
        QCOMPARE(first.headers.value("authorization"), QByteArray("Bearer tok-1"));
        QCOMPARE(first.headers.value("content-type"), QByteArray("application/json"));
        QCOMPARE(peer.requests().at(1).path, QByteArray("/time/list?date=2026-11-20&limit=5"));
        // An id cannot reach another path.
        QVERIFY_THROWS_EXCEPTION(LumenAPIError, awaitTask(client.api().getPending("7/commit")));
        const QByteArray escaped = peer.requests().at(2).path;
        QVERIFY2(escaped.startsWith("/pending/7%") && !escaped.contains("/commit"), escaped.constData());
    }

    void unauthenticatedCallSendsNoBearer()
    {
        ScriptedPeer peer;
        peer.enqueueResponse(200, R"({"status":"ok"})");
        ClientHarness client(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("tok-1"));
        const auto health = awaitTask(client.api().health());
        QCOMPARE(health.at("status"), QStringLiteral("ok"));
        QVERIFY(!peer.requests().at(0).headers.contains("authorization"));
    }

    void missingTokenSurfacesAsKeychainError()
    {
        ScriptedPeer peer;
        ClientHarness client(peer.baseUrl());
        QVERIFY_THROWS_EXCEPTION(KeychainError, awaitTask(client.api().me()));
        QCOMPARE(peer.requestCount(), 0);
    }

    void retryPolicy_data()
    {
        QTest::addColumn<QList<int>>("statuses");
        QTest::addColumn<int>("maxAttempts");
        QTest::addColumn<int>("expectedCalls");
        QTest::addColumn<QList<int>>("expectedSleepsMs");
        QTest::addColumn<bool>("succeeds");
        QTest::newRow("503 three times") << QList<int> { 503, 503, 503 } << 3 << 3 << QList<int> { 200, 800, 2000 }
                                         << false;
        QTest::newRow("404 is not retried") << QList<int> { 404 } << 3 << 1 << QList<int> {} << false;
        QTest::newRow("recovers on second") << QList<int> { 500, 200 } << 3 << 2 << QList<int> { 200 } << true;
        QTest::newRow("delay sticks at two seconds")
            << QList<int> { 503, 503, 503, 503, 503 } << 5 << 5 << QList<int> { 200, 800, 2000, 2000, 2000 } << false;
        QTest::newRow("one attempt still sleeps after") << QList<int> { 503 } << 1 << 1 << QList<int> { 200 } << false;
        QTest::newRow("zero attempts fail at once") << QList<int> {} << 0 << 0 << QList<int> {} << false;
    }
    void retryPolicy()
    {
        QFETCH(QList<int>, statuses);
        QFETCH(int, maxAttempts);
        QFETCH(int, expectedCalls);
        QFETCH(QList<int>, expectedSleepsMs);
        QFETCH(bool, succeeds);
        ScriptedPeer peer;
        for (int status : statuses)
            peer.enqueueResponse(status, status == 200 ? QByteArray(R"({"ok":true})") : QByteArray());
        ClientHarness client(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("t"));
        LumenAPIClient* api = &client.api();
        bool succeeded = true;
        try {
            awaitTask(
                api->withRetry<wire::GenericOK>(maxAttempts, [api] { return api->request<wire::GenericOK>("/x"); }));
        } catch (const LumenAPIError&) {
            succeeded = false;
        }
        QCOMPARE(succeeded, succeeds);
        QCOMPARE(peer.requestCount(), expectedCalls);
        QList<int> slept;
        for (auto delay : client.sleeps())
            slept << int(delay.count());
        QCOMPARE(slept, expectedSleepsMs);
    }

    void writesAreSentOnce()
    {
        ScriptedPeer peer;
        peer.enqueueResponse(503, QByteArray());
        ClientHarness client(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("t"));
        QVERIFY_THROWS_EXCEPTION(LumenAPIError, awaitTask(client.api().login({ "velmar", "pw" })));
        QCOMPARE(peer.requestCount(), 1);
        QVERIFY(client.sleeps().empty());
    }

    void connectionFailures_data()
    {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<int>("kind");
        QTest::newRow("dropped before answer") << "drop" << int(LumenAPIError::Kind::Transport);
        QTest::newRow("cut mid body") << "cut" << int(LumenAPIError::Kind::Transport);
        QTest::newRow("stalled") << "stall" << int(LumenAPIError::Kind::Timeout);
        QTest::newRow("trickles past the whole-transfer limit") << "trickle" << int(LumenAPIError::Kind::Timeout);
        QTest::newRow("nothing listening") << "refused" << int(LumenAPIError::Kind::Transport);
    }
    void connectionFailures()
    {
        QFETCH(QString, scenario);
        QFETCH(int, kind);
        ScriptedPeer peer;
        if (scenario == "drop") {
            // Qt resends once on a connection closed before any answer.
            peer.enqueue({ ScriptedPeer::close() });
            peer.enqueue({ ScriptedPeer::close() });
        } else if (scenario == "cut")
            peer.enqueue({ ScriptedPeer::write(ScriptedPeer::head(200, "application/json", 100) + R"({"ok":)"),
                ScriptedPeer::close() });
        else if (scenario == "stall")
            peer.enqueue({ ScriptedPeer::hold() });
        else if (scenario == "trickle")
            peer.enqueue({ ScriptedPeer::write(ScriptedPeer::head(200, "application/json", 100)),
                ScriptedPeer::pause(150), ScriptedPeer::write(" "), ScriptedPeer::pause(150), ScriptedPeer::write(" "),
                ScriptedPeer::pause(150), ScriptedPeer::write(" "), ScriptedPeer::hold() });
        const QUrl base = scenario == "refused" ? QUrl("http://127.0.0.1:9") : peer.baseUrl();
        auto options = ClientHarness::Options::shortTimeouts({ 300ms, 400ms });
        options.environmentBearer = "t";
        ClientHarness client(base, options);
        const LumenAPIError error = expectApiError(getAny(client.api(), "/x"));
        QCOMPARE(int(error.kind()), kind);
        QVERIFY(error.isRetryable());
    }

    void multipartIsPostedWithItsLayout()
    {
        ScriptedPeer peer;
        peer.enqueueResponse(200, R"({"ok":true})");
        ClientHarness client(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("t"));
        awaitTask(client.api().multipartRequest<wire::GenericOK>(
            "/finance/upload", "RAW\x01", "bill 1.csv", "text/csv", { { "account_id", "3" }, { "month", "2026-11" } }));
        const auto& request = peer.requests().at(0);
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.headers.value("authorization"), QByteArray("Bearer t"));
        const QByteArray contentType = request.headers.value("content-type");
        QVERIFY(contentType.startsWith("multipart/form-data; boundary=QuillonBoundary-"));
        const QByteArray boundary = QString::fromLatin1(contentType).section("boundary=", 1).toUtf8();
        QCOMPARE(boundary.mid(16), boundary.mid(16).toUpper());
        const QByteArray expected = "--" + boundary
            + "\r\n"
              "Content-Disposition: form-data; name=\"file\"; filename=\"bill 1.csv\"\r\n"
              "Content-Type: text/csv\r\n\r\nRAW\x01\r\n"
              "--"
            + boundary
            + "\r\n"
              "Content-Disposition: form-data; name=\"account_id\"\r\n\r\n3\r\n"
              "--"
            + boundary
            + "\r\n"
              "Content-Disposition: form-data; name=\"month\"\r\n\r\n2026-11\r\n"
              "--"
            + boundary + "--\r\n";
        QCOMPARE(request.body, expected);
    }
};

QTEST_GUILESS_MAIN(LumenAPIClientTest)
#include "LumenAPIClientTest.moc"

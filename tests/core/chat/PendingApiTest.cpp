#include "AwaitTask.h"
#include "ClientHarness.h"
#include "TestServer.h"

#include <QTest>

namespace {

const QString password = QStringLiteral("demo-pass-1");

wire::PendingCreate lunch(double amount)
{
    wire::PendingCreate create;
    create.domain = "finance";
    create.payload = { { "amount", amount }, { "currency", "AUD" }, { "category", "餐饮" }, { "date", "2026-11-21" } };
    create.source_session = "chat-1";
    create.source_text = "今天午餐 50";
    return create;
}

LumenAPIError apiError(const std::function<void()>& call)
{
    try {
        call();
    } catch (const LumenAPIError& error) {
        return error;
    }
    throw std::runtime_error("the call succeeded");
}

} // namespace

// The /pending operations of the transport against the real server.
class PendingApiTest : public QObject {
    Q_OBJECT

private slots:
    void proposalLivesFromCreateToCommit()
    {
        TestServer server;
        server.seedDemo(password);
        ClientHarness client(
            server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("velmar")));
        LumenAPIClient& api = client.api();

        const wire::PendingItem created = awaitTask(api.createPending(lunch(50)));
        QCOMPARE(created.status, QStringLiteral("pending"));
        QCOMPARE(created.domain, QStringLiteral("finance"));
        QCOMPARE(created.source_text, std::optional<QString>("今天午餐 50"));
        QCOMPARE(created.payload.at("amount").doubleValue(), std::optional<double>(50));
        QCOMPARE(awaitTask(api.getPending(created.id)), created);

        const auto pendingFinance = awaitTask(api.listPending("pending", QStringLiteral("finance")));
        QCOMPARE(pendingFinance.size(), std::size_t(1));
        QVERIFY(awaitTask(api.listPending("pending", QStringLiteral("time"))).empty());

        wire::AnyDict edited = created.payload;
        edited["amount"] = 55.5;
        const wire::PendingItem updated = awaitTask(api.updatePending(created.id, edited));
        QCOMPARE(updated.payload.at("amount").doubleValue(), std::optional<double>(55.5));

        const wire::PendingItem committed = awaitTask(api.commitPending(created.id));
        QCOMPARE(committed.status, QStringLiteral("committed"));
        QVERIFY(committed.committed_at);
        QVERIFY(committed.committed_ref && !committed.committed_ref->isEmpty());
        QVERIFY(awaitTask(api.listPending("pending", std::nullopt)).empty());
        QCOMPARE(awaitTask(api.listPending("committed", std::nullopt)).size(), std::size_t(1));

        // Confirmed once is final.
        const LumenAPIError again = apiError([&] { awaitTask(api.commitPending(created.id)); });
        QCOMPARE(again.kind(), LumenAPIError::Kind::ClientError);
        QCOMPARE(again.statusCode(), 409);
        QCOMPARE(again.userMessage(), QStringLiteral("这条已经确认过了"));
    }

    void rejectAndRefusals()
    {
        TestServer server;
        server.seedDemo(password);
        server.createUser("stranger", "pw-stranger-1");
        ClientHarness client(
            server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("velmar")));
        ClientHarness other(
            server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("stranger")));

        const wire::PendingItem item = awaitTask(client.api().createPending(lunch(12)));
        // Another account never sees or touches it.
        QCOMPARE(apiError([&] { awaitTask(other.api().getPending(item.id)); }).kind(), LumenAPIError::Kind::NotFound);
        QCOMPARE(
            apiError([&] { awaitTask(other.api().commitPending(item.id)); }).kind(), LumenAPIError::Kind::NotFound);
        // An id cannot reach another path.
        QCOMPARE(apiError([&] { awaitTask(client.api().getPending(item.id + "/commit")); }).kind(),
            LumenAPIError::Kind::NotFound);

        const wire::PendingItem rejected = awaitTask(client.api().rejectPending(item.id));
        QCOMPARE(rejected.status, QStringLiteral("rejected"));
        QVERIFY(rejected.rejected_at);
        QCOMPARE(apiError([&] { awaitTask(client.api().commitPending(item.id)); }).userMessage(),
            QStringLiteral("这条已撤销，不能再确认"));
    }
};

QTEST_GUILESS_MAIN(PendingApiTest)
#include "PendingApiTest.moc"

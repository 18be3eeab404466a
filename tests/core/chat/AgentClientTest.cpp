#include "AgentHarness.h"
#include "TestServer.h"

#include "time/TimeCache.h"
#include "time/TimeStore.h"

#include <QTest>

namespace {

using E = AgentEvent;
using Events = std::vector<AgentEvent>;

const QString password = QStringLiteral("demo-pass-1");

template<class T> const T* firstOf(const Events& events)
{
    for (const auto& event : events) {
        if (const auto* found = event.as<T>())
            return found;
    }
    return nullptr;
}

Events say(AgentHarness& device, const QString& sentence, std::vector<VisionImage> images = {})
{
    auto stream = device.agent().streamAgentChat(
        sentence, std::nullopt, std::nullopt, std::move(images), QStringLiteral("chat-1"));
    return collect(*stream);
}

std::vector<wire::Transaction> ledgerOf(TestServer& server, const QString& username)
{
    auto& backend = server.server().backend();
    return backend.financeLedger().list(backend.accounts().findUser(username)->id, std::nullopt, std::nullopt);
}

} // namespace

// The agent stream and confirmDelete against the real server and its built-in agent.
class AgentClientTest : public QObject {
    Q_OBJECT

private slots:
    void sentenceBecomesACardThatLandsInTheLedger()
    {
        TestServer server;
        server.seedDemo(password);
        AgentHarness device(server.baseUrl(), {});
        // Signed in as the app does it: the token lands in the credential store.
        const wire::LoginRequest credentials { "velmar", password };
        const wire::LoginResponse login = awaitTask(device.client().api().login(credentials));
        awaitTask(device.client().keychain().storeUser(login.username, login.token, login.display_name, true));
        const std::size_t before = ledgerOf(server, "velmar").size();

        const Events events = say(device, "今天午餐 50");
        QCOMPARE(events.front().kind(), E::Kind::Session);
        QVERIFY(firstOf<E::Result>(events));
        QVERIFY(!firstOf<E::Error>(events));
        const auto* card = firstOf<E::PendingCard>(events);
        QVERIFY(card);
        QCOMPARE(card->domain, QStringLiteral("finance"));
        QCOMPARE(card->kind, QStringLiteral("create"));
        QCOMPARE(card->payload.at("amount").doubleValue(), std::optional<double>(50));
        QCOMPARE(card->payload.at("currency").stringValue(), std::optional<QString>("AUD"));
        QCOMPARE(card->sourceText, QStringLiteral("今天午餐 50"));
        // Proposed, not written.
        QCOMPARE(ledgerOf(server, "velmar").size(), before);

        const wire::PendingItem committed = awaitTask(device.client().api().commitPending(card->pendingId));
        QCOMPARE(committed.status, QStringLiteral("committed"));
        const auto ledger = ledgerOf(server, "velmar");
        QCOMPARE(ledger.size(), before + 1);
        QVERIFY(std::any_of(ledger.begin(), ledger.end(),
            [](const wire::Transaction& line) { return line.amount == 50 && line.currency == "AUD"; }));
    }

    void startingAnActivityMovesTheTimeStore()
    {
        TestServer server;
        server.seedDemo(password);
        AgentHarness device(server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("velmar")));
        TimeCache cache(&device.client().api(), device.client().sharedClock());
        TimeStore store(device.client().storeContext(), &cache);

        const Events started = say(device, "开始 coding");
        const auto* effect = firstOf<E::TimeEffect>(started);
        QVERIFY(effect);
        store.applyChatEffect(effect->activityEffect().value());
        QVERIFY(store.isRunning());
        QCOMPARE(store.current()->activity, std::optional<QString>("coding"));
        QCOMPARE(store.current()->source, std::optional<QString>("velmar-os-chat"));
        const wire::TimeCurrent onServer = awaitTask(device.client().api().timeCurrent());
        QCOMPARE(onServer.activity, std::optional<QString>("coding"));
        QCOMPARE(store.current()->start_time, effect->timestamp);

        const Events stopped = say(device, "结束计时");
        const auto* stop = firstOf<E::TimeEffect>(stopped);
        QVERIFY(stop);
        store.applyChatEffect(stop->activityEffect().value());
        QVERIFY(!store.isRunning());
        QVERIFY(!awaitTask(device.client().api().timeCurrent()).active);
    }

    void proposedDeleteIsCarriedOutByConfirmDelete()
    {
        TestServer server;
        server.seedDemo(password);
        AgentHarness device(server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("velmar")));
        const Events proposed = say(device, "今天午餐 50");
        const auto* card = firstOf<E::PendingCard>(proposed);
        QVERIFY(card);
        const QString pendingId = card->pendingId;
        awaitTask(device.client().api().commitPending(pendingId));
        const std::size_t booked = ledgerOf(server, "velmar").size();

        const Events events = say(device, "删掉刚才那笔");
        const auto* proposal = firstOf<E::ProposedDelete>(events);
        QVERIFY(proposal);
        QCOMPARE(proposal->domain, QStringLiteral("finance"));
        QVERIFY(!proposal->deleteEndpoint.isEmpty());
        QCOMPARE(ledgerOf(server, "velmar").size(), booked);

        awaitTask(device.agent().confirmDelete(proposal->deleteEndpoint));
        QCOMPARE(ledgerOf(server, "velmar").size(), booked - 1);

        // Gone already: any refusal other than 401 is a server error of its status.
        try {
            awaitTask(device.agent().confirmDelete(proposal->deleteEndpoint));
            QFAIL("deleted twice");
        } catch (const LumenAPIError& error) {
            QCOMPARE(error.kind(), LumenAPIError::Kind::ServerError);
            QCOMPARE(error.statusCode(), 404);
        }
        QVERIFY_THROWS_EXCEPTION(LumenAPIError, awaitTask(device.agent().confirmDelete("http://exa mple/x")));
    }

    void refusalsBecomeErrorEvents()
    {
        TestServer server;
        server.seedDemo(password);
        AgentHarness device(server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("velmar")));
        const VisionImage broken { "image/png", "not base64 at all!" };
        QCOMPARE(describe(say(device, "这张小票", { broken })),
            describe({ E::Error { "image_error", "图片处理失败，请重试或换一张" } }));

        awaitTask(device.client().api().request<wire::AnyCodableValue>("/auth/logout", "POST", wire::EmptyBody {}));
        QCOMPARE(
            describe(say(device, "今天午餐 50")), describe({ E::Error { "unauthorized", "登录已过期，请重新登录" } }));
        try {
            awaitTask(device.agent().confirmDelete("/finance/transactions/1/delete"));
            QFAIL("deleted with a revoked token");
        } catch (const LumenAPIError& error) {
            QCOMPARE(error.kind(), LumenAPIError::Kind::Unauthorized);
        }
    }
};

QTEST_GUILESS_MAIN(AgentClientTest)
#include "AgentClientTest.moc"

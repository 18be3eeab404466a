#include "AgentHarness.h"
#include "TestServer.h"

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

std::vector<wire::Transaction> ledgerOf(TestServer& server, const QString& username)
{
    auto& backend = server.server().backend();
    return backend.financeLedger().list(backend.accounts().findUser(username)->id, std::nullopt, std::nullopt);
}

} // namespace

// The agent client against the real server and its built-in agent.
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

        auto stream
            = device.agent().streamAgentChat("今天午餐 50", std::nullopt, std::nullopt, {}, QStringLiteral("chat-1"));
        const Events events = collect(*stream);
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

    void confirmDeleteRefusals()
    {
        TestServer server;
        server.seedDemo(password);
        AgentHarness device(server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("velmar")));
        const auto ledger = ledgerOf(server, "velmar");
        const QString endpoint = QStringLiteral("/finance/transactions/%1/delete").arg(ledger.front().id);
        awaitTask(device.agent().confirmDelete(endpoint));
        QCOMPARE(ledgerOf(server, "velmar").size(), ledger.size() - 1);

        // Gone already: any refusal other than 401 is a server error of its status.
        try {
            awaitTask(device.agent().confirmDelete(endpoint));
            QFAIL("deleted twice");
        } catch (const LumenAPIError& error) {
            QCOMPARE(error.kind(), LumenAPIError::Kind::ServerError);
            QCOMPARE(error.statusCode(), 404);
        }
        QVERIFY_THROWS_EXCEPTION(LumenAPIError, awaitTask(device.agent().confirmDelete("http://exa mple/x")));

        awaitTask(device.client().api().request<wire::AnyCodableValue>("/auth/logout", "POST", wire::EmptyBody {}));
        try {
            awaitTask(device.agent().confirmDelete(endpoint));
            QFAIL("deleted with a revoked token");
        } catch (const LumenAPIError& error) {
            QCOMPARE(error.kind(), LumenAPIError::Kind::Unauthorized);
        }
    }
};

QTEST_GUILESS_MAIN(AgentClientTest)
#include "AgentClientTest.moc"

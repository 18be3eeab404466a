// The relay conversation: a sentence in, an answer or an error line out.

#include "AwaitTask.h"
#include "ClientHarness.h"
#include "RelayClientHarness.h"
#include "TestRelay.h"

#include "relay/ConversationStore.h"

#include <QSignalSpy>
#include <QTest>
#include <qcoro/qcorosignal.h>

using namespace Qt::StringLiterals;

namespace {

StoreContext contextFor(RelayClientHarness& device)
{
    return StoreContext { nullptr, ClientPaths::under(device.home() + u"/data"_s), std::make_shared<ManualClock>() };
}

// Holds a stand-in relay answer until the test opens it.
class Gate : public QObject {
    Q_OBJECT
signals:
    void opened();
};

wire::RelayIntentResponse responseWith(std::optional<QString> answer, std::optional<QString> raw)
{
    wire::RelayIntentResponse response;
    response.ok = true;
    if (answer)
        response.parsed = wire::AnyDict { { u"answer"_s, *answer } };
    response.raw_result = std::move(raw);
    return response;
}

} // namespace

class ConversationStoreTest : public QObject {
    Q_OBJECT

private slots:
    void sentenceGetsTheRelaysAnswer()
    {
        TestRelay relay;
        RelayClientHarness device(relay.baseUrl());
        awaitTask(device.client().storeBearer(relay.token()));
        ConversationStore store(contextFor(device), &device.client());
        store.setSelectedModel(ChatModel::haiku());
        QSignalSpy sending(&store, &ConversationStore::isSendingChanged);

        awaitTask(store.send(u"  今天午餐 50 \n"_s));
        QCOMPARE(store.messages().size(), size_t(2));
        const ChatMessage& question = store.messages().at(0);
        QCOMPARE(question.role, ChatMessage::Role::user);
        QCOMPARE(question.text, u"今天午餐 50"_s);
        QCOMPARE(question.model, std::optional<ChatModel>(ChatModel::haiku()));
        const ChatMessage& answer = store.messages().at(1);
        QCOMPARE(answer.role, ChatMessage::Role::assistant);
        QVERIFY(!answer.isError);
        QVERIFY2(answer.text.contains(u"50.00 AUD"_s), qPrintable(answer.text));
        QVERIFY(store.relaySessionID() && !store.relaySessionID()->isEmpty());
        QCOMPARE(sending.count(), 2);
        QVERIFY(!store.isSending());

        store.newConversation();
        QVERIFY(store.messages().empty());
        QVERIFY(!store.relaySessionID());
    }

    void asksTheStewardWithTheChosenModel()
    {
        ConversationStore store(StoreContext {}, nullptr);
        QStringList calls;
        store.relayIntent
            = [&calls](QString text, QString section, QString model) -> QCoro::Task<wire::RelayIntentResponse> {
            calls << text + u'|' + section + u'|' + model;
            co_return responseWith(u"好的"_s, std::nullopt);
        };
        store.setSelectedModelId(u"opus"_s);
        store.setSelectedModelId(u"gpt"_s); // not a tier: ignored
        awaitTask(store.send(u"明天做什么"_s));
        QCOMPARE(calls, QStringList { u"明天做什么|steward|opus"_s });
        QCOMPARE(store.messages().back().text, u"好的"_s);
    }

    void replyFallsBackInOrder_data()
    {
        QTest::addColumn<QVariant>("answer");
        QTest::addColumn<QVariant>("raw");
        QTest::addColumn<QString>("shown");
        QTest::newRow("answer trimmed") << QVariant(u"  好的 \n"_s) << QVariant(u"raw"_s) << u"好的"_s;
        QTest::newRow("blank answer gives raw") << QVariant(u" "_s) << QVariant(u" raw text "_s) << u"raw text"_s;
        QTest::newRow("no parsed gives raw") << QVariant() << QVariant(u"raw text"_s) << u"raw text"_s;
        QTest::newRow("nothing at all") << QVariant() << QVariant(u"  "_s) << u"（没有返回内容）"_s;
    }
    void replyFallsBackInOrder()
    {
        QFETCH(QVariant, answer);
        QFETCH(QVariant, raw);
        QFETCH(QString, shown);
        const auto response = responseWith(answer.isValid() ? std::optional(answer.toString()) : std::nullopt,
            raw.isValid() ? std::optional(raw.toString()) : std::nullopt);
        QCOMPARE(ConversationStore::replyText(response), shown);
    }

    // A refusal becomes an error line in the table's words; only a 401 ends the session.
    void relayRefusalsBecomeErrorLines_data()
    {
        QTest::addColumn<QString>("situation");
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("authFailures");
        QTest::newRow("401") << u"wrong token"_s
                             << u"mintbridge token 失效。点右上角 ⋯ → 配置 Mintbridge 中继 Token 重新粘贴。"_s << 1;
        QTest::newRow("503") << u"kill switch"_s << u"mintbridge 已紧急停用（~/.mintbridge-disable）"_s << 0;
        QTest::newRow("no token") << u"no token"_s
                                  << u"mintbridge token 还没设置。点右上角 ⋯ → 配置 Mintbridge 中继 Token 粘贴一次。"_s
                                  << 0;
    }
    void relayRefusalsBecomeErrorLines()
    {
        QFETCH(QString, situation);
        QFETCH(QString, line);
        QFETCH(int, authFailures);
        TestRelay relay;
        if (situation == u"kill switch")
            relay.setKillSwitch(true);
        RelayClientHarness device(relay.baseUrl());
        if (situation != u"no token")
            awaitTask(device.client().storeBearer(situation == u"wrong token" ? u"stale"_s : relay.token()));
        ConversationStore store(contextFor(device), &device.client());
        int calls = 0;
        store.onAuthFailure = [&calls] { ++calls; };

        awaitTask(store.send(u"你好"_s));
        QCOMPARE(store.messages().size(), size_t(2));
        const ChatMessage& reply = store.messages().back();
        QVERIFY(reply.isError);
        QCOMPARE(reply.text, line);
        QCOMPARE(calls, authFailures);
        QVERIFY(!store.isSending());
    }

    // AppState's conversation talks to the device's relay, and a refused relay token ends the
    // session like any store's 401.
    void appStateWiresTheConversation()
    {
        TestRelay relay;
        RelayClientHarness device(relay.baseUrl());
        awaitTask(device.client().storeBearer(u"stale"_s));
        ClientHarness client(QUrl(u"http://127.0.0.1:1"_s), ClientHarness::Options::bearerInEnvironment(u"t"_s));
        AppStateDeps deps = client.deps();
        deps.relay = &device.client();
        AppState app(deps);
        QVERIFY(app.stores().contains(app.conversation()));
        QVERIFY(!app.sessionExpired());
        awaitTask(app.conversation()->send(u"你好"_s));
        QVERIFY(app.conversation()->messages().back().isError);
        QVERIFY(app.sessionExpired());
    }

    void blankOrOverlappingSendsDoNothing()
    {
        ConversationStore store(StoreContext {}, nullptr);
        Gate gate;
        store.relayIntent = [&gate](QString, QString, QString) -> QCoro::Task<wire::RelayIntentResponse> {
            co_await qCoro(&gate, &Gate::opened);
            co_return responseWith(u"第一句的回答"_s, std::nullopt);
        };
        awaitTask(store.send(u" \n\t"_s));
        QVERIFY(store.messages().empty());

        auto first = store.send(u"第一句"_s);
        QVERIFY(store.isSending());
        awaitTask(store.send(u"第二句"_s));
        QCOMPARE(store.messages().size(), size_t(1));
        emit gate.opened();
        awaitTask(std::move(first));
        QCOMPARE(store.messages().size(), size_t(2));
        QCOMPARE(store.messages().back().text, u"第一句的回答"_s);
    }

    void answerToAnAbandonedConversationIsDropped()
    {
        ConversationStore store(StoreContext {}, nullptr);
        Gate gate;
        store.relayIntent = [&gate](QString, QString, QString) -> QCoro::Task<wire::RelayIntentResponse> {
            co_await qCoro(&gate, &Gate::opened);
            wire::RelayIntentResponse late = responseWith(u"迟到的回答"_s, std::nullopt);
            late.session_id = u"late-session"_s;
            co_return late;
        };
        auto sent = store.send(u"问题"_s);
        store.newConversation();
        emit gate.opened();
        awaitTask(std::move(sent));
        QVERIFY(store.messages().empty());
        QVERIFY(!store.isSending());
        QVERIFY(!store.relaySessionID());
    }
};

QTEST_GUILESS_MAIN(ConversationStoreTest)
#include "ConversationStoreTest.moc"

#include "ChatHarness.h"

#include "session/LoadError.h"
#include "session/WidgetCache.h"

namespace {

// A card from the real agent: one sentence, one turn.
QString cardFor(VelmarOSChatStore& store, const QString& sentence)
{
    store.submit(sentence);
    if (!settle(store))
        return {};
    const auto cards = eventsOf<ChatEvent::PendingEmitted>(store);
    return cards.empty() ? QString() : cards.back()->item.id;
}

QStringList idsOf(const std::vector<wire::PendingItem>& items)
{
    QStringList ids;
    for (const auto& item : items)
        ids << item.id;
    return ids;
}

QStringList logTexts(VelmarOSChatStore& store, const QString& type, const QString& field)
{
    QStringList texts;
    for (const QString& line : store.writer().readLines()) {
        const QJsonObject object = QJsonDocument::fromJson(line.toUtf8()).object();
        if (object.value("type") == type)
            texts << object.value(field).toString();
    }
    return texts;
}

} // namespace

// Confirming and rejecting the agent's cards against the real server.
class ChatPendingTest : public QObject {
    Q_OBJECT

private slots:
    void confirmedCardLandsInTheLedger()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        VelmarOSChatStore store(device.context(), "S1");
        const std::size_t ledgerBefore = ledgerOf(server, "velmar").size();
        const QString id = cardFor(store, "今天午餐 50");
        QVERIFY(!id.isEmpty());

        store.confirm(id);
        // At once: the card reads committed, the line is there, the list no longer has it.
        QCOMPARE(transcript(store).mid(1), (QStringList { "card: finance committed", "agent: ✓ 已记 餐饮 A$50.00" }));
        QVERIFY(store.aggregatedPending().empty());
        QVERIFY(store.inFlightTerminal().contains(id));
        QCOMPARE(store.firstPendingEventID(), std::nullopt);

        QTRY_VERIFY(store.inFlightTerminal().isEmpty());
        QCOMPARE(store.financeActivityChanged(), 1);
        QCOMPARE(store.timeActivityChanged(), 0);
        QVERIFY(settle(store));
        const auto* card = eventsOf<ChatEvent::PendingEmitted>(store).front();
        QCOMPARE(card->item.status, QStringLiteral("committed"));
        QVERIFY(card->item.committed_ref && !card->item.committed_ref->isEmpty());

        const auto ledger = ledgerOf(server, "velmar");
        QCOMPARE(ledger.size(), ledgerBefore + 1);
        QVERIFY(std::any_of(ledger.begin(), ledger.end(), [](const wire::Transaction& line) {
            return line.amount == 50 && line.currency == "AUD" && line.category == "餐饮";
        }));
        QCOMPARE(logTexts(store, "pending_committed", "committed_ref"), QStringList { *card->item.committed_ref });
        QCOMPARE(logTexts(store, "assistant_text", "text").last(), QStringLiteral("✓ 已记 餐饮 A$50.00"));
        // The list the next start opens with.
        const auto saved = WidgetCache::loadSync<std::vector<wire::PendingItem>>(
            VelmarOSChatStore::pendingSnapshotKey, device.client().paths().widgetCacheDir());
        QVERIFY(saved && saved->empty());
    }

    void failedCommitPutsEverythingBack()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        VelmarOSChatStore store(device.context(), "S1");
        const QString id = cardFor(store, "今天午餐 50");
        QVERIFY(!id.isEmpty());
        // Edited into something the ledger refuses.
        wire::AnyDict payload = eventsOf<ChatEvent::PendingEmitted>(store).front()->item.payload;
        payload["amount"] = -5;
        store.applyEditedPending(awaitTask(device.api().updatePending(id, payload)));
        const QStringList before = transcript(store);
        const auto eventsBefore = store.events();

        QList<QStringList> lists;
        connect(&store, &VelmarOSChatStore::aggregatedPendingChanged, this,
            [&] { lists << idsOf(store.aggregatedPending()); });
        store.confirm(id);
        QCOMPARE(transcript(store).last(), QStringLiteral("agent: ✓ 已记 餐饮 A$-5.00"));
        QTRY_VERIFY(store.inFlightTerminal().isEmpty());
        QVERIFY(settle(store));

        const LoadError refused = formatLoadError([&] {
            try {
                awaitTask(device.api().commitPending(id));
            } catch (...) {
                return std::current_exception();
            }
            return std::exception_ptr();
        }());
        QVERIFY(!refused.message.isEmpty());
        const QString line = QStringLiteral("确认失败：") + refused.message;
        QCOMPARE(transcript(store), before + QStringList { "error: " + line });
        QCOMPARE(std::vector<ChatEvent>(store.events().begin(), store.events().end() - 1), eventsBefore);
        QCOMPARE(logTexts(store, "error", "message"), QStringList { line });
        QVERIFY(logTexts(store, "pending_committed", "pending_id").isEmpty());
        // Gone at once, back with the failure; the server's list agrees.
        QCOMPARE(lists, (QList<QStringList> { {}, { id } }));
        QCOMPARE(store.firstPendingEventID(), std::optional(store.events()[1].id()));
        QCOMPARE(store.financeActivityChanged(), 0);
    }

    void listReadBeforeACommitCannotBringTheCardBack()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        VelmarOSChatStore store(device.context(), "S1");
        const QString id = cardFor(store, "今天午餐 50");
        QVERIFY(!id.isEmpty());

        QList<QStringList> lists;
        connect(&store, &VelmarOSChatStore::aggregatedPendingChanged, this,
            [&] { lists << idsOf(store.aggregatedPending()); });
        auto earlier = store.refreshAggregated(); // asked while the card still waits
        store.confirm(id);
        awaitTask(std::move(earlier));
        QTRY_VERIFY(store.inFlightTerminal().isEmpty());
        QVERIFY(settle(store));
        for (const QStringList& ids : lists)
            QVERIFY2(!ids.contains(id), qPrintable(ids.join(',')));
    }

    void rejectedCardStaysOutOfTheLedger()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        VelmarOSChatStore store(device.context(), "S1");
        const std::size_t ledgerBefore = ledgerOf(server, "velmar").size();
        const QString id = cardFor(store, "咖啡 30");
        store.reject(id);
        QCOMPARE(transcript(store).last(), QStringLiteral("card: finance rejected"));
        QTRY_VERIFY(store.inFlightTerminal().isEmpty());
        QCOMPARE(eventsOf<ChatEvent::PendingEmitted>(store).front()->item.status, QStringLiteral("rejected"));
        QCOMPARE(ledgerOf(server, "velmar").size(), ledgerBefore);
        QCOMPARE(logTexts(store, "pending_rejected", "pending_id"), QStringList { id });
        QCOMPARE(store.financeActivityChanged(), 0);

        // Rejected once is final: a second reject is refused and the card comes back as it was.
        const QString second = cardFor(store, "咖啡 40");
        awaitTask(device.api().rejectPending(second));
        store.reject(second);
        QTRY_VERIFY(transcript(store).last().startsWith("error: 撤销失败："));
        QCOMPARE(eventsOf<ChatEvent::PendingEmitted>(store).back()->item.status, QStringLiteral("pending"));
    }

    void confirmedTimeBlockRefreshesTime()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        VelmarOSChatStore store(device.context(), "S1");
        int fullRefreshes = 0;
        store.onTimeFullRefresh = [&fullRefreshes]() -> QCoro::Task<void> {
            ++fullRefreshes;
            co_return;
        };
        const QString id = cardFor(store, "上午 9 点到 10 点半 coding");
        QVERIFY(!id.isEmpty());
        const auto* card = eventsOf<ChatEvent::PendingEmitted>(store).back();
        QCOMPARE(card->item.domain, QStringLiteral("time"));
        const QString day = card->item.payload.at("date").stringValue().value_or(QString());
        device.timeCache().storeEntries({}, day);

        store.confirm(id);
        QCOMPARE(transcript(store).last(), QStringLiteral("agent: ✓ 已记 coding · 1h30m"));
        QTRY_VERIFY(store.inFlightTerminal().isEmpty());
        QCOMPARE(store.timeActivityChanged(), 1);
        QCOMPARE(store.financeActivityChanged(), 0);
        QCOMPARE(fullRefreshes, 1);
        QCOMPARE(device.timeCache().entries(day), std::nullopt);
    }

    void cardKnownOnlyFromTheConversationCanBeConfirmed()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        const QString id = [&] {
            VelmarOSChatStore first(device.context(), "S1");
            return cardFor(first, "今天午餐 50");
        }();
        QVERIFY(!id.isEmpty());

        // Reopened from its log, with no saved list: the card is in the conversation only.
        VelmarOSChatStore reopened(device.context(), "S1", true);
        QVERIFY(reopened.aggregatedPending().empty());
        std::optional<std::size_t> listAtConfirm;
        connect(&reopened, &VelmarOSChatStore::historyDidLoadChanged, this, [&] {
            listAtConfirm = reopened.aggregatedPending().size();
            reopened.confirm(id);
        });
        QTRY_COMPARE(reopened.historyDidLoad(), 1);
        QCOMPARE(listAtConfirm, std::optional<std::size_t>(0));
        QTRY_VERIFY(reopened.inFlightTerminal().isEmpty());
        QVERIFY(settle(reopened));
        QCOMPARE(transcript(reopened),
            (QStringList { "user: 今天午餐 50", "card: finance committed", "agent: ✓ 已记 餐饮 A$50.00" }));
        QVERIFY(reopened.aggregatedPending().empty());
    }
};

QTEST_GUILESS_MAIN(ChatPendingTest)
#include "ChatPendingTest.moc"

#include "chat/ChatSession.h"
#include "chat/VelmarOSChatStore.h"

#include <QTest>

namespace {

wire::PendingItem item(const QString& domain, wire::AnyDict payload)
{
    wire::PendingItem pending;
    pending.id = "1";
    pending.domain = domain;
    pending.payload = std::move(payload);
    pending.status = "pending";
    return pending;
}

} // namespace

Q_DECLARE_METATYPE(wire::PendingItem)

// The small rules of a turn and a confirmation, where a wrong character shows on screen.
class ChatRulesTest : public QObject {
    Q_OBJECT

private slots:
    void confirmationLine_data()
    {
        QTest::addColumn<wire::PendingItem>("pending");
        QTest::addColumn<QString>("line");
        QTest::newRow("finance, yuan by default, with account")
            << item("finance", { { "amount", 30 }, { "category", "餐饮" }, { "account", "现金" } })
            << "✓ 已记 餐饮 ¥30.00 · 现金";
        QTest::newRow("finance, thousands and an unknown code")
            << item("finance", { { "amount", 1234.5 }, { "currency", "JPY" } }) << "✓ 已记 JPY 1,234.50";
        QTest::newRow("finance, amount as text") << item("finance", { { "amount", "50" } }) << "✓ 已记";
        QTest::newRow("time, hours and minutes")
            << item("time", { { "duration_min", 90.0 }, { "activity", "跑步" } }) << "✓ 已记 跑步 · 1h30m";
        QTest::newRow("time, whole hours") << item("time", { { "duration_min", 120 } }) << "✓ 已记  · 2h";
        QTest::newRow("other domain") << item("transfer", { { "amount", 50 } }) << "✓ 已记";
    }

    void confirmationLine()
    {
        QFETCH(wire::PendingItem, pending);
        QFETCH(QString, line);
        QCOMPARE(VelmarOSChatStore::commitConfirmation(pending), line);
    }

    // The turn's own test reads a real cost; these are the previews that name none.
    void costFromPreviewWithoutAnAmount()
    {
        QCOMPARE(VelmarOSChatStore::parseCostUSD("$."), std::nullopt);
        QCOMPARE(VelmarOSChatStore::parseCostUSD("US$ and $ x"), std::nullopt);
    }

    void shortClock_data()
    {
        QTest::addColumn<QString>("timestamp");
        QTest::addColumn<QString>("clock");
        const QDateTime instant(QDate(2026, 11, 21), QTime(9, 5), Qt::UTC);
        const QString local = instant.toLocalTime().toString("HH:mm");
        QTest::newRow("offset") << "2026-11-21T20:05:00+11:00" << local;
        QTest::newRow("not a time") << "yesterday around nine or so"
                                    << "yesterday around";
    }

    void shortClock()
    {
        QFETCH(QString, timestamp);
        QFETCH(QString, clock);
        QCOMPARE(VelmarOSChatStore::shortClock(timestamp), clock);
        QCOMPARE(VelmarOSChatStore::shortClock(std::nullopt), QString());
    }

    void modelForTier_data()
    {
        QTest::addColumn<QString>("tier"); // "-" for none
        QTest::addColumn<QString>("model"); // "-" for the server's default
        QTest::newRow("haiku") << "haiku"
                               << "claude-haiku-4-5";
        QTest::newRow("sonnet is the default") << "sonnet"
                                               << "-";
        QTest::newRow("any other id goes as it is") << "local-llm"
                                                    << "local-llm";
    }

    void modelForTier()
    {
        QFETCH(QString, tier);
        QFETCH(QString, model);
        const auto given = tier == "-" ? std::nullopt : std::optional(tier);
        const auto expected = model == "-" ? std::nullopt : std::optional(model);
        QCOMPARE(VelmarOSChatStore::agentModelFor(given), expected);
    }

    void titleKeepsTheFirst24Characters()
    {
        QCOMPARE(ChatSession::deriveTitle("一二三四五六七八九十一二三四五六七八九十一二三四五六"),
            QStringLiteral("一二三四五六七八九十一二三四五六七八九十一二三四"));
    }
};

QTEST_GUILESS_MAIN(ChatRulesTest)
#include "ChatRulesTest.moc"

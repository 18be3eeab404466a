#include "ClientHarness.h"

#include "shell/ConversationViewModel.h"

#include <QTest>

namespace {

QVariantMap item(const QString& domain, const QVariantMap& payload, const QString& status = "pending")
{
    return { { "id", "7" }, { "domain", domain }, { "payload", payload }, { "status", status },
        { "source_text", "今天午餐 50" } };
}

QStringList fieldLines(const QVariantMap& card)
{
    QStringList out;
    for (const QVariant& field : card.value("fields").toList())
        out << field.toMap().value("label").toString() + "=" + field.toMap().value("value").toString();
    return out;
}

} // namespace

// The words of the conversation screens: cards, their edit form, tool times, session rows.
class ConversationViewModelTest : public QObject {
    Q_OBJECT

private slots:
    void cardWords_data()
    {
        QTest::addColumn<QVariantMap>("item");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("headline");
        QTest::addColumn<QStringList>("fields");
        QTest::addColumn<QString>("statusText");
        QTest::newRow("finance, the household's currency")
            << item("finance",
                   { { "amount", 50.0 }, { "currency", "AUD" }, { "category", "餐饮" }, { "date", "2026-11-21" },
                       { "spender", "shared" }, { "direction", "expense" }, { "_kind", "create" } })
            << "记账"
            << "A$50.00" << QStringList { "分类=餐饮", "日期=2026-11-21", "记在=共同", "币种=AUD" } << "待确认";
        QTest::newRow("income, no currency is yuan")
            << item("finance", { { "amount", 1200.5 }, { "direction", "income" }, { "category", "工资" } }, "committed")
            << "收入"
            << "¥1200.50" << QStringList { "分类=工资" } << "已确认";
        QTest::newRow("finance without an amount has no headline")
            << item("finance", { { "category", "餐饮" } }, "rejected") << "记账"
            << "" << QStringList { "分类=餐饮" } << "已撤销";
        QTest::newRow("a time block") << item("time",
            { { "activity", "coding" }, { "duration_min", 90 }, { "date", "2026-11-21" }, { "start_time", "09:00" },
                { "end_time", "10:30" }, { "source", "velmar-os-chat" }, { "category_id", 3 } })
                                      << "时间"
                                      << "coding · 1h30m"
                                      << QStringList { "日期=2026-11-21", "开始=09:00", "结束=10:30" } << "待确认";
        QTest::newRow("another domain keeps its own keys")
            << item("transfer", { { "from_account", "现金" }, { "to_account", "储蓄" }, { "amount", 20 } }) << "转账"
            << "" << QStringList { "金额=20", "转出=现金", "转入=储蓄" } << "待确认";
    }
    void cardWords()
    {
        QFETCH(QVariantMap, item);
        QFETCH(QString, title);
        QFETCH(QString, headline);
        QFETCH(QStringList, fields);
        QFETCH(QString, statusText);
        const QVariantMap card = ConversationViewModel::pendingCard(item);
        QCOMPARE(card.value("title").toString(), title);
        QCOMPARE(card.value("headline").toString(), headline);
        QCOMPARE(fieldLines(card), fields);
        QCOMPARE(card.value("statusText").toString(), statusText);
    }

    void anUpdateSaysSo()
    {
        const QVariantMap card
            = ConversationViewModel::pendingCard(item("finance", { { "amount", 60 }, { "_kind", "update" } }));
        QCOMPARE(card.value("kindText").toString(), QStringLiteral("修改"));
    }

    void editFormHoldsPlainValuesOnly()
    {
        const QVariantList fields = ConversationViewModel::editableFields(item("finance",
            { { "amount", 50.0 }, { "category", "餐饮" }, { "items", QVariantList { QVariantMap { { "name", "x" } } } },
                { "_kind", "create" }, { "target_id", 4 } }));
        QStringList keys;
        for (const QVariant& field : fields)
            keys << field.toMap().value("key").toString() + (field.toMap().value("numeric").toBool() ? "#" : "");
        QCOMPARE(keys, QStringList({ "amount#", "category" }));
        QCOMPARE(fields.first().toMap().value("value").toString(), QStringLiteral("50"));
    }

    void toolTimes_data()
    {
        QTest::addColumn<QVariant>("ms");
        QTest::addColumn<QString>("text");
        QTest::newRow("running") << QVariant() << "";
        QTest::newRow("fast") << QVariant(420) << "0.4s";
        QTest::newRow("seconds") << QVariant(12400) << "12s";
        QTest::newRow("minutes") << QVariant(65000) << "1m05s";
    }
    void toolTimes()
    {
        QFETCH(QVariant, ms);
        QFETCH(QString, text);
        QCOMPARE(ConversationViewModel::durationText(ms), text);
    }

    void sessionRowWords_data()
    {
        QTest::addColumn<QDateTime>("lastActive");
        QTest::addColumn<QString>("text");
        QTest::newRow("today") << QDateTime(QDate(2026, 11, 21), QTime(8, 5)) << "08:05";
        QTest::newRow("yesterday") << QDateTime(QDate(2026, 11, 20), QTime(23, 0)) << "昨天";
        QTest::newRow("this year") << QDateTime(QDate(2026, 3, 2), QTime(9, 0)) << "3月2日";
        QTest::newRow("an earlier year") << QDateTime(QDate(2025, 12, 31), QTime(9, 0)) << "2025-12-31";
    }
    void sessionRowWords()
    {
        QFETCH(QDateTime, lastActive);
        QFETCH(QString, text);
        ClientHarness client(QUrl("http://127.0.0.1:9"));
        client.clock().set(QDateTime(QDate(2026, 11, 21), QTime(9, 30)));
        AppState app(client.deps());
        ConversationViewModel chat;
        chat.setAppState(&app);
        const QVariantMap session { { "title", "  " }, { "lastActiveAt", lastActive } };
        QCOMPARE(chat.sessionTime(session), text);
        QCOMPARE(ConversationViewModel::sessionTitle(session), QStringLiteral("新会话"));
    }
};

QTEST_GUILESS_MAIN(ConversationViewModelTest)
#include "ConversationViewModelTest.moc"

#include "IntentClassifier.h"
#include "Lexicon.h"
#include "TestContext.h"

#include <QJsonObject>
#include <QTest>

using namespace language;

class FinanceParserTest : public QObject {
    Q_OBJECT

private slots:
    void categories_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("category");
        QTest::addColumn<bool>("income");
        QTest::newRow("longest keyword wins") << "uber eats 32.4"
                                              << "餐饮" << false;
        QTest::newRow("a thing bought outweighs the shop") << "超市买猫粮 30"
                                                           << "宠物" << false;
        QTest::newRow("shop alone") << "超市 45"
                                    << "买菜" << false;
        QTest::newRow("latin keyword is a whole word") << "current account fee 5"
                                                       << "其他" << false;
        QTest::newRow("verb at the start of a keyword") << "交通卡 50"
                                                        << "交通" << false;
        QTest::newRow("refund outweighs the shop") << "亚马逊退款 35.5"
                                                   << "退款" << true;
        QTest::newRow("reimbursement outweighs the ride") << "报销 打车费 45"
                                                          << "报销" << true;
        QTest::newRow("selling is other income") << "闲鱼卖掉旧相机 300"
                                                 << "其他收入" << true;
        QTest::newRow("transfer is bookkeeping") << "转账给 Sefa 300"
                                                 << "转账" << false;
        QTest::newRow("nothing known") << "杂七杂八 20"
                                       << "其他" << false;
    }
    void categories()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, category);
        QFETCH(bool, income);
        const FinanceParse parse = parseFinance(sentence, contextAt());
        QCOMPARE(parse.category, category);
        QCOMPARE(parse.isIncome(), income);
    }

    void householdWordsOutrankBuiltInOnes()
    {
        Lexicon words = Lexicon::withDefaults();
        words.addFinanceWord(QStringLiteral("咖啡"), QStringLiteral("咖啡"), EntryKind::expense);
        words.addFinanceWord(QStringLiteral("Patreon"), QStringLiteral("人情"), EntryKind::expense);
        words.addFinanceWord(QStringLiteral("房东"), QStringLiteral("其他收入"), EntryKind::income);
        Context context = contextAt();
        context.lexicon = &words;

        QCOMPARE(parseFinance(u"星巴克 咖啡 5", context).category, QStringLiteral("咖啡"));
        QCOMPARE(parseFinance(u"patreon 5", context).category, QStringLiteral("人情"));
        const FinanceParse refund = parseFinance(u"房东 退押金 500", context);
        QCOMPARE(refund.category, QStringLiteral("其他收入"));
        QVERIFY(refund.isIncome());
        // The defaults themselves stay as they were.
        QCOMPARE(parseFinance(u"星巴克 咖啡 5", contextAt()).category, QStringLiteral("餐饮"));
        QVERIFY(words.isFinanceCategory(QStringLiteral("咖啡")));
    }

    void spenders_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("spender");
        QTest::addColumn<QString>("description");
        QTest::newRow("any letter case, with de") << "sefa 的药 18"
                                                  << "Sefa"
                                                  << "药";
        QTest::newRow("the other member") << "velmar 付的房租 900"
                                          << "Velmar"
                                          << "房租";
        QTest::newRow("aa inside a word is not AA") << "aaa 电池 9"
                                                    << ""
                                                    << "aaa 电池";
        QTest::newRow("with a member") << "和 Sefa 吃火锅 128"
                                       << "shared"
                                       << "火锅";
        QTest::newRow("for a member is not by a member") << "给Sefa买生日礼物 200"
                                                         << ""
                                                         << "给Sefa买生日礼物";
        QTest::newRow("paid to a member") << "转给 sefa 300"
                                          << ""
                                          << "转给 sefa";
        QTest::newRow("the speaker") << "我买了咖啡 5"
                                     << ""
                                     << "咖啡";
    }
    void spenders()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, spender);
        QFETCH(QString, description);
        const FinanceParse parse = parseFinance(sentence, contextAt());
        QCOMPARE(parse.spender, spender);
        QCOMPARE(parse.description, description);
    }

    void descriptions_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("description");
        QTest::newRow("eating verb before a dish") << "吃火锅 128"
                                                   << "火锅";
        QTest::newRow("verb kept when one character would remain") << "吃饭 30"
                                                                   << "吃饭";
        QTest::newRow("verb kept when it begins a word") << "交通卡 50"
                                                         << "交通卡";
        QTest::newRow("flowers are not a paying verb") << "买花 30"
                                                       << "买花";
        QTest::newRow("a leading go is dropped") << "一起去超市 86"
                                                 << "超市";
        QTest::newRow("rate words") << "健身房 每月 65"
                                    << "健身房";
    }
    void descriptions()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, description);
        QCOMPARE(parseFinance(sentence, contextAt()).description, description);
    }

    void items_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<double>("amount");
        QTest::addColumn<QString>("items");
        QTest::addColumn<QString>("description");
        QTest::newRow("listed with and") << "在 Coles 买了鸡蛋 6 块、牛奶 3.5 和面包 4" << 13.5
                                         << "鸡蛋 6, 牛奶 3.5, 面包 4"
                                         << "Coles";
        QTest::newRow("stated total wins over the sum") << "菜市场 青菜 8 猪肉 25 一共 35" << 35.0 << "青菜 8, 猪肉 25"
                                                        << "菜市场";
        QTest::newRow("latin name of several words") << "Uber Eats 32.4 小费 3" << 35.4 << "Uber Eats 32.4, 小费 3"
                                                     << "Uber Eats、小费";
        QTest::newRow("model number is not a price") << "买了 iphone 15 花了 1299" << 1299.0 << ""
                                                     << "iphone 15";
        QTest::newRow("sum keeps cents") << "a 0.1 b 0.2" << 0.3 << "a 0.1, b 0.2"
                                         << "a、b";
    }
    void items()
    {
        QFETCH(QString, sentence);
        QFETCH(double, amount);
        QFETCH(QString, items);
        QFETCH(QString, description);
        const FinanceParse parse = parseFinance(sentence, contextAt());
        QVERIFY(parse.isBooking());
        QCOMPARE(*parse.amount, amount);
        QStringList listed;
        for (const FinanceItem& item : parse.items)
            listed.append(item.name + u' ' + QString::number(item.amount));
        QCOMPARE(listed.join(QStringLiteral(", ")), items);
        QCOMPARE(parse.description, description);
    }

    void sentencesWithoutAnAmountAreNotBookings_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("error");
        QTest::newRow("no number") << "今天午餐"
                                   << "没有找到金额";
        QTest::newRow("a clock is no amount") << "9点到11点 开会"
                                              << "没有找到金额";
        QTest::newRow("a date is no amount") << "5月3号 电费"
                                             << "没有找到金额";
        QTest::newRow("a count is no amount") << "买了 2 张票"
                                              << "没有找到金额";
        QTest::newRow("blank") << " \t"
                               << "句子是空的";
    }
    void sentencesWithoutAnAmountAreNotBookings()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, error);
        const FinanceParse parse = parseFinance(sentence, contextAt());
        QVERIFY(!parse.isBooking());
        QCOMPARE(parse.error(), error);
        QCOMPARE(parse.toParsedJson().value(QStringLiteral("error")).toString(), error);
        QVERIFY(!parse.toParsedJson().contains(QStringLiteral("amount")));
    }

    void confidenceDropsWhenUnsure()
    {
        const double sure = parseFinance(u"今天午餐 50", contextAt()).confidence;
        QVERIFY(parseFinance(u"杂七杂八 20", contextAt()).confidence < sure);
        QVERIFY(parseFinance(u"50", contextAt()).confidence < parseFinance(u"杂七杂八 20", contextAt()).confidence);
    }
};

QTEST_GUILESS_MAIN(FinanceParserTest)
#include "FinanceParserTest.moc"

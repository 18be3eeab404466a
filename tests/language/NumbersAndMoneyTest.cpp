#include "AmountScanner.h"
#include "Numerals.h"
#include "SentenceScan.h"
#include "TestContext.h"

#include <QTest>

using namespace language;

class NumbersAndMoneyTest : public QObject {
    Q_OBJECT

private slots:
    void chineseNumerals_data()
    {
        QTest::addColumn<QString>("run");
        QTest::addColumn<double>("value"); // -1: not a number
        QTest::newRow("tens") << "五十" << 50.0;
        QTest::newRow("leading ten unspoken") << "十五" << 15.0;
        QTest::newRow("hundred with abbreviated tens") << "一百二" << 120.0;
        QTest::newRow("thousand with abbreviated hundreds") << "两千五" << 2500.0;
        QTest::newRow("ten thousand with abbreviated thousands") << "一万二" << 12000.0;
        QTest::newRow("zero breaks the abbreviation") << "一百零五" << 105.0;
        QTest::newRow("zero inside thousands") << "一千零五十" << 1050.0;
        QTest::newRow("full thousands") << "三千二百" << 3200.0;
        QTest::newRow("digits read one by one") << "二零二六" << 2026.0;
        QTest::newRow("unit alone") << "万" << -1.0;
        QTest::newRow("units without digit") << "千万" << -1.0;
        QTest::newRow("two digits before a unit") << "三四十" << -1.0;
    }
    void chineseNumerals()
    {
        QFETCH(QString, run);
        QFETCH(double, value);
        const auto parsed = chineseNumeralValue(run);
        if (value < 0)
            QVERIFY2(!parsed, qPrintable(QString::number(parsed.value_or(0))));
        else
            QCOMPARE(parsed.value_or(-1), value);
    }

    void digitsWithSuffixes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("length");
        QTest::newRow("thousands separator") << "1,200 块" << 1200.0 << 5;
        QTest::newRow("comma without three digits is not a separator") << "5,20" << 5.0 << 1;
        QTest::newRow("k multiplier") << "1.2k" << 1200.0 << 4;
        QTest::newRow("k of a unit is not a multiplier") << "3km" << 3.0 << 1;
        QTest::newRow("wan") << "3万" << 30000.0 << 2;
        QTest::newRow("wan with abbreviated thousands") << "1万2" << 12000.0 << 3;
        QTest::newRow("w multiplier") << "2w" << 20000.0 << 2;
        QTest::newRow("decimals") << "23.50" << 23.5 << 5;
    }
    void digitsWithSuffixes()
    {
        QFETCH(QString, text);
        QFETCH(double, value);
        QFETCH(int, length);
        const auto read = readNumber(text, 0);
        QVERIFY(read);
        QCOMPARE(read->value, value);
        QCOMPARE(read->len, qsizetype(length));
    }

    void amountsAndCurrencies_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("defaultCurrency");
        QTest::addColumn<QString>("expected"); // "value currency" per amount, joined by "; "
        QTest::newRow("bare number is the household's") << "午餐 50"
                                                        << "AUD"
                                                        << "50 AUD";
        QTest::newRow("kuai follows the household") << "午餐 50块"
                                                    << "CNY"
                                                    << "50 CNY";
        QTest::newRow("kuai with spaced jiao") << "早餐 8 块 5"
                                               << "AUD"
                                               << "8.5 AUD";
        QTest::newRow("kuai with fen") << "三块零五 口香糖"
                                       << "AUD"
                                       << "3.05 AUD";
        QTest::newRow("mao alone") << "五毛 糖"
                                   << "AUD"
                                   << "0.5 AUD";
        QTest::newRow("spoken decimal") << "三点五块"
                                        << "AUD"
                                        << "3.5 AUD";
        QTest::newRow("renminbi before") << "人民币 200 红包"
                                         << "AUD"
                                         << "200 CNY";
        QTest::newRow("rmb glued after") << "红包 200rmb"
                                         << "AUD"
                                         << "200 CNY";
        QTest::newRow("full-width yen sign") << "星巴克 ￥32"
                                             << "AUD"
                                             << "32 CNY";
        QTest::newRow("dollar") << "午餐 $15"
                                << "CNY"
                                << "15 AUD";
        QTest::newRow("australian dollar sign") << "停车 A$8"
                                                << "CNY"
                                                << "8 AUD";
        QTest::newRow("dao") << "健身 70 刀"
                             << "CNY"
                             << "70 AUD";
        QTest::newRow("aobi") << "25 澳币"
                              << "CNY"
                              << "25 AUD";
        QTest::newRow("us dollar sign") << "Kindle US$9.99"
                                        << "AUD"
                                        << "9.99 USD";
        QTest::newRow("meijin") << "20 美金"
                                << "AUD"
                                << "20 USD";
        QTest::newRow("code inside a word is not a currency") << "audio 线 25"
                                                              << "CNY"
                                                              << "25 CNY";
        QTest::newRow("a spaced word after a price is not a count") << "午饭 20 晚饭 35"
                                                                    << "AUD"
                                                                    << "20 AUD; 35 AUD";
        QTest::newRow("weights are counted") << "买了 3 斤苹果 12"
                                             << "AUD"
                                             << "12 AUD";
        QTest::newRow("unit glued to digits") << "跑了 5km 买水 3"
                                              << "AUD"
                                              << "3 AUD";
        QTest::newRow("shop name with a dash") << "7-11 买水 3"
                                               << "AUD"
                                               << "3 AUD";
        QTest::newRow("numeral inside a word") << "三明治 8"
                                               << "AUD"
                                               << "8 AUD";
        QTest::newRow("one in together") << "一起吃饭 80"
                                         << "AUD"
                                         << "80 AUD";
        QTest::newRow("times two") << "咖啡 5 x2"
                                   << "AUD"
                                   << "10 AUD";
        QTest::newRow("no amount") << "今天午餐"
                                   << "AUD"
                                   << "";
    }
    void amountsAndCurrencies()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, defaultCurrency);
        QFETCH(QString, expected);
        MarkedText text(sentence);
        QStringList found;
        for (const AmountMention& m : AmountScanner(defaultCurrency, Lexicon::builtIn()).scan(text))
            found.append(QString::number(m.value) + u' ' + m.currency);
        QCOMPARE(found.join(QStringLiteral("; ")), expected);
    }

    // Numbers that are something other than money keep their kind, and only money is left.
    void numbersThatAreNotMoney_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("span"); // a piece of the sentence, marked whole as `kind`
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("money");
        const int code = int(Mark::code);
        const int identifier = int(Mark::identifier);
        const int ordinal = int(Mark::ordinal);
        const int quantity = int(Mark::quantity);
        const int date = int(Mark::date);
        QTest::newRow("labelled number") << "尾号 6789 的卡"
                                         << "尾号 6789" << code << "";
        QTest::newRow("spaced phone number") << "call 0412 345 678"
                                             << "0412 345 678" << code << "";
        QTest::newRow("mobile number beside a price") << "充话费 13912345678 100 人民币"
                                                      << "13912345678" << code << "100 CNY";
        QTest::newRow("course code") << "复习 ECON10004"
                                     << "ECON10004" << identifier << "";
        QTest::newRow("standard name") << "Optus 5G 套餐 35"
                                       << "5G" << identifier << "35 AUD";
        QTest::newRow("dashed standard") << "USB-C 3.2 hub 49"
                                         << "3.2" << identifier << "49 AUD";
        QTest::newRow("model number after a model word") << "Xbox 360 手柄 45"
                                                         << "360" << identifier << "45 AUD";
        QTest::newRow("model word before a priced number") << "iPhone 15 Pro 8999 元"
                                                           << "15" << identifier << "8999 CNY";
        QTest::newRow("chinese ordinal with counter") << "开始读第 7 章"
                                                      << "第 7 章" << ordinal << "";
        QTest::newRow("english ordinal") << "2nd coffee 4"
                                         << "2nd" << ordinal << "4 AUD";
        QTest::newRow("position word") << "chapter 7 notes"
                                       << "7" << ordinal << "";
        QTest::newRow("spaced count of days") << "还剩 4 天交房租"
                                              << "4 天" << quantity << "";
        QTest::newRow("bus route") << "坐 903 路去学校"
                                   << "903 路" << identifier << "";
        QTest::newRow("year with nian") << "2024 年退税 860"
                                        << "2024 年" << date << "860 AUD";
        QTest::newRow("year beside a price") << "paid 2025 rego 850"
                                             << "2025" << date << "850 AUD";
        QTest::newRow("thousands comma") << "学费 12,000 人民币"
                                         << "" << code << "12000 CNY";
    }
    void numbersThatAreNotMoney()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, span);
        QFETCH(int, kind);
        QFETCH(QString, money);
        const SentenceScan scan = SentenceScan::of(sentence, contextAt());
        if (!span.isEmpty()) {
            const qsizetype at = sentence.indexOf(span);
            QVERIFY(at >= 0);
            for (qsizetype i = at; i < at + span.size(); ++i)
                QVERIFY2(scan.text.markAt(i) == Mark(kind), qPrintable(QStringLiteral("at %1").arg(i)));
        }
        QStringList found;
        for (const AmountMention& m : scan.amounts)
            found.append(QString::number(m.value) + u' ' + m.currency);
        QCOMPARE(found.join(QStringLiteral("; ")), money);
    }

    void currencyNamedAlone_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("currency");
        QTest::newRow("renminbi") << "改成人民币"
                                  << "CNY";
        QTest::newRow("us dollars") << "换成美元"
                                    << "USD";
        QTest::newRow("aud code") << "改成 AUD"
                                  << "AUD";
        QTest::newRow("kuai names no currency") << "改成块"
                                                << "";
    }
    void currencyNamedAlone()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, currency);
        MarkedText text(sentence);
        QCOMPARE(AmountScanner(QStringLiteral("AUD"), Lexicon::builtIn()).scanCurrencyName(text).value_or(QString()),
            currency);
    }
};

QTEST_GUILESS_MAIN(NumbersAndMoneyTest)
#include "NumbersAndMoneyTest.moc"

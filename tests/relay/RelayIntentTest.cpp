// The built-in understanding through /intent: each section's fields, the reference time, and
// the refusals of requests that cannot be answered.

#include "RelayHttp.h"
#include "TestRelay.h"

#include <QJsonArray>
#include <QTest>

using namespace Qt::StringLiterals;

class RelayIntentTest : public QObject {
    Q_OBJECT

private slots:
    void financeSectionGivesTheDraftFields()
    {
        TestRelay relay;
        RelayHttp http(relay.port());
        const RelayReply reply = http.intent(relay.token(),
            { { u"text"_s, u"超市 牛奶 5 面包 3.5"_s }, { u"section"_s, u"finance"_s },
                { u"ts"_s, u"2026-05-14T20:15:00+10:00"_s } });
        QCOMPARE(reply.status, 200);
        const QJsonObject body = reply.object();
        QCOMPARE(body.value(u"ok"_s), QJsonValue(true));
        QCOMPARE(body.value(u"cost_usd"_s).toDouble(-1), 0.0);
        QVERIFY(!body.value(u"session_id"_s).toString().isEmpty());
        QVERIFY(body.value(u"duration_ms"_s).isDouble());
        QVERIFY(!body.value(u"raw_result"_s).toString().isEmpty());
        const QJsonObject parsed = reply.parsed();
        QCOMPARE(parsed.value(u"amount"_s).toDouble(), 8.5);
        QCOMPARE(parsed.value(u"currency"_s).toString(), u"AUD"_s);
        QCOMPARE(parsed.value(u"category"_s).toString(), u"买菜"_s);
        QCOMPARE(parsed.value(u"date"_s).toString(), u"2026-05-14"_s);
        QCOMPARE(parsed.value(u"description"_s).toString(), u"超市"_s);
        QVERIFY(parsed.value(u"confidence"_s).isDouble());
        QVERIFY(!parsed.contains(u"error"_s));
        // The speaker books: no spender key, so the booking falls to the default member.
        QVERIFY(!parsed.contains(u"spender"_s));
        const QJsonArray items = parsed.value(u"items"_s).toArray();
        QCOMPARE(items.size(), 2);
        QCOMPARE(items.at(1).toObject().value(u"name"_s).toString(), u"面包"_s);
        QCOMPARE(items.at(1).toObject().value(u"amount"_s).toDouble(), 3.5);
    }

    void sectionsAnswerInTheirOwnShape_data()
    {
        QTest::addColumn<QString>("section");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected"); // key=value pairs of `parsed`, separated by ";"
        QTest::newRow("time block")
            << u"time"_s << u"上午 9 点到 11 点 coding"_s
            << u"action=manual;activity=coding;date=2026-05-14;start_time=09:00;end_time=11:00;duration_min=120;category=工作"_s;
        QTest::newRow("time nothing") << u"time"_s << u"今天午餐 50"_s << u"action=unknown;error=没有识别出时间记录"_s;
        QTest::newRow("finance no amount") << u"finance"_s << u"上午 9 点到 11 点 coding"_s << u"error=没有找到金额"_s;
    }
    void sectionsAnswerInTheirOwnShape()
    {
        QFETCH(QString, section);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        TestRelay relay;
        RelayHttp http(relay.port());
        const RelayReply reply = http.intent(
            relay.token(), { { u"text"_s, text }, { u"section"_s, section }, { u"ts"_s, u"2026-05-14T20:15:00"_s } });
        QCOMPARE(reply.status, 200);
        const QJsonObject parsed = reply.parsed();
        for (const QString& pair : expected.split(u';')) {
            const QString key = pair.section(u'=', 0, 0);
            const QString value = pair.section(u'=', 1);
            const QJsonValue got = parsed.value(key);
            const QString actual = got.isDouble() ? QString::number(got.toDouble()) : got.toString();
            QVERIFY2(actual == value, qPrintable(u"%1: expected %2, got %3"_s.arg(key, value, actual)));
        }
    }

    void stewardWithoutAModelStillAnswers()
    {
        TestRelay relay;
        RelayHttp http(relay.port());
        const RelayReply booking
            = http.intent(relay.token(), { { u"text"_s, u"今天午餐 50"_s }, { u"section"_s, u"steward"_s } });
        QCOMPARE(booking.status, 200);
        const QString answer = booking.parsed().value(u"answer"_s).toString();
        QVERIFY2(answer.contains(u"50.00 AUD"_s) && answer.contains(u"记一笔"_s), qPrintable(answer));
        QCOMPARE(booking.object().value(u"raw_result"_s).toString(), answer);

        const RelayReply chat
            = http.intent(relay.token(), { { u"text"_s, u"你好"_s }, { u"section"_s, u"steward"_s } });
        QVERIFY(chat.parsed().value(u"answer"_s).toString().contains(u"MINTBRIDGE_MODEL_COMMAND"_s));
    }

    // Relative days count from `ts` on the household's clock (Melbourne), whatever zone it is written in.
    void tsIsTheReferenceTime_data()
    {
        QTest::addColumn<QString>("ts");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("date");
        QTest::newRow("offset of the household")
            << u"2026-03-01T10:00:00+11:00"_s << u"昨天 uber 23.5"_s << u"2026-02-28"_s;
        QTest::newRow("utc evening is the next morning")
            << u"2026-02-28T14:00:00Z"_s << u"今天午餐 50"_s << u"2026-03-01"_s;
        QTest::newRow("no offset is the household's clock")
            << u"2026-02-28T23:30:00"_s << u"今天午餐 50"_s << u"2026-02-28"_s;
        QTest::newRow("with milliseconds")
            << u"2026-07-04T12:00:00.250+10:00"_s << u"上周五 电影 30"_s << u"2026-06-26"_s;
        // The test clock stands at 2026-11-21 09:30 UTC, 20:30 in Melbourne.
        QTest::newRow("absent is now") << QString() << u"昨天 uber 23.5"_s << u"2026-11-20"_s;
    }
    void tsIsTheReferenceTime()
    {
        QFETCH(QString, ts);
        QFETCH(QString, text);
        QFETCH(QString, date);
        TestRelay relay;
        RelayHttp http(relay.port());
        QJsonObject body { { u"text"_s, text }, { u"section"_s, u"finance"_s } };
        if (!ts.isEmpty())
            body.insert(u"ts"_s, ts);
        const RelayReply reply = http.intent(relay.token(), body);
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.parsed().value(u"date"_s).toString(), date);
    }

    void unanswerableRequestsAreRefusedInWords_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("detailStart");
        QTest::newRow("not json") << QByteArray("今天午餐 50") << u"请求格式错误"_s;
        QTest::newRow("no section") << QByteArray(R"({"text":"今天午餐 50"})") << u"请求格式错误：field 'section'"_s;
        QTest::newRow("text not a string")
            << QByteArray(R"({"text":50,"section":"finance"})") << u"请求格式错误：field 'text'"_s;
        QTest::newRow("unknown section") << QByteArray(R"({"text":"今天午餐 50","section":"body"})")
                                         << u"section 只能是 finance、time 或 steward"_s;
        QTest::newRow("blank text") << QByteArray(R"({"text":"  \n ","section":"finance"})") << u"text 不能为空"_s;
        QTest::newRow("bad ts") << QByteArray(R"({"text":"今天午餐 50","section":"finance","ts":"yesterday"})")
                                << u"ts 不是 ISO 8601 时间：yesterday"_s;
        QTest::newRow("model with shell words")
            << QByteArray(R"({"text":"今天午餐 50","section":"finance","model":"x; rm -rf ~"})")
            << u"model 名称不合法"_s;
        QTest::newRow("text too long") << QByteArray(R"({"text":")" + QByteArray(2001 * 3, 'a')
            + R"(","section":"time"})") << u"句子太长（上限 2000 字）"_s;
    }
    void unanswerableRequestsAreRefusedInWords()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, detailStart);
        TestRelay relay;
        RelayHttp http(relay.port());
        const RelayReply reply = http.post("/intent", body.toStdString(), u"Bearer "_s + relay.token());
        QCOMPARE(reply.status, 422);
        QVERIFY2(reply.detail().startsWith(detailStart), qPrintable(reply.detail()));
    }
};

QTEST_GUILESS_MAIN(RelayIntentTest)
#include "RelayIntentTest.moc"

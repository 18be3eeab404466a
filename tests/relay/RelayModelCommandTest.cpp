// The model-command path against small stand-in commands written by each test: one that
// answers well, one that prints garbage, one that hangs, one that fails; and the daily limit.

#include "RelayHttp.h"
#include "TestRelay.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QJsonObject sentence(const QString& section, const QString& text = u"上午 9 点到 11 点 coding"_s)
{
    return { { u"text"_s, text }, { u"section"_s, section }, { u"ts"_s, u"2026-05-14T20:15:00+10:00"_s } };
}

QString fileText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// The way some model commands wrap their answer: the model's text in `result`, beside the cost
// and the session.
QByteArray envelope(const QString& result)
{
    const QJsonObject object { { u"type"_s, u"result"_s }, { u"is_error"_s, false }, { u"result"_s, result },
        { u"total_cost_usd"_s, 0.013 }, { u"session_id"_s, u"env-1"_s } };
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// Gone, or a zombie nobody has reaped yet: either way no longer running.
bool processEnded(const QString& pid)
{
    QFile stat(u"/proc/"_s + pid + u"/stat"_s);
    if (!stat.open(QIODevice::ReadOnly))
        return true;
    const QByteArray line = stat.readAll();
    const qsizetype close = line.lastIndexOf(')');
    return close > 0 && line.mid(close + 2, 1) == "Z";
}

} // namespace

class RelayModelCommandTest : public QObject {
    Q_OBJECT

private slots:
    void answerOfTheCommandIsHeldToTheSection_data()
    {
        QTest::addColumn<QString>("section");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("expected"); // key=value pairs of `parsed`
        QTest::addColumn<QString>("absent"); // keys that must not be in `parsed`
        QTest::addColumn<double>("cost"); // -1: none reported
        QTest::addColumn<QString>("session"); // empty: any fresh id
        QTest::newRow("plain time object")
            << u"time"_s
            << QByteArray(
                   R"({"action":"manual","activity":"coding","date":"2026-05-14","start_time":"9:00","end_time":"11:00:00","duration_min":120,"confidence":0.9,"cost_usd":0.0042,"session_id":"s-77"})")
            << u"action=manual;activity=coding;date=2026-05-14;start_time=09:00;end_time=11:00;duration_min=120"_s
            << u"cost_usd;session_id"_s << 0.0042 << u"s-77"_s;
        QTest::newRow("envelope with fenced json")
            << u"finance"_s
            << envelope(u"好的：\n```json\n"_s
                   + QString::fromUtf8(
                       R"({"amount":"50","currency":"aud","category":"餐饮","date":"2026/5/14","description":"午餐","items":[{"name":"面","amount":30},{"name":"x"}],"mood":"happy"})")
                   + u"\n```"_s)
            << u"amount=50;currency=AUD;category=餐饮;date=2026-05-14;description=午餐"_s << u"mood;error"_s << 0.013
            << u"env-1"_s;
        QTest::newRow("unknown action") << u"time"_s << QByteArray(R"({"action":"pause","activity":"coding"})")
                                        << u"action=unknown;activity=coding"_s << u"date"_s << -1.0 << QString();
        QTest::newRow("steward plain text") << u"steward"_s << QByteArray("今天适合早点睡。")
                                            << u"answer=今天适合早点睡。"_s << QString() << -1.0 << QString();
        QTest::newRow("bad day and clock dropped")
            << u"time"_s
            << QByteArray(R"({"action":"manual","date":"14/05/2026","start_time":"25:00","end_time":"11:00"})")
            << u"action=manual;end_time=11:00"_s << u"date;start_time"_s << -1.0 << QString();
    }
    void answerOfTheCommandIsHeldToTheSection()
    {
        QFETCH(QString, section);
        QFETCH(QByteArray, output);
        QFETCH(QString, expected);
        QFETCH(QString, absent);
        QFETCH(double, cost);
        QFETCH(QString, session);
        TestRelay::Options options;
        options.start = false;
        TestRelay relay(options);
        QFile answer(relay.binDir() + u"/answer.txt"_s);
        QVERIFY(answer.open(QIODevice::WriteOnly));
        answer.write(output);
        answer.close();
        relay.options().modelCommand
            = relay.writeScript(u"model.sh"_s, "cat >/dev/null; cat '" + answer.fileName().toUtf8() + "'");
        relay.start();

        RelayHttp http(relay.port());
        const RelayReply reply = http.intent(relay.token(), sentence(section));
        QVERIFY2(reply.status == 200, reply.body.c_str());
        const QJsonObject parsed = reply.parsed();
        for (const QString& pair : expected.split(u';')) {
            const QString key = pair.section(u'=', 0, 0);
            const QJsonValue got = parsed.value(key);
            const QString actual = got.isDouble() ? QString::number(got.toDouble()) : got.toString();
            QVERIFY2(actual == pair.section(u'=', 1), qPrintable(key + u" = "_s + actual));
        }
        for (const QString& key : absent.split(u';', Qt::SkipEmptyParts))
            QVERIFY2(!parsed.contains(key), qPrintable(key));
        const QJsonObject body = reply.object();
        if (cost < 0)
            QVERIFY(!body.contains(u"cost_usd"_s));
        else
            QCOMPARE(body.value(u"cost_usd"_s).toDouble(), cost);
        if (session.isEmpty())
            QVERIFY(!body.value(u"session_id"_s).toString().isEmpty());
        else
            QCOMPARE(body.value(u"session_id"_s).toString(), session);
        QVERIFY(body.value(u"duration_ms"_s).isDouble());
        QVERIFY(!body.value(u"raw_result"_s).toString().isEmpty());
        QCOMPARE(relay.server().service().ledger().used(relay.clock().now()), 1);
    }

    void commandReadsThePromptAndItsModel()
    {
        TestRelay::Options options;
        options.start = false;
        TestRelay relay(options);
        const QByteArray dir = relay.binDir().toUtf8();
        relay.options().modelCommand = relay.writeScript(u"model.sh"_s,
                                           "cat > '" + dir + "/prompt.txt'\necho \"$1 $MINTBRIDGE_MODEL\" > '" + dir
                                               + "/model.txt'\necho '{\"answer\":\"ok\"}'")
            + u" {model}"_s;
        relay.start();
        RelayHttp http(relay.port());

        QJsonObject body = sentence(u"steward"_s, u"明天要交什么？"_s);
        body.insert(u"model"_s, u"opus"_s);
        QCOMPARE(http.intent(relay.token(), body).status, 200);
        QCOMPARE(fileText(relay.binDir() + u"/model.txt"_s).trimmed(), u"opus opus"_s);
        const QString prompt = fileText(relay.binDir() + u"/prompt.txt"_s);
        QVERIFY2(prompt.contains(u"明天要交什么？"_s), qPrintable(prompt));
        // 20:15 at +10:00 is 20:15 in Melbourne in May.
        QVERIFY2(prompt.contains(u"2026-05-14 20:15"_s), qPrintable(prompt));

        // No model named: the default one.
        QCOMPARE(http.intent(relay.token(), sentence(u"steward"_s)).status, 200);
        QCOMPARE(fileText(relay.binDir() + u"/model.txt"_s).trimmed(), u"haiku haiku"_s);
    }

    void failuresOfTheCommandAnswerInWords_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("section");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("detail");
        QTest::newRow("garbage") << QByteArray("cat >/dev/null; echo 'I think it is lunch'") << u"finance"_s << 502
                                 << u"模型输出不是 JSON：I think it is lunch"_s;
        QTest::newRow("fails with stderr")
            << QByteArray("cat >/dev/null; echo 'starting' >&2; echo 'model: quota exhausted' >&2; echo '' >&2; exit 3")
            << u"time"_s << 502 << u"model: quota exhausted"_s;
        QTest::newRow("fails silently") << QByteArray("exit 7") << u"time"_s << 502 << u"模型命令失败（退出码 7）"_s;
        QTest::newRow("prints nothing") << QByteArray("cat >/dev/null") << u"time"_s << 502 << u"模型命令没有输出"_s;
        QTest::newRow("time without action")
            << QByteArray(R"(echo '{"activity":"coding"}')") << u"time"_s << 502 << u"模型输出缺少 action 字段"_s;
        QTest::newRow("finance with nothing of use") << QByteArray(R"(echo '{"mood":1}')") << u"finance"_s << 502
                                                     << u"模型输出里没有记账字段（amount、category、description …）"_s;
        QTest::newRow("envelope says error")
            << QByteArray(R"(echo '{"type":"result","is_error":true,"result":"overloaded"}')") << u"steward"_s << 502
            << u"模型报错：overloaded"_s;
    }
    void failuresOfTheCommandAnswerInWords()
    {
        QFETCH(QByteArray, script);
        QFETCH(QString, section);
        QFETCH(int, status);
        QFETCH(QString, detail);
        TestRelay::Options options;
        options.start = false;
        TestRelay relay(options);
        relay.options().modelCommand = relay.writeScript(u"model.sh"_s, script);
        relay.start();
        RelayHttp http(relay.port());
        const RelayReply reply = http.intent(relay.token(), sentence(section));
        QCOMPARE(reply.status, status);
        QCOMPARE(reply.detail(), detail);
    }

    void hangingCommandIsKilledAndAnswers504()
    {
        TestRelay::Options options;
        options.start = false;
        options.modelTimeout = std::chrono::milliseconds(300);
        TestRelay relay(options);
        const QByteArray pidFile = relay.binDir().toUtf8() + "/sleeper.pid";
        relay.options().modelCommand
            = relay.writeScript(u"model.sh"_s, "sleep 30 &\necho $! > '" + pidFile + "'\nwait");
        relay.start();
        RelayHttp http(relay.port());
        const RelayReply reply = http.intent(relay.token(), sentence(u"time"_s));
        QCOMPARE(reply.status, 504);
        QCOMPARE(reply.detail(), u"模型命令超过 0.3 秒没有返回，已终止"_s);
        const QString pid = fileText(QString::fromUtf8(pidFile)).trimmed();
        QVERIFY(!pid.isEmpty());
        // What the command started in the background goes with it.
        QTRY_VERIFY(processEnded(pid));
    }

    void builtinWhenTheHouseholdPrefersIt()
    {
        TestRelay::Options options;
        options.start = false;
        TestRelay relay(options);
        const QByteArray marker = relay.binDir().toUtf8() + "/ran";
        relay.options().modelCommand
            = relay.writeScript(u"model.sh"_s, "touch '" + marker + "'; echo '{\"action\":\"stop\"}'");
        relay.start();
        RelayHttp http(relay.port());

        QJsonObject asked = sentence(u"time"_s);
        asked.insert(u"model"_s, u"builtin"_s);
        const RelayReply byRequest = http.intent(relay.token(), asked);
        QCOMPARE(byRequest.status, 200);
        QCOMPARE(byRequest.parsed().value(u"action"_s).toString(), u"manual"_s);
        QCOMPARE(byRequest.object().value(u"cost_usd"_s).toDouble(-1), 0.0);

        relay.options().preferBuiltin = true;
        relay.start();
        RelayHttp again(relay.port());
        const RelayReply byChoice = again.intent(relay.token(), sentence(u"time"_s));
        QCOMPARE(byChoice.parsed().value(u"action"_s).toString(), u"manual"_s);
        QVERIFY(!QFile::exists(QString::fromUtf8(marker)));
        QCOMPARE(relay.server().service().ledger().used(relay.clock().now()), 0);
    }

    void dailyLimitSlidesAndSurvivesARestart()
    {
        TestRelay::Options options;
        options.start = false;
        options.dailyLimit = 2;
        TestRelay relay(options);
        relay.options().modelCommand = relay.writeScript(u"model.sh"_s, "echo '{\"action\":\"stop\"}'");
        relay.start();
        RelayHttp http(relay.port());

        QCOMPARE(http.intent(relay.token(), sentence(u"time"_s)).status, 200);
        relay.clock().advance(3600);
        QCOMPARE(http.intent(relay.token(), sentence(u"time"_s)).status, 200);
        relay.clock().advance(3600);
        const RelayReply refused = http.intent(relay.token(), sentence(u"time"_s));
        QCOMPARE(refused.status, 429);
        // The first call, at 20:30 in Melbourne, leaves the window 24 hours later: 22 hours from now.
        QVERIFY2(refused.detail().contains(u"11-22 20:30"_s) && refused.detail().contains(u"1320 分钟"_s),
            qPrintable(refused.detail()));
        QCOMPARE(refused.header("Retry-After"), std::string("79200"));

        // The built-in path is not counted and not limited.
        QJsonObject builtin = sentence(u"time"_s);
        builtin.insert(u"model"_s, u"builtin"_s);
        QCOMPARE(http.intent(relay.token(), builtin).status, 200);

        relay.start();
        RelayHttp restarted(relay.port());
        QCOMPARE(restarted.intent(relay.token(), sentence(u"time"_s)).status, 429);

        relay.clock().advance(22 * 3600);
        QCOMPARE(restarted.intent(relay.token(), sentence(u"time"_s)).status, 200);
        QCOMPARE(restarted.intent(relay.token(), sentence(u"time"_s)).status, 429);
    }
};

QTEST_GUILESS_MAIN(RelayModelCommandTest)
#include "RelayModelCommandTest.moc"

// The mintbridge command line: the token the user pastes, and serving until told to stop.

#include "RelayHttp.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

struct Run {
    int exitCode = -1;
    QString out;
    QString err;
};

QProcessEnvironment environmentWithHome(const QString& home, const QString& token = {})
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"HOME"_s, home);
    environment.remove(u"MINTBRIDGE_TOKEN"_s);
    environment.remove(u"MINTBRIDGE_MODEL_COMMAND"_s);
    if (!token.isEmpty())
        environment.insert(u"MINTBRIDGE_TOKEN"_s, token);
    return environment;
}

Run mintbridge(const QStringList& arguments, const QProcessEnvironment& environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(MINTBRIDGE_BINARY), arguments);
    if (!process.waitForStarted() || !process.waitForFinished(30000))
        return {};
    return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
        QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError()) };
}

} // namespace

class RelayCliTest : public QObject {
    Q_OBJECT

private slots:
    void tokenIsMadeOnceAndPrinted()
    {
        QTemporaryDir home;
        const Run first = mintbridge({ u"token"_s }, environmentWithHome(home.path()));
        QCOMPARE(first.exitCode, 0);
        const QString token = first.out.trimmed();
        QVERIFY(token.size() >= 40);
        QVERIFY(QFile::exists(home.path() + u"/.config/mintbridge/bearer"_s));
        QCOMPARE(mintbridge({ u"token"_s }, environmentWithHome(home.path())).out.trimmed(), token);
        QCOMPARE(
            mintbridge({ u"token"_s }, environmentWithHome(home.path(), u"from-env"_s)).out.trimmed(), u"from-env"_s);
    }

    void wrongUseSaysHow_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("unknown command") << QStringList { u"relay"_s };
        QTest::newRow("unknown option") << QStringList { u"serve"_s, u"--port"_s, u"1"_s };
        QTest::newRow("bad listen") << QStringList { u"serve"_s, u"--listen"_s, u"localhost"_s };
        QTest::newRow("token with a word") << QStringList { u"token"_s, u"new"_s };
    }
    void wrongUseSaysHow()
    {
        QFETCH(QStringList, arguments);
        QTemporaryDir home;
        const Run run = mintbridge(arguments, environmentWithHome(home.path()));
        QCOMPARE(run.exitCode, 2);
        QVERIFY2(run.err.contains(u"usage:"_s), qPrintable(run.err));
    }

    void serveAnswersUntilTerminated()
    {
        QTemporaryDir home;
        QProcess process;
        process.setProcessEnvironment(environmentWithHome(home.path()));
        process.start(QStringLiteral(MINTBRIDGE_BINARY), { u"serve"_s, u"--listen"_s, u"127.0.0.1:0"_s });
        QVERIFY(process.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(process.canReadLine(), 20000);
        const QString line = QString::fromUtf8(process.readLine());
        const auto match = QRegularExpression(u"listening on http://127\\.0\\.0\\.1:(\\d+)"_s).match(line);
        QVERIFY2(match.hasMatch(), qPrintable(line));
        QVERIFY2(!line.contains(mintbridge({ u"token"_s }, environmentWithHome(home.path())).out.trimmed()),
            "the token is not written into the log");

        RelayHttp http(match.captured(1).toInt());
        QCOMPARE(http.get("/health").status, 200);

        process.terminate();
        QVERIFY(process.waitForFinished(20000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
    }
};

QTEST_GUILESS_MAIN(RelayCliTest)
#include "RelayCliTest.moc"

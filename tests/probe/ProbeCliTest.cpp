#include "TestServer.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

// The focus-probe program as a user starts it: signing in, running without a display, stopping.
class ProbeCliTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<TestServer>();
        m_server->createUser(u"velmar"_s, u"pw"_s);
        m_home = std::make_unique<QTemporaryDir>();
    }
    void cleanup()
    {
        m_server.reset();
        m_home.reset();
    }

    void signIn_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("password");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("said");
        QTest::newRow("right password") << QStringList { u"--user"_s, u"velmar"_s } << QByteArray("pw\n") << 0
                                        << u"已登录 velmar"_s;
        QTest::newRow("wrong password") << QStringList { u"--user"_s, u"velmar"_s } << QByteArray("nope\n") << 1
                                        << u"登录失败"_s;
        QTest::newRow("no user named") << QStringList {} << QByteArray("pw\n") << 2 << u"usage"_s;
    }
    void signIn()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, password);
        QFETCH(int, exitCode);
        QFETCH(QString, said);
        QProcess probe;
        prepare(probe);
        probe.start(QStringLiteral(FOCUS_PROBE), QStringList { u"sign-in"_s, u"--api"_s, apiBase() } + arguments);
        probe.write(password);
        probe.closeWriteChannel();
        QVERIFY(probe.waitForFinished(30000));
        const QString output = QString::fromUtf8(probe.readAllStandardOutput() + probe.readAllStandardError());
        QCOMPARE(probe.exitCode(), exitCode);
        QVERIFY2(output.contains(said), qPrintable(output));

        QFile token(tokenPath());
        QCOMPARE(token.exists(), exitCode == 0);
        if (exitCode == 0) {
            QCOMPARE(token.permissions()
                    & ~(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadUser
                        | QFileDevice::WriteUser),
                QFileDevice::Permissions());
            QVERIFY(token.open(QIODevice::ReadOnly));
            QVERIFY(!token.readAll().trimmed().isEmpty());
        }
    }

    // No display and no token: it says both, keeps its heartbeat, and stops cleanly on SIGTERM.
    void runsWithoutADisplayAndStopsOnTerm()
    {
        QProcess probe;
        prepare(probe);
        probe.start(QStringLiteral(FOCUS_PROBE), { u"run"_s, u"--api"_s, apiBase(), u"--interval"_s, u"1"_s });
        QVERIFY(probe.waitForStarted());
        const QString healthPath = m_home->filePath(u".cache/focus-probe/health.json"_s);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(healthPath), 20000);
        QFile health(healthPath);
        QVERIFY(health.open(QIODevice::ReadOnly));
        const QJsonObject heartbeat = QJsonDocument::fromJson(health.readAll()).object();
        QCOMPARE(heartbeat[u"accessibility_trusted"_s].toBool(), false);
        const QString problems = heartbeat[u"problems"_s].toVariant().toStringList().join(u'\n');
        QVERIFY2(problems.contains(u"DISPLAY 未设置"_s), qPrintable(problems));
        QVERIFY2(problems.contains(u"focus-probe sign-in"_s), qPrintable(problems));

        ::kill(pid_t(probe.processId()), SIGTERM);
        QVERIFY(probe.waitForFinished(20000));
        QCOMPARE(probe.exitStatus(), QProcess::NormalExit);
        QCOMPARE(probe.exitCode(), 0);
        QVERIFY(QString::fromUtf8(probe.readAllStandardError()).contains(u"DISPLAY 未设置"_s));
    }

private:
    QString apiBase() const { return m_server->baseUrl().toString(QUrl::StripTrailingSlash); }
    QString tokenPath() const { return m_home->filePath(u".config/focus-probe/token"_s); }
    void prepare(QProcess& probe) const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"HOME"_s, m_home->path());
        env.insert(u"XDG_CONFIG_HOME"_s, m_home->filePath(u".config"_s));
        env.insert(u"XDG_DATA_HOME"_s, m_home->filePath(u".local/share"_s));
        env.remove(u"DISPLAY"_s);
        probe.setProcessEnvironment(env);
    }

    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<QTemporaryDir> m_home;
};

QTEST_GUILESS_MAIN(ProbeCliTest)
#include "ProbeCliTest.moc"

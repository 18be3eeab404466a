// Who may talk to the relay: the token rules, the token file, and the kill switch.

#include "RelayHttp.h"
#include "TestRelay.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QJsonObject lunch()
{
    return QJsonObject { { u"text"_s, u"今天午餐 50"_s }, { u"section"_s, u"finance"_s } };
}

QString fileText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

} // namespace

class RelayAccessTest : public QObject {
    Q_OBJECT

private slots:
    void healthNeedsNoToken()
    {
        TestRelay relay;
        RelayHttp http(relay.port());
        const RelayReply reply = http.get("/health");
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.object().value(u"ok"_s), QJsonValue(true));
    }

    void intentChecksTheBearer_data()
    {
        QTest::addColumn<QString>("authorization");
        QTest::addColumn<int>("status");
        QTest::newRow("no header") << QString() << 401;
        QTest::newRow("wrong token") << u"Bearer not-the-token"_s << 401;
        QTest::newRow("token with a byte more") << u"Bearer relay-test-tokenX"_s << 401;
        QTest::newRow("token cut short") << u"Bearer relay-test-toke"_s << 401;
        QTest::newRow("other scheme") << u"Basic relay-test-token"_s << 401;
        QTest::newRow("bare scheme") << u"Bearer "_s << 401;
        QTest::newRow("right token") << u"Bearer relay-test-token"_s << 200;
        QTest::newRow("scheme in lower case") << u"bearer relay-test-token"_s << 200;
    }
    void intentChecksTheBearer()
    {
        QFETCH(QString, authorization);
        QFETCH(int, status);
        TestRelay relay;
        RelayHttp http(relay.port());
        const RelayReply reply
            = http.post("/intent", QJsonDocument(lunch()).toJson(QJsonDocument::Compact).toStdString(), authorization);
        QCOMPARE(reply.status, status);
        if (status == 401) {
            QCOMPARE(reply.detail(), u"mintbridge token 无效或缺失"_s);
            QCOMPARE(reply.header("WWW-Authenticate"), std::string("Bearer"));
        }
    }

    void firstStartMakesAPrivateTokenFile()
    {
        TestRelay::Options options;
        options.token.clear();
        TestRelay relay(options);
        const QString token = relay.token();
        QVERIFY(token.size() >= 40);
        QCOMPARE(fileText(relay.tokenFilePath()), token);
        const auto others = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup
            | QFileDevice::ReadOther | QFileDevice::WriteOther | QFileDevice::ExeOther;
        QCOMPARE(QFile::permissions(relay.tokenFilePath()) & others, QFileDevice::Permissions());
        QCOMPARE(
            QFile::permissions(QFileInfo(relay.tokenFilePath()).absolutePath()) & others, QFileDevice::Permissions());

        // A restart keeps the token the user already pasted into the client.
        relay.start();
        QCOMPARE(relay.token(), token);
        RelayHttp http(relay.port());
        QCOMPARE(http.intent(token, lunch()).status, 200);
    }

    void blankTokenFileGetsANewToken()
    {
        TestRelay::Options options;
        options.token.clear();
        options.start = false;
        TestRelay relay(options);
        QDir().mkpath(QFileInfo(relay.tokenFilePath()).absolutePath());
        QFile file(relay.tokenFilePath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(" \n\t\n");
        file.close();
        relay.start();
        QVERIFY(!relay.token().trimmed().isEmpty());
        QCOMPARE(fileText(relay.tokenFilePath()), relay.token());
    }

    void killSwitchStopsEverythingButHealth()
    {
        TestRelay relay;
        RelayHttp http(relay.port());
        relay.setKillSwitch(true);

        const RelayReply refused = http.intent(relay.token(), lunch());
        QCOMPARE(refused.status, 503);
        QVERIFY2(refused.detail().contains(u".mintbridge-disable"_s), qPrintable(refused.detail()));
        // Even without a token: the switch stops the relay, not only its known users.
        QCOMPARE(http.intent(u"wrong"_s, lunch()).status, 503);
        const RelayReply health = http.get("/health");
        QCOMPARE(health.status, 200);
        QCOMPARE(health.object().value(u"disabled"_s), QJsonValue(true));

        relay.setKillSwitch(false);
        QCOMPARE(http.intent(relay.token(), lunch()).status, 200);
    }
};

QTEST_GUILESS_MAIN(RelayAccessTest)
#include "RelayAccessTest.moc"

// The token sheet: save, then ask the relay whether it answers.

#include "AwaitTask.h"
#include "RelayClientHarness.h"
#include "TestRelay.h"

#include "relay/MintbridgeTokenSetup.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class MintbridgeTokenSetupTest : public QObject {
    Q_OBJECT

private slots:
    void savedTokenWorksWhenTheRelayAnswers()
    {
        TestRelay relay;
        RelayClientHarness device(relay.baseUrl());
        MintbridgeTokenSetup setup(&device.client());
        QSignalSpy saved(&setup, &MintbridgeTokenSetup::saved);

        awaitTask(setup.save(u"  "_s + relay.token() + u"\n"_s));
        QCOMPARE(setup.statusMessage(), u"已保存。可以回去试一笔了。"_s);
        QVERIFY(!setup.lastSaveFailed());
        QVERIFY(setup.hasToken());
        QCOMPARE(saved.count(), 1);
        QCOMPARE(RelayClientHarness::readFile(device.bearers().appFilePath()), relay.token());
        // The token is the one the next sentence goes out with.
        const auto response = awaitTask(device.client().intent(u"写完了"_s, u"time"_s, std::optional<QString>()));
        QVERIFY(response.ok);
    }

    void unreachableRelayStillKeepsTheToken()
    {
        TestRelay relay;
        RelayClientHarness device(relay.baseUrl());
        relay.stop();
        MintbridgeTokenSetup setup(&device.client());
        awaitTask(setup.save(u"pasted-while-offline"_s));
        QCOMPARE(setup.statusMessage(), u"Token 已保存。但 mintbridge 当前不可达（Mac 可能离线），下一笔时会重试。"_s);
        QCOMPARE(awaitTask(device.bearers().bearer()), u"pasted-while-offline"_s);
    }

    void blankFieldKeepsWhatIsStored_data()
    {
        QTest::addColumn<bool>("stored");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("failed");
        QTest::newRow("a token is stored") << true << u"已保存。可以回去试一笔了。"_s << false;
        QTest::newRow("nothing stored") << false << u"请先粘贴 mintbridge token。"_s << true;
    }
    void blankFieldKeepsWhatIsStored()
    {
        QFETCH(bool, stored);
        QFETCH(QString, message);
        QFETCH(bool, failed);
        TestRelay relay;
        RelayClientHarness device(relay.baseUrl());
        if (stored)
            awaitTask(device.bearers().store(u"kept"_s));
        MintbridgeTokenSetup setup(&device.client());
        awaitTask(setup.save(u"   "_s));
        QCOMPARE(setup.statusMessage(), message);
        QCOMPARE(setup.lastSaveFailed(), failed);
        if (stored)
            QCOMPARE(awaitTask(device.bearers().bearer()), u"kept"_s);
    }
};

QTEST_GUILESS_MAIN(MintbridgeTokenSetupTest)
#include "MintbridgeTokenSetupTest.moc"

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

    // A blank paste keeps the token already stored.
    void blankFieldKeepsWhatIsStored()
    {
        TestRelay relay;
        RelayClientHarness device(relay.baseUrl());
        awaitTask(device.bearers().store(u"kept"_s));
        MintbridgeTokenSetup setup(&device.client());
        awaitTask(setup.save(u"   "_s));
        QCOMPARE(setup.statusMessage(), u"已保存。可以回去试一笔了。"_s);
        QVERIFY(!setup.lastSaveFailed());
        QCOMPARE(awaitTask(device.bearers().bearer()), u"kept"_s);
    }
};

QTEST_GUILESS_MAIN(MintbridgeTokenSetupTest)
#include "MintbridgeTokenSetupTest.moc"

// Where the relay token is found, in which order, and what is copied forward.

#include "AwaitTask.h"
#include "RelayClientHarness.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString service = u"127.0.0.1"_s;

bool isPrivate(const QString& path)
{
    const auto others
        = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther | QFileDevice::WriteOther;
    return QFile::exists(path) && (QFile::permissions(path) & others) == QFileDevice::Permissions();
}

} // namespace

class RelayBearerStoreTest : public QObject {
    Q_OBJECT

private slots:
    // Each row puts a token (or blanks) in some of the four places; the first place in the
    // order environment, app file, older file, keychain that holds one wins.
    void discoveryOrder_data()
    {
        QTest::addColumn<QString>("environment");
        QTest::addColumn<QByteArray>("appFile"); // empty: no file
        QTest::addColumn<QByteArray>("olderFile");
        QTest::addColumn<QByteArray>("keychain");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("appFileAfter"); // what the app's file holds afterwards
        QTest::newRow("environment first")
            << u"env"_s << QByteArray("app") << QByteArray("older") << QByteArray("kc") << u"env"_s << u"app"_s;
        QTest::newRow("blank environment is absent")
            << u" \t"_s << QByteArray("app\n") << QByteArray("older") << QByteArray("kc") << u"app"_s << u"app\n"_s;
        QTest::newRow("app file before older file")
            << QString() << QByteArray("  app  ") << QByteArray("older") << QByteArray() << u"app"_s << u"  app  "_s;
        QTest::newRow("older file copied forward")
            << QString() << QByteArray() << QByteArray("older\n") << QByteArray("kc") << u"older"_s << u"older"_s;
        QTest::newRow("blank app file falls through")
            << QString() << QByteArray(" \n") << QByteArray("older") << QByteArray() << u"older"_s << u"older"_s;
        QTest::newRow("keychain copied into the app file")
            << QString() << QByteArray() << QByteArray("\n") << QByteArray("kc") << u"kc"_s << u"kc"_s;
    }
    void discoveryOrder()
    {
        QFETCH(QString, environment);
        QFETCH(QByteArray, appFile);
        QFETCH(QByteArray, olderFile);
        QFETCH(QByteArray, keychain);
        QFETCH(QString, expected);
        QFETCH(QString, appFileAfter);
        RelayClientHarness device(
            QUrl(u"http://127.0.0.1:1"_s), { true, { { "MINTBRIDGE_BEARER", environment } }, {} });
        RelayBearerStore& store = device.bearers();
        if (!appFile.isEmpty())
            RelayClientHarness::writeFile(store.appFilePath(), appFile);
        if (!olderFile.isEmpty())
            RelayClientHarness::writeFile(store.olderFilePath(), olderFile);
        if (!keychain.isEmpty())
            device.keychain()->items.insert({ service, RelayBearerStore::defaultAccount }, keychain);

        QCOMPARE(awaitTask(store.bearer()), expected);
        QCOMPARE(RelayClientHarness::readFile(store.appFilePath()), appFileAfter);
        if (expected != u"env"_s && appFile.trimmed().isEmpty())
            QVERIFY(isPrivate(store.appFilePath()));
        QVERIFY(awaitTask(store.hasToken()));
    }

    void keychainIsNotAskedOnceCopied()
    {
        RelayClientHarness device(QUrl(u"http://127.0.0.1:1"_s), { true, {}, {} });
        device.keychain()->items.insert({ service, RelayBearerStore::defaultAccount }, "kc");
        QCOMPARE(awaitTask(device.bearers().bearer()), u"kc"_s);
        QCOMPARE(awaitTask(device.bearers().bearer()), u"kc"_s);
        QCOMPARE(device.keychain()->readCount, 1);
    }

    void nothingStoredIsNotFound()
    {
        RelayClientHarness device(QUrl(u"http://127.0.0.1:1"_s), { true, {}, {} });
        try {
            awaitTask(device.bearers().bearer());
            QFAIL("a token was found where none is stored");
        } catch (const RelayBearerStore::StoreError& error) {
            QCOMPARE(error.kind(), RelayBearerStore::StoreError::Kind::NotFound);
            QCOMPARE(error.description(),
                u"mintbridge token 还没设置。点右上角 ⋯ → 配置 Mintbridge 中继 Token 粘贴一次。"_s);
        }
        QVERIFY(!awaitTask(device.bearers().hasToken()));
    }

    void brokenKeychainIsReported()
    {
        RelayClientHarness device(QUrl(u"http://127.0.0.1:1"_s), { true, {}, {} });
        device.keychain()->failWith = -25293;
        try {
            awaitTask(device.bearers().bearer());
            QFAIL("a failing keychain went unnoticed");
        } catch (const RelayBearerStore::StoreError& error) {
            QCOMPARE(error.kind(), RelayBearerStore::StoreError::Kind::UnexpectedStatus);
        }
    }

    void storeWritesBothAndClearLeavesTheRelaysFile()
    {
        RelayClientHarness device(QUrl(u"http://127.0.0.1:1"_s), { true, {}, {} });
        RelayBearerStore& store = device.bearers();
        RelayClientHarness::writeFile(store.olderFilePath(), "relay-own");

        awaitTask(store.store(u"  pasted \n"_s));
        QCOMPARE(RelayClientHarness::readFile(store.appFilePath()), u"pasted"_s);
        QVERIFY(isPrivate(store.appFilePath()));
        QCOMPARE(device.keychain()->items.value({ service, RelayBearerStore::defaultAccount }), QByteArray("pasted"));
        QCOMPARE(awaitTask(store.bearer()), u"pasted"_s);

        awaitTask(store.clear());
        QVERIFY(!QFile::exists(store.appFilePath()));
        QVERIFY(device.keychain()->items.isEmpty());
        QCOMPARE(RelayClientHarness::readFile(store.olderFilePath()), u"relay-own"_s);
    }

    void storeWithoutKeychainStillWorks()
    {
        RelayClientHarness device(QUrl(u"http://127.0.0.1:1"_s));
        awaitTask(device.bearers().store(u"pasted"_s));
        QCOMPARE(awaitTask(device.bearers().bearer()), u"pasted"_s);
        QVERIFY_THROWS_EXCEPTION(RelayBearerStore::StoreError, awaitTask(device.bearers().store(u"  "_s)));
        QCOMPARE(awaitTask(device.bearers().bearer()), u"pasted"_s);
    }
};

QTEST_GUILESS_MAIN(RelayBearerStoreTest)
#include "RelayBearerStoreTest.moc"

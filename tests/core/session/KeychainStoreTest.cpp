#include "AwaitTask.h"
#include "ClientHarness.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>
#include <qcoro/qcorotask.h>

namespace {

template<class T> T run(QCoro::Task<T> task)
{
    return awaitTask(std::move(task));
}

void writeRaw(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

const QUrl unusedServer(QStringLiteral("http://127.0.0.1:9"));

// Owner, group and other bits, as `ls -l` shows them.
QFileDevice::Permissions modeOf(const QString& path)
{
    return QFileInfo(path).permissions() & QFileDevice::Permissions(0x7077);
}

const auto privateFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
const auto privateFolder = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;

} // namespace

class KeychainStoreTest : public QObject {
    Q_OBJECT

private slots:
    void storedUserIsCurrentAndPrivate()
    {
        ClientHarness client(unusedServer);
        auto& store = client.keychain();
        run(store.storeUser("velmar", "tok-v", "Velmar", true));
        QCOMPARE(run(store.bearerV1()), QStringLiteral("tok-v"));
        QVERIFY(run(store.hasToken()));
        QCOMPARE(run(store.listKnownUsernames()), QStringList { "velmar" });
        QCOMPARE(modeOf(store.customFilePath("user-token-velmar")), privateFile);
        QCOMPARE(modeOf(client.paths().credentialDir()), privateFolder);
    }

    void secondUserAppendsAndSwitchesOnlyWhenAsked()
    {
        ClientHarness client(unusedServer);
        auto& store = client.keychain();
        run(store.storeUser("velmar", "tok-v", "Velmar", true));
        run(store.storeUser("sefa", "tok-s", "Sefa", false));
        run(store.storeUser("velmar", "tok-v2", "Velmar", true));
        QCOMPARE(run(store.listKnownUsernames()), (QStringList { "velmar", "sefa" }));
        QCOMPARE(run(store.bearerV1()), QStringLiteral("tok-v2"));
        run(store.writeKeychainCustom(KeychainStore::currentUsernameKey, "sefa"));
        QCOMPARE(run(store.bearerV1()), QStringLiteral("tok-s"));
    }

    void invalidUsernamesLeaveNothingBehind_data()
    {
        QTest::addColumn<QString>("username");
        QTest::newRow("empty") << QString();
        QTest::newRow("slash") << QStringLiteral("a/b");
        QTest::newRow("line feed") << QStringLiteral("a\nb");
        QTest::newRow("carriage return") << QStringLiteral("a\rb");
        QTest::newRow("nul") << QString(QStringLiteral("a") + QChar(0) + QStringLiteral("b"));
    }
    void invalidUsernamesLeaveNothingBehind()
    {
        QFETCH(QString, username);
        ClientHarness client(unusedServer, ClientHarness::Options::keychain());
        try {
            run(client.keychain().storeUser(username, "tok", "X", true));
            QFAIL("accepted an invalid user name");
        } catch (const KeychainError& error) {
            QCOMPARE(error.kind(), KeychainError::Kind::FileWriteFailed);
            QCOMPARE(error.text(), QStringLiteral("invalid username"));
        }
        QVERIFY(!QFileInfo::exists(client.paths().credentialDir()));
        QVERIFY(client.keychainBackend()->items.isEmpty());
    }

    void keyWithSlashMapsToOneFile()
    {
        ClientHarness client(unusedServer);
        run(client.keychain().writeKeychainCustom("a/b", "v"));
        QVERIFY(QFileInfo::exists(client.paths().credentialDir() + "/a_b.txt"));
        QCOMPARE(run(client.keychain().readKeychainCustom("a/b")), QStringLiteral("v"));
    }

    void fileIsReadBeforeKeychain()
    {
        ClientHarness client(unusedServer, ClientHarness::Options::keychain());
        auto& store = client.keychain();
        run(store.writeKeychainCustom("k", "from-both"));
        client.keychainBackend()->items.insert({ store.service(), "k" }, "keychain-only");
        const int readsBefore = client.keychainBackend()->readCount;
        QCOMPARE(run(store.readKeychainCustom("k")), QStringLiteral("from-both"));
        QCOMPARE(client.keychainBackend()->readCount, readsBefore);
    }

    void blankFileFallsBackToKeychainAndIsRestored_data()
    {
        QTest::addColumn<QByteArray>("fileContent");
        QTest::addColumn<bool>("deleteFile");
        QTest::newRow("deleted by hand") << QByteArray() << true;
        QTest::newRow("only whitespace") << QByteArray(" \n\t ") << false;
        QTest::newRow("not utf-8") << QByteArray("\xff\xfe\xfd") << false;
    }
    void blankFileFallsBackToKeychainAndIsRestored()
    {
        QFETCH(QByteArray, fileContent);
        QFETCH(bool, deleteFile);
        ClientHarness client(unusedServer, ClientHarness::Options::keychain());
        auto& store = client.keychain();
        run(store.writeKeychainCustom("user-token-velmar", "secret"));
        if (deleteFile)
            QVERIFY(store.deleteCustomFile("user-token-velmar"));
        else
            writeRaw(store.customFilePath("user-token-velmar"), fileContent);
        QCOMPARE(run(store.readKeychainCustom("user-token-velmar")), QStringLiteral("secret"));
        QCOMPARE(store.readCustomFile("user-token-velmar"), QStringLiteral("secret"));
    }

    void legacyItemIsCopiedToBearerFile()
    {
        ClientHarness client(unusedServer, ClientHarness::Options::keychain());
        auto& store = client.keychain();
        run(store.writeKeychain("legacy-token"));
        QVERIFY(!QFileInfo::exists(store.fileURL()));
        QVERIFY(run(store.hasToken()));
        QCOMPARE(run(store.bearerV1()), QStringLiteral("legacy-token"));
        QVERIFY(QFileInfo::exists(store.fileURL()));
        QCOMPARE(modeOf(store.fileURL()), privateFile);
    }

    void environmentBearer_data()
    {
        QTest::addColumn<QString>("environment");
        QTest::addColumn<QString>("expected");
        QTest::newRow("set overrides stored") << QStringLiteral("  env-token \n") << QStringLiteral("env-token");
        QTest::newRow("blanks are ignored") << QStringLiteral(" \t\n ") << QStringLiteral("stored");
        QTest::newRow("empty is ignored") << QString() << QStringLiteral("stored");
    }
    void environmentBearer()
    {
        QFETCH(QString, environment);
        QFETCH(QString, expected);
        ClientHarness client(unusedServer, ClientHarness::Options::bearerInEnvironment(environment));
        run(client.keychain().storeUser("velmar", "stored", "Velmar", true));
        QCOMPARE(run(client.keychain().bearerV1()), expected);
    }

    void removingUsers()
    {
        ClientHarness client(unusedServer);
        auto& store = client.keychain();
        run(store.storeUser("velmar", "tok-v", "Velmar", true));
        run(store.storeUser("sefa", "tok-s", "Sefa", false));
        run(store.removeUser("velmar"));
        // The current one gone: no current name, and no token to fall back on.
        QCOMPARE(run(store.currentUsername()), QString());
        QCOMPARE(run(store.listKnownUsernames()), QStringList { "sefa" });
        QVERIFY(!run(store.hasToken()));
        try {
            run(store.bearerV1());
            QFAIL("a token out of nowhere");
        } catch (const KeychainError& error) {
            QCOMPARE(error.kind(), KeychainError::Kind::NotFound);
        }
        // The last one gone takes the list with it.
        run(store.removeUser("sefa"));
        QVERIFY(!QFileInfo::exists(store.customFilePath(KeychainStore::knownUsersKey)));
        QVERIFY_THROWS_EXCEPTION(KeychainError, run(store.listKnownUsernames()));
    }

    void clearEmptiesTheFolderEvenWithUnreadableList()
    {
        ClientHarness client(unusedServer);
        auto& store = client.keychain();
        run(store.storeUser("velmar", "tok-v", "Velmar", true));
        run(store.storeUser("sefa", "tok-s", "Sefa", false));
        store.writeFile("legacy");
        writeRaw(store.customFilePath(KeychainStore::knownUsersKey), "\xff\xfe");
        writeRaw(client.paths().credentialDir() + "/stray.txt", "x");
        run(store.clear());
        QVERIFY(QDir(client.paths().credentialDir()).entryList(QDir::Files | QDir::Hidden).isEmpty());
        QVERIFY(!QFileInfo::exists(store.fileURL()));
        QVERIFY(!run(store.hasToken()));
    }

    void keychainFailureSurfacesOnlyWhereAsked()
    {
        ClientHarness client(unusedServer, ClientHarness::Options::keychain());
        auto& store = client.keychain();
        client.keychainBackend()->failWith = -25293;
        try {
            run(store.storeUser("velmar", "tok", "Velmar", true));
            QFAIL("a failing keychain went unnoticed on login");
        } catch (const KeychainError& error) {
            QCOMPARE(error.kind(), KeychainError::Kind::UnexpectedStatus);
            QCOMPARE(error.status(), -25293);
        }
        // The clean-up path swallows the same failure.
        run(store.clear());
    }
};

QTEST_GUILESS_MAIN(KeychainStoreTest)
#include "KeychainStoreTest.moc"

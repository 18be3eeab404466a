#include "Backend.h"
#include "services/AccountService.h"
#include "services/HouseholdService.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
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

Run lumenApi(const QStringList& arguments, const QByteArray& input = {})
{
    QProcess process;
    process.start(QStringLiteral(LUMEN_API_BINARY), arguments);
    if (!process.waitForStarted())
        return {};
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished(60000);
    return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
        QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError()) };
}

// Every table of the database, in a stable order, to tell whether anything changed.
QByteArray fingerprint(const QString& dataDir)
{
    lumen::Backend backend(dataDir, lumen::PasswordCost::Minimum, nullptr);
    auto& db = backend.database().connection();
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const char* sql : { "SELECT id, username, display_name, password_hash FROM users ORDER BY id",
             "SELECT id, owner_id, timezone, currency FROM households ORDER BY id",
             "SELECT user_id, household_id, role FROM memberships ORDER BY user_id",
             "SELECT key, value FROM meta ORDER BY key" }) {
        auto query = db.prepare(sql);
        while (query.step()) {
            for (int column = 0; column < 4; ++column)
                hash.addData(query.text(column).toUtf8() + '\x1f');
        }
    }
    for (const QString& name : QDir(dataDir + u"/assets"_s).entryList(QDir::Files, QDir::Name)) {
        QFile file(dataDir + u"/assets/"_s + name);
        if (file.open(QIODevice::ReadOnly))
            hash.addData(name.toUtf8() + file.readAll());
    }
    return hash.result().toHex();
}

} // namespace

class CliTest : public QObject {
    Q_OBJECT

private slots:
    void seedDemoMakesTheHouseholdOnce()
    {
        QTemporaryDir dir;
        const Run first = lumenApi({ u"seed-demo"_s, u"--data-dir"_s, dir.path(), u"--password"_s, u"demo pass"_s });
        QCOMPARE(first.exitCode, 0);
        QVERIFY2(first.out.contains(u"velmar"_s) && first.out.contains(u"sefa"_s), qPrintable(first.out));
        QVERIFY(first.out.contains(u"demo pass"_s));
        const QByteArray before = fingerprint(dir.path());

        {
            lumen::Backend backend(dir.path(), lumen::PasswordCost::Minimum, nullptr);
            const auto velmar = backend.accounts().findUser(u"velmar"_s);
            const auto sefa = backend.accounts().findUser(u"sefa"_s);
            QVERIFY(velmar && sefa);
            QCOMPARE(velmar->displayName, u"Velmar"_s);
            QCOMPARE(sefa->displayName, u"Sefa"_s);
            QCOMPARE(backend.households().householdOf(sefa->id).ownerId, velmar->id);
            QCOMPARE(backend.accounts().login(u"sefa"_s, u"demo pass"_s).username, u"sefa"_s);
            QVERIFY(QFile::exists(dir.path() + u"/assets/car.md"_s));
        }

        // Again, with or without a password: nothing changes, and it says so.
        for (const QStringList& again : { QStringList { u"--password"_s, u"other"_s }, QStringList {} }) {
            const Run run = lumenApi(QStringList { u"seed-demo"_s, u"--data-dir"_s, dir.path() } + again);
            QCOMPARE(run.exitCode, 0);
            QVERIFY2(run.out.contains(u"nothing was changed"_s), qPrintable(run.out));
            QCOMPARE(fingerprint(dir.path()), before);
        }
    }

    void seedDemoGeneratesPasswordsWhenNoneIsGiven()
    {
        QTemporaryDir dir;
        const Run run = lumenApi({ u"seed-demo"_s, u"--data-dir"_s, dir.path() });
        QCOMPARE(run.exitCode, 0);
        static const QRegularExpression line(u"(velmar|sefa) .*password: (\\S+)"_s);
        QStringList passwords;
        for (auto it = line.globalMatch(run.out); it.hasNext();) {
            const auto match = it.next();
            passwords.append(match.captured(2));
            lumen::Backend backend(dir.path(), lumen::PasswordCost::Minimum, nullptr);
            QCOMPARE(backend.accounts().login(match.captured(1), match.captured(2)).username, match.captured(1));
        }
        QCOMPARE(passwords.size(), 2);
        QVERIFY(passwords[0] != passwords[1]);
        QVERIFY(passwords[0].size() >= 12);
    }

    void seedDemoLeavesAFolderWithTheNamesTakenAlone()
    {
        QTemporaryDir dir;
        QCOMPARE(lumenApi({ u"user"_s, u"add"_s, u"sefa"_s, u"--data-dir"_s, dir.path() }, "mine\n").exitCode, 0);
        const QByteArray before = fingerprint(dir.path());
        const Run run = lumenApi({ u"seed-demo"_s, u"--data-dir"_s, dir.path(), u"--password"_s, u"x"_s });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(fingerprint(dir.path()), before);
    }

    void userAddReadsThePasswordFromStandardInput()
    {
        QTemporaryDir dir;
        const Run run = lumenApi(
            { u"user"_s, u"add"_s, u"Kit"_s, u"--display-name"_s, u"Kit Lau"_s, u"--data-dir"_s, dir.path() },
            "s3cret pass\n");
        QCOMPARE(run.exitCode, 0);
        QVERIFY(!run.out.contains(u"s3cret"_s));
        lumen::Backend backend(dir.path(), lumen::PasswordCost::Minimum, nullptr);
        const auto login = backend.accounts().login(u"kit"_s, u"s3cret pass"_s);
        QCOMPARE(login.display_name, u"Kit Lau"_s);
    }

    void userAddRefusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("no password") << QStringList { u"user"_s, u"add"_s, u"kit"_s } << QByteArray() << 1;
        QTest::newRow("name taken") << QStringList { u"user"_s, u"add"_s, u"Taken"_s } << "pw\n"_ba << 1;
        QTest::newRow("bad name") << QStringList { u"user"_s, u"add"_s, u"a b"_s } << "pw\n"_ba << 1;
        QTest::newRow("no name") << QStringList { u"user"_s, u"add"_s } << "pw\n"_ba << 2;
    }
    void userAddRefusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, input);
        QFETCH(int, exitCode);
        QTemporaryDir dir;
        QCOMPARE(lumenApi({ u"user"_s, u"add"_s, u"taken"_s, u"--data-dir"_s, dir.path() }, "pw\n").exitCode, 0);
        const QByteArray before = fingerprint(dir.path());
        const Run run = lumenApi(arguments + QStringList { u"--data-dir"_s, dir.path() }, input);
        QCOMPARE(run.exitCode, exitCode);
        QVERIFY(!run.err.isEmpty());
        QCOMPARE(fingerprint(dir.path()), before);
    }
};

QTEST_GUILESS_MAIN(CliTest)
#include "CliTest.moc"

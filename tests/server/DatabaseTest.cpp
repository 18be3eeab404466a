#include "db/Database.h"
#include "db/DbError.h"
#include "db/Migrations.h"
#include "db/Transaction.h"

#include <QTemporaryDir>
#include <QTest>

#include <thread>

using namespace Qt::StringLiterals;
using namespace lumen::db;

namespace {

const std::vector<Migration> kTwoSteps = {
    { 1, "notes", "CREATE TABLE notes (id INTEGER PRIMARY KEY, text TEXT NOT NULL);" },
    { 2, "note tags", "ALTER TABLE notes ADD COLUMN tag TEXT;" },
};

int count(Connection& db)
{
    auto query = db.prepare("SELECT COUNT(*) FROM notes");
    return query.step() ? int(query.integer(0)) : -1;
}

} // namespace

class DatabaseTest : public QObject {
    Q_OBJECT

private slots:
    // A household founded before time categories existed gets the same ids as a new one.
    void olderHouseholdsGetTheTimeCategories()
    {
        QTemporaryDir dir;
        Database db(dir.filePath(u"t.db"_s));
        db.migrate({ migrations().front() });
        db.connection().exec("INSERT INTO users (id, username, display_name, password_hash, created_at) "
                             "VALUES (7, 'old', 'Old', 'x', 0);"
                             "INSERT INTO households (id, owner_id, created_at) VALUES (3, 7, 0);");
        db.migrate(migrations());
        auto query = db.connection().prepare(
            "SELECT group_concat(id || name, ' ') FROM (SELECT id, name FROM time_categories WHERE household_id = 3 "
            "ORDER BY id)");
        QVERIFY(query.step());
        QCOMPARE(query.text(0), u"1工作 2学习 3吃饭 4家务 6睡眠 7娱乐 8运动 9通勤 12做饭 13洗漱 29杂务"_s);
    }

    void migrationsRunOnceEach()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"t.db"_s);
        {
            Database db(path);
            db.migrate({ kTwoSteps[0] });
            db.connection().prepare("INSERT INTO notes (text) VALUES (:text)").bind(":text", u"kept"_s).run();
            QCOMPARE(db.connection().userVersion(), 1);
        }
        Database db(path);
        db.migrate(kTwoSteps);
        db.migrate(kTwoSteps); // a second start changes nothing
        QCOMPARE(db.connection().userVersion(), 2);
        QCOMPARE(count(db.connection()), 1);
        db.connection().prepare("UPDATE notes SET tag = 'x'").run();
    }

    void aFailingMigrationLeavesTheVersionBehind()
    {
        QTemporaryDir dir;
        Database db(dir.filePath(u"t.db"_s));
        const std::vector<Migration> broken
            = { kTwoSteps[0], { 2, "half done", "CREATE TABLE extra (x); INSERT INTO missing VALUES (1);" } };
        QVERIFY_THROWS_EXCEPTION(DbError, db.migrate(broken));
        QCOMPARE(db.connection().userVersion(), 1);
        // The table of the failed step was rolled back with it.
        QVERIFY_THROWS_EXCEPTION(DbError, db.connection().prepare("SELECT x FROM extra"));
    }

    void refusesAFileFromANewerBuildAndStepsOutOfOrder()
    {
        QTemporaryDir dir;
        Database db(dir.filePath(u"t.db"_s));
        db.migrate(kTwoSteps);
        QVERIFY_THROWS_EXCEPTION(DbError, db.migrate({ kTwoSteps[0] }));
        QVERIFY_THROWS_EXCEPTION(DbError, db.migrate({ kTwoSteps[1], kTwoSteps[0] }));
    }

    void transactionRollsBackUnlessCommitted()
    {
        QTemporaryDir dir;
        Database db(dir.filePath(u"t.db"_s));
        db.migrate(kTwoSteps);
        Connection& connection = db.connection();
        try {
            Transaction transaction(connection);
            connection.prepare("INSERT INTO notes (text) VALUES ('lost')").run();
            throw std::runtime_error("a rule refused");
        } catch (const std::runtime_error&) {
        }
        QCOMPARE(count(connection), 0);
        {
            Transaction transaction(connection);
            connection.prepare("INSERT INTO notes (text) VALUES ('kept')").run();
            transaction.commit();
        }
        QCOMPARE(count(connection), 1);
    }

    void eachThreadHasItsOwnConnection()
    {
        QTemporaryDir dir;
        Database db(dir.filePath(u"t.db"_s));
        db.migrate(kTwoSteps);
        Connection* mine = &db.connection();
        QCOMPARE(&db.connection(), mine);
        Connection* theirs = nullptr;
        int seen = -1;
        {
            // A transaction open here must not be visible, nor block a reader, there.
            Transaction transaction(*mine);
            mine->prepare("INSERT INTO notes (text) VALUES ('pending')").run();
            std::thread reader([&] {
                theirs = &db.connection();
                seen = count(*theirs);
            });
            reader.join();
            transaction.commit();
        }
        QVERIFY(theirs != mine);
        QCOMPARE(seen, 0);
        QCOMPARE(count(*mine), 1);
    }

    void reusedStatementsStayIndependent()
    {
        QTemporaryDir dir;
        Database db(dir.filePath(u"t.db"_s));
        db.migrate(kTwoSteps);
        Connection& connection = db.connection();
        for (const char* text : { "a", "b" })
            connection.prepare("INSERT INTO notes (text) VALUES (:text)")
                .bind(":text", QString::fromLatin1(text))
                .run();
        // The same query nested inside its own loop gets a second statement, not the busy one.
        const char* sql = "SELECT text FROM notes ORDER BY id";
        QStringList pairs;
        auto outer = connection.prepare(sql);
        while (outer.step()) {
            auto inner = connection.prepare(sql);
            while (inner.step())
                pairs.append(outer.text(0) + inner.text(0));
        }
        QCOMPARE(pairs, (QStringList { u"aa"_s, u"ab"_s, u"ba"_s, u"bb"_s }));
        QVERIFY_THROWS_EXCEPTION(DbError, connection.prepare(sql).bind(":nope", 1));
    }
};

QTEST_GUILESS_MAIN(DatabaseTest)
#include "DatabaseTest.moc"

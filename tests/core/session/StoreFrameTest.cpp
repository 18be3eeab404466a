#include "session/CacheModels.h"
#include "session/KeychainError.h"
#include "session/LoadError.h"
#include "session/LoadState.h"
#include "session/WidgetCache.h"

#include "json/JsonCoding.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

class StoreFrameTest : public QObject {
    Q_OBJECT

private slots:
    void staleness_data()
    {
        QTest::addColumn<int>("secondsAgo");
        QTest::addColumn<bool>("refreshed");
        QTest::addColumn<bool>("stale");
        QTest::newRow("never refreshed") << 0 << false << false;
        QTest::newRow("exactly at the limit") << 60 << true << false;
        QTest::newRow("past the limit") << 61 << true << true;
    }
    void staleness()
    {
        QFETCH(int, secondsAgo);
        QFETCH(bool, refreshed);
        QFETCH(bool, stale);
        const QDateTime now(QDate(2026, 11, 21), QTime(10, 0), Qt::UTC);
        LoadState state;
        if (refreshed)
            state.lastRefreshedAt = now.addSecs(-secondsAgo);
        QCOMPARE(state.isStale(60, now), stale);
    }

    // Server refusals are read through real stores; these failures never come from the server.
    void localFailuresBecomeOneLine()
    {
        const LoadError missing = formatLoadError(std::make_exception_ptr(KeychainError::notFound()));
        QCOMPARE(missing.message, QStringLiteral("未找到登录凭据，请重新登录"));
        QVERIFY(!missing.isAuthFailure);
        const LoadError other = formatLoadError(std::make_exception_ptr(std::runtime_error("boom")));
        QCOMPARE(other.message, QStringLiteral("boom"));
        QVERIFY(!other.isAuthFailure);
    }

    void snapshotFailuresAreSilent()
    {
        QTemporaryDir dir;
        struct Record {
            int n = 0;
            static Record fromJson(const wire::ObjectReader& in) { return { in.required<int>("n") }; }
            void writeJson(wire::ObjectWriter& out) const { out.set("n", n); }
        };
        QVERIFY(!WidgetCache::loadSync<Record>("missing", dir.path()));
        WidgetCache::saveSync("k", Record { 7 }, dir.path() + "/nested/deeper");
        QCOMPARE(WidgetCache::loadSync<Record>("k", dir.path() + "/nested/deeper")->n, 7);
        // A folder that cannot be made: the save is dropped, nothing is thrown.
        QFile blocker(dir.path() + "/file");
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        WidgetCache::saveSync("k", Record { 8 }, dir.path() + "/file/sub");
        QVERIFY(!WidgetCache::loadSync<Record>("k", dir.path() + "/file/sub"));
    }

    void localSchemaStandsOnSqlite()
    {
        auto db = QSqlDatabase::addDatabase("QSQLITE", "schema");
        db.setDatabaseName(":memory:");
        QVERIFY(db.open());
        QSqlQuery query(db);
        for (const ModelDefinition* model : CacheSchema::models())
            QVERIFY2(query.exec(model->createTableSQL()), qPrintable(query.lastError().text()));

        const auto insert = [&](const ModelDefinition& model, const std::vector<QVariant>& values) {
            QStringList marks;
            for (std::size_t i = 0; i < values.size(); ++i)
                marks << "?";
            QSqlQuery statement(db);
            statement.prepare(QStringLiteral("INSERT INTO \"%1\" VALUES (%2)").arg(model.tableName, marks.join(',')));
            for (const QVariant& value : values)
                statement.addBindValue(value);
            return statement.exec();
        };
        const QDateTime now(QDate(2026, 11, 21), QTime(10, 0), Qt::UTC);
        wire::Transaction tx;
        tx.id = 41;
        tx.date = "21/11/2026";
        tx.amount = 50;
        tx.currency = "AUD";
        tx.category = "餐饮";
        const CachedTransaction row = CachedTransaction::from(tx, now);
        QVERIFY(insert(CachedTransaction::definition(), row.values()));
        QVERIFY2(!insert(CachedTransaction::definition(), row.values()), "a second row with the same id");

        // A running entry has no end yet: the column must take a null.
        wire::TimeEntry entry;
        entry.id = 9;
        entry.date = "2026-11-21";
        entry.start_time = "09:00";
        entry.activity = "coding";
        entry.source = "app";
        QVERIFY(insert(CachedTimeEntry::definition(), CachedTimeEntry::from(entry, now).values()));
        QVERIFY(
            insert(OutboxItem::definition(), OutboxItem("/time/stop", "POST", "{}", now, 0, std::nullopt).values()));
        // A required column refuses an empty value.
        QVERIFY(!query.exec("INSERT INTO OutboxItem (endpoint) VALUES ('/x')"));
        query.finish();
        db.close();
    }
};

QTEST_GUILESS_MAIN(StoreFrameTest)
#include "StoreFrameTest.moc"

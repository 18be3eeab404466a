#include "AwaitTask.h"
#include "ClientHarness.h"
#include "TestServer.h"

#include "time/TimeCache.h"

#include <QTest>

namespace {

const QStringList cachedDays { "2026-10-30", "2026-10-31", "2026-11-01", "2026-11-02", "2026-11-14", "2026-11-15",
    "2026-11-16" };
const QStringList cachedRanges { "2026-10-01..2026-10-31", "2026-11-01..2026-11-30", "2026-11-16..2026-11-22",
    "2026-10-31..2026-10-31", "2026-11-15..2026-11-15" };

QStringList presentDays(const TimeCache& cache)
{
    QStringList out;
    for (const QString& day : cachedDays) {
        if (cache.entries(day))
            out << day;
    }
    return out;
}

QStringList presentRanges(const TimeCache& cache)
{
    QStringList out;
    for (const QString& key : cachedRanges) {
        const QStringList bounds = key.split("..");
        if (cache.summary(bounds[0], bounds[1]))
            out << key;
    }
    return out;
}

wire::TimeManualRequest manual(QString date, QString start, QString end, QString activity)
{
    wire::TimeManualRequest request;
    request.date = std::move(date);
    request.start_time = std::move(start);
    request.end_time = std::move(end);
    request.activity = std::move(activity);
    request.source = "app";
    return request;
}

} // namespace

class TimeCacheTest : public QObject {
    Q_OBJECT

private slots:
    void invalidateAroundDropsNeighboursAndRanges_data()
    {
        QTest::addColumn<QString>("day");
        QTest::addColumn<QStringList>("daysLeft");
        QTest::addColumn<QStringList>("rangesLeft");
        QTest::newRow("the 31st takes the 1st of the next month")
            << "2026-10-31" << QStringList { "2026-11-02", "2026-11-14", "2026-11-15", "2026-11-16" }
            << QStringList { "2026-11-01..2026-11-30", "2026-11-16..2026-11-22", "2026-11-15..2026-11-15" };
        QTest::newRow("the 15th drops its month but not the 16th to the 22nd")
            << "2026-11-15" << QStringList { "2026-10-30", "2026-10-31", "2026-11-01", "2026-11-02" }
            << QStringList { "2026-10-01..2026-10-31", "2026-11-16..2026-11-22", "2026-10-31..2026-10-31" };
        QTest::newRow("a range's first day counts as inside")
            << "2026-11-16" << QStringList { "2026-10-30", "2026-10-31", "2026-11-01", "2026-11-02", "2026-11-14" }
            << QStringList { "2026-10-01..2026-10-31", "2026-10-31..2026-10-31", "2026-11-15..2026-11-15" };
        QTest::newRow("a day nothing holds leaves everything") << "2027-01-05" << cachedDays << cachedRanges;
        QTest::newRow("an unreadable day drops everything") << "yesterday" << QStringList {} << QStringList {};
    }
    void invalidateAroundDropsNeighboursAndRanges()
    {
        QFETCH(QString, day);
        QFETCH(QStringList, daysLeft);
        QFETCH(QStringList, rangesLeft);
        auto clock = std::make_shared<ManualClock>();
        TimeCache cache(nullptr, clock);
        for (const QString& cached : cachedDays)
            cache.storeEntries({}, cached);
        for (const QString& key : cachedRanges) {
            const QStringList bounds = key.split("..");
            cache.storeSummary(wire::TimeSummary::empty(bounds[0], bounds[1]), bounds[0], bounds[1]);
        }
        cache.invalidateAround(day);
        QCOMPARE(presentDays(cache), daysLeft);
        QCOMPARE(presentRanges(cache), rangesLeft);
    }

    void prefetchFillsDaysWeekAndMonth()
    {
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        ClientHarness client(
            server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("velmar")));
        TimeCache cache(&client.api(), client.sharedClock());
        const QDate today = cache.today();
        const QString todayText = TimeCache::dayString(today);
        const QString yesterday = TimeCache::dayString(today.addDays(-1));
        awaitTask(client.api().timeManual(manual(todayText, "08:00", "09:30", "coding")));
        awaitTask(client.api().timeManual(manual(yesterday, "10:00", "10:45", "reading")));

        awaitTask(cache.prefetchRecent(2));

        QCOMPARE(cache.entries(todayText).value().size(), std::size_t(1));
        QCOMPARE(cache.entries(todayText)->front().activity, QStringLiteral("coding"));
        QCOMPARE(cache.entries(yesterday).value().front().activity, QStringLiteral("reading"));
        QVERIFY(!cache.entries(TimeCache::dayString(today.addDays(-2))));
        QCOMPARE(cache.summary(todayText, todayText).value().total_min, 90.0);
        QCOMPARE(cache.summary(yesterday, yesterday).value().total_min, 45.0);

        const QDate monday = today.addDays(1 - today.dayOfWeek());
        const auto week = cache.summary(TimeCache::dayString(monday), TimeCache::dayString(monday.addDays(6)));
        QVERIFY(week);
        QCOMPARE(QDate::fromString(week->from, Qt::ISODate).dayOfWeek(), 1);
        const QDate first(today.year(), today.month(), 1);
        QVERIFY(cache.summary(TimeCache::dayString(first), TimeCache::dayString(first.addMonths(1).addDays(-1))));

        // No days asked: the week and the month still come.
        cache.invalidateAll();
        awaitTask(cache.prefetchRecent(0));
        QVERIFY(!cache.entries(todayText));
        QVERIFY(cache.summary(TimeCache::dayString(monday), TimeCache::dayString(monday.addDays(6))));
    }

    void cachedPiecesAreNotFetchedAgain()
    {
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        ClientHarness client(
            server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("velmar")));
        TimeCache cache(&client.api(), client.sharedClock());
        const QString today = TimeCache::dayString(cache.today());
        awaitTask(client.api().timeManual(manual(today, "08:00", "09:00", "coding")));
        // What the cache holds stands until invalidated, an empty day included, even when the
        // server has more.
        cache.storeEntries({}, today);
        wire::TimeSummary marker = wire::TimeSummary::empty(today, today);
        marker.entry_count = 42;
        cache.storeSummary(marker, today, today);

        awaitTask(cache.prefetchRecent(1));
        QVERIFY(cache.entries(today)->empty());
        QCOMPARE(cache.summary(today, today)->entry_count, 42);

        cache.invalidateAround(today);
        awaitTask(cache.prefetchRecent(1));
        QCOMPARE(cache.entries(today)->size(), std::size_t(1));
        QCOMPARE(cache.summary(today, today)->entry_count, 1);
    }

    void failedCallsLeaveTheirPiecesUncached()
    {
        TestServer server;
        server.createUser("velmar", "pw-velmar-1");
        ClientHarness client(
            server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("velmar")));
        client.api().networkAccessManager()->clearConnectionCache();
        server.stop();
        TimeCache cache(&client.api(), client.sharedClock());
        awaitTask(cache.prefetchRecent(3));
        const QDate today = cache.today();
        for (int i = 0; i < 3; ++i)
            QVERIFY(!cache.entries(TimeCache::dayString(today.addDays(-i))));
        const QDate monday = today.addDays(1 - today.dayOfWeek());
        QVERIFY(!cache.summary(TimeCache::dayString(monday), TimeCache::dayString(monday.addDays(6))));
    }
};

QTEST_GUILESS_MAIN(TimeCacheTest)
#include "TimeCacheTest.moc"

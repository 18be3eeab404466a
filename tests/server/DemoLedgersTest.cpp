#include "ServerHttp.h"
#include "TestServer.h"

#include "time/TimeDomainModels.h"

#include <QTest>
#include <QTimeZone>

#include <memory>
#include <set>

using namespace Qt::StringLiterals;

namespace {

const QTimeZone kMelbourne("Australia/Melbourne");

std::vector<wire::TimeEntry> entries(ServerHttp& http, const QString& token, int confirmed)
{
    const Reply reply = http.get("/time/list?limit=5000&confirmed=" + std::to_string(confirmed), token);
    return wire::fromBytes<std::vector<wire::TimeEntry>>(QByteArray::fromStdString(reply.body));
}

int clockMinutes(const QString& text)
{
    return text.left(2).toInt() * 60 + text.mid(3, 2).toInt();
}

} // namespace

class DemoLedgersTest : public QObject {
    Q_OBJECT

private slots:
    // Saturday 21 November 2026, 20:30 in Melbourne.
    void aFortnightOfConfirmedTime()
    {
        TestServer server;
        server.seedDemo(u"demo"_s);
        ServerHttp http(server);
        const QDate today(2026, 11, 21);
        for (const QString& name : { u"velmar"_s, u"sefa"_s }) {
            const auto confirmed = entries(http, server.issueToken(name), 1);
            std::set<QString> days;
            std::set<int> categories;
            bool crossesMidnight = false;
            for (const auto& entry : confirmed) {
                days.insert(entry.date);
                categories.insert(entry.category_id.value_or(0));
                crossesMidnight |= entry.end_time && clockMinutes(*entry.end_time) < clockMinutes(entry.start_time);
                QVERIFY(entry.duration_min.value_or(0) > 0);
                QVERIFY(entry.source == u"app"_s || entry.source == u"velmar-os-chat"_s);
            }
            QCOMPARE(*days.begin(), LocalClockText(today.addDays(-14)));
            QCOMPARE(*days.rbegin(), LocalClockText(today));
            QCOMPARE(days.size(), size_t(15));
            // Every category the household starts with is used, the study one included.
            QCOMPARE(categories, (std::set<int> { 1, 2, 3, 4, 6, 7, 8, 9, 12, 13, 29 }));
            QVERIFY(crossesMidnight);
            const Reply summary = http.get("/time/summary?from=2026-11-07&to=2026-11-21", server.issueToken(name));
            QVERIFY(summary.object().value(u"total_min"_s).toDouble() > 14 * 12 * 60);
        }
    }

    // What the sensor recorded waits for review, and what the owner's habits know arrives placed.
    void capturedTimeWaitsForReview()
    {
        TestServer server;
        server.seedDemo(u"demo"_s);
        ServerHttp http(server);
        const auto waiting = entries(http, server.issueToken(u"velmar"_s), 0);
        std::set<QString> days;
        int placed = 0;
        for (const auto& entry : waiting) {
            QCOMPARE(entry.source, u"mac-sensor"_s);
            days.insert(entry.date);
            placed += entry.category_id.has_value();
            // Nothing from later today.
            if (entry.date == u"2026-11-21"_s)
                QVERIFY(clockMinutes(*entry.end_time) <= 20 * 60 + 30);
        }
        QCOMPARE(days, (std::set<QString> { u"2026-11-20"_s, u"2026-11-21"_s }));
        QVERIFY(placed >= 3);
        QVERIFY(!entries(http, server.issueToken(u"sefa"_s), 0).empty());
    }

    void earlyInTheMorningTodayHasNotHappenedYet()
    {
        TestServer server;
        server.clock().set(QDateTime(QDate(2026, 11, 21), QTime(7, 0), kMelbourne));
        server.seedDemo(u"demo"_s);
        ServerHttp http(server);
        for (int confirmed : { 0, 1 }) {
            for (const auto& entry : entries(http, server.issueToken(u"velmar"_s), confirmed)) {
                if (entry.date == u"2026-11-21"_s)
                    QFAIL(qPrintable(u"an entry from later today: "_s + entry.start_time + u" "_s + entry.activity));
            }
        }
    }

private:
    static QString LocalClockText(QDate day) { return day.toString(u"yyyy-MM-dd"_s); }
};

QTEST_GUILESS_MAIN(DemoLedgersTest)
#include "DemoLedgersTest.moc"

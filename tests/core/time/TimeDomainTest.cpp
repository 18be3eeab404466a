#include "time/TimeDomain.h"

#include <QTest>

Q_DECLARE_METATYPE(std::optional<int>)
Q_DECLARE_METATYPE(std::optional<QString>)
Q_DECLARE_METATYPE(std::vector<AppShare>)

namespace {

wire::TimeEntry entry(int id, QString activity = QStringLiteral("x"))
{
    wire::TimeEntry e;
    e.id = id;
    e.date = QStringLiteral("2026-11-20");
    e.start_time = QStringLiteral("09:00");
    e.end_time = QStringLiteral("10:00");
    e.duration_min = 60;
    e.activity = std::move(activity);
    e.category_id = 3;
    e.source = QStringLiteral("mac-sensor");
    e.confirmed = 0;
    e.raw_note = QStringLiteral("Code 70%");
    e.rest_quality = QStringLiteral("good");
    e.place = QStringLiteral("home");
    return e;
}

} // namespace

class TimeDomainTest : public QObject {
    Q_OBJECT

private slots:
    void timeHMRendersMinutes_data()
    {
        QTest::addColumn<double>("minutes");
        QTest::addColumn<QString>("text");
        QTest::newRow("under an hour") << 45.0 << "45m";
        QTest::newRow("59.6 rounds up to the hour") << 59.6 << "1h";
        QTest::newRow("whole hours") << 120.0 << "2h";
        QTest::newRow("hours and minutes") << 90.0 << "1h30m";
        QTest::newRow("half rounds away from zero") << 89.5 << "1h30m";
        QTest::newRow("negative clamps to zero") << -3.0 << "0m";
        QTest::newRow("more than a day") << 1501.0 << "25h1m";
    }
    void timeHMRendersMinutes()
    {
        QFETCH(double, minutes);
        QFETCH(QString, text);
        QCOMPARE(timeHM(minutes), text);
    }

    void parseHMReadsClockText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<std::optional<int>>("minutes");
        QTest::newRow("ordinary") << "09:30" << std::optional<int>(570);
        QTest::newRow("single digits") << "9:5" << std::optional<int>(545);
        QTest::newRow("24:00 is not a clock time") << "24:00" << std::optional<int>();
        QTest::newRow("minute 60") << "10:60" << std::optional<int>();
        QTest::newRow("third part ignored") << "10:15:59" << std::optional<int>(615);
        QTest::newRow("no colon") << "1015" << std::optional<int>();
        QTest::newRow("empty minute") << "10:" << std::optional<int>();
        QTest::newRow("sign is not a digit") << "-1:30" << std::optional<int>();
        QTest::newRow("spaces are not digits") << " 9:30" << std::optional<int>();
        QTest::newRow("empty") << "" << std::optional<int>();
    }
    void parseHMReadsClockText()
    {
        QFETCH(QString, text);
        QFETCH(std::optional<int>, minutes);
        QCOMPARE(parseHM(text), minutes);
    }

    void appBreakdownReadsTheNote_data()
    {
        QTest::addColumn<std::optional<QString>>("note");
        QTest::addColumn<std::vector<AppShare>>("shares");
        using V = std::vector<AppShare>;
        QTest::newRow("no note") << std::optional<QString>() << V {};
        QTest::newRow("blank note") << std::optional<QString>(" \n\t ") << V {};
        QTest::newRow("json largest first, 60.9 truncated")
            << std::optional<QString>(R"({"Safari": 30, "Code": 60.9, "Mail": "x", "Term": 5})")
            << V { { "Code", 60 }, { "Safari", 30 }, { "Term", 5 } };
        QTest::newRow("json ties keep key order")
            << std::optional<QString>(R"({"b": 50, "a": 50})") << V { { "a", 50 }, { "b", 50 } };
        QTest::newRow("legacy middle dot, written order")
            << std::optional<QString>("Safari 30% · VS Code 60%") << V { { "Safari", 30 }, { "VS Code", 60 } };
        QTest::newRow("legacy slashes, bad pieces dropped") << std::optional<QString>(
            "Code 50%/nonsense/ 20%/Mail x%/Term 10% extra") << V { { "Code", 50 }, { "Term", 10 } };
        QTest::newRow("json with nothing usable falls back to text") << std::optional<QString>(R"({"a": "b"})") << V {};
    }
    void appBreakdownReadsTheNote()
    {
        QFETCH(std::optional<QString>, note);
        QFETCH(std::vector<AppShare>, shares);
        QCOMPARE(appBreakdown(note), shares);
    }

    void appBreakdownTextShowsThreeShares()
    {
        wire::TimeEntry e = entry(1);
        e.raw_note = R"({"A": 10, "B": 40, "C": 30, "D": 20})";
        QCOMPARE(appBreakdownText(e), std::optional<QString>("B 40% · C 30% · D 20%"));
        e.raw_note = "  ";
        QCOMPARE(appBreakdownText(e), std::optional<QString>());
    }

    void dedupedByIDKeepsFirstAndOrder()
    {
        const auto out = dedupedByID({ entry(3, "a"), entry(1, "b"), entry(3, "c"), entry(2, "d"), entry(1, "e") });
        QStringList activities;
        for (const auto& e : out)
            activities << e.activity;
        QCOMPARE(activities, (QStringList { "a", "b", "d" }));
    }

    void applyPatchCopiesWhatTheRequestSets()
    {
        const wire::TimeEntry original = entry(7);
        wire::TimeEntryUpdateRequest onlyConfirmed;
        onlyConfirmed.confirmed = 1;
        wire::TimeEntry expected = original;
        expected.confirmed = 1;
        expected.raw_note.reset();
        expected.place.reset();
        QCOMPARE(applyPatch(original, onlyConfirmed), expected);

        wire::TimeEntryUpdateRequest moved;
        moved.start_time = "08:00";
        moved.end_time = "08:30";
        const wire::TimeEntry patched = applyPatch(original, moved);
        QCOMPARE(patched.end_time, std::optional<QString>("08:30"));
        // The server computes these; the copy keeps them until the next fetch.
        QCOMPARE(patched.id, 7);
        QCOMPARE(patched.duration_min, std::optional<double>(60));
        QCOMPARE(patched.source, QStringLiteral("mac-sensor"));
    }
};

QTEST_GUILESS_MAIN(TimeDomainTest)
#include "TimeDomainTest.moc"

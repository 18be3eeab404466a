#include "Segmenter.h"
#include "ApplicationName.h"

#include "time/TimeDomainModels.h"

#include <QTest>
#include <QTimeZone>

#include <cmath>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Segment)

namespace {

const QDateTime t0(QDate(2026, 11, 21), QTime(9, 0), Qt::UTC);

// Plays a script of phases, looking every 5 s: "A:120" is window A for 120 s, "-:60" no
// readable window, "~:600" no input (the window stays), "sleep:3600" the machine asleep,
// "back:600" the clock set back. Returns every closed segment, the rest closed at the end.
std::vector<Segment> play(const QString& script, bool idleSource = true)
{
    Segmenter segmenter;
    std::vector<Segment> closed;
    qint64 t = 0;
    qint64 lastInput = 0;
    std::optional<ForegroundWindow> window;
    auto look = [&] {
        ProbeSample sample { window, std::nullopt };
        if (idleSource)
            sample.idleSec = int(t - lastInput);
        for (Segment& segment : segmenter.observe(t0.addSecs(t), sample))
            closed.push_back(std::move(segment));
    };
    for (const QString& phase : script.split(u' ', Qt::SkipEmptyParts)) {
        const QString name = phase.section(u':', 0, 0);
        const qint64 seconds = phase.section(u':', 1, 1).toLongLong();
        if (name == u"sleep"_s) {
            t += seconds;
            lastInput = t;
            continue;
        }
        if (name == u"back"_s) {
            t -= seconds;
            lastInput = t;
            continue;
        }
        if (name == u"-"_s)
            window.reset();
        else if (name != u"~"_s)
            window = ForegroundWindow { name, name.toLower(), name + u" doc"_s, 42 };
        for (qint64 end = t + seconds; t < end; t += 5) {
            if (name != u"~"_s)
                lastInput = t;
            look();
        }
    }
    for (Segment& segment : segmenter.closeAll())
        closed.push_back(std::move(segment));
    return closed;
}

QStringList described(const std::vector<Segment>& segments)
{
    QStringList lines;
    for (const Segment& segment : segments) {
        QString line = u"%1-%2 %3"_s.arg(t0.secsTo(segment.start))
                           .arg(t0.secsTo(segment.end))
                           .arg(segment.offscreen ? u"离屏"_s : segment.appName);
        qint64 total = 0;
        for (const auto& [app, ms] : segment.appMs)
            total += ms;
        for (const auto& [app, ms] : segment.appMs)
            line += u" %1:%2"_s.arg(app).arg(std::lround(100.0 * double(ms) / double(total)));
        lines << line;
    }
    return lines;
}

Segment segmentAt(QDateTime start, QDateTime end, QString app, QString title, bool offscreen = false)
{
    Segment segment { std::move(start), std::move(end), app, std::move(title), offscreen, {} };
    segment.appMs[app] = 60000;
    return segment;
}

} // namespace

// How looks at the desktop become segments, and how a segment is written to the ledger.
class SegmenterTest : public QObject {
    Q_OBJECT

private slots:
    void segments_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<bool>("idleSource");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("a switch held for a minute closes the first")
            << u"A:120 B:120"_s << true << QStringList { u"0-120 A A:100"_s, u"120-235 B B:100"_s };
        QTest::newRow("a short hop counts in the share of the segment around it")
            << u"A:100 B:20 A:100"_s << true << QStringList { u"0-215 A A:91 B:9"_s };
        QTest::newRow("hops to several windows never close the segment")
            << u"A:100 B:30 C:30 B:30 A:30"_s << true << QStringList { u"0-215 A A:58 B:28 C:14"_s };
        QTest::newRow("a short start folds into the window the user stayed with")
            << u"A:30 B:200"_s << true << QStringList { u"0-225 B A:13 B:87"_s };
        QTest::newRow("idle cuts at the last input and returns at the next")
            << u"A:100 ~:600 A:100"_s << true
            << QStringList { u"0-95 A A:100"_s, u"95-700 离屏"_s, u"700-795 A A:100"_s };
        QTest::newRow("a short pause is not idle")
            << u"A:100 ~:200 A:100"_s << true << QStringList { u"0-395 A A:100"_s };
        QTest::newRow("without an idle source nobody goes offscreen")
            << u"A:100 ~:600"_s << false << QStringList { u"0-695 A A:100"_s };
        QTest::newRow("sleep closes at the last look before it")
            << u"A:100 sleep:3600 A:100"_s << true << QStringList { u"0-95 A A:100"_s, u"3700-3795 A A:100"_s };
        QTest::newRow("a clock set back closes at the last look")
            << u"A:100 back:600 A:100"_s << true << QStringList { u"0-95 A A:100"_s, u"-500--405 A A:100"_s };
        QTest::newRow("less than a minute is not written") << u"A:40"_s << true << QStringList {};
        QTest::newRow("losing the window ends the segment once it stays lost")
            << u"A:120 -:120"_s << true << QStringList { u"0-120 A A:100"_s };
        QTest::newRow("a brief loss of the window is a hop")
            << u"A:120 -:20 A:60"_s << true << QStringList { u"0-195 A A:100"_s };
        QTest::newRow("twelve hours are cut and continued")
            << u"A:43800"_s << true << QStringList { u"0-43200 A A:100"_s, u"43200-43795 A A:100"_s };
    }
    void segments()
    {
        QFETCH(QString, script);
        QFETCH(bool, idleSource);
        QFETCH(QStringList, expected);
        QCOMPARE(described(play(script, idleSource)), expected);
    }

    void liveSegmentRunsToTheLastLook()
    {
        Segmenter segmenter;
        const ProbeSample code { ForegroundWindow { u"Code"_s, u"code"_s, u"main.cpp"_s, 7 }, 0 };
        segmenter.observe(t0, code);
        segmenter.observe(t0.addSecs(5), code);
        const std::optional<Segment> live = segmenter.live();
        QVERIFY(live);
        QCOMPARE(live->start, t0);
        QCOMPARE(live->end, t0.addSecs(5));
        QCOMPARE(live->title, u"main.cpp"_s);
    }

    void applicationNames_data()
    {
        QTest::addColumn<QString>("windowClass");
        QTest::addColumn<QString>("process");
        QTest::addColumn<QString>("name");
        QTest::newRow("the ESR browser under the name the review knows")
            << u"firefox-esr"_s << u"firefox-esr"_s << u"Firefox"_s;
        QTest::newRow("the messenger's desktop class") << u"TelegramDesktop"_s << u"telegram-deskto"_s << u"Telegram"_s;
        QTest::newRow("this client by its process, whatever its class")
            << u"VelmarOS"_s << u"velmaros"_s << u"Velmar OS"_s;
        QTest::newRow("another class made readable")
            << u"Gnome-terminal"_s << u"gnome-terminal-"_s << u"Gnome terminal"_s;
    }
    void applicationNames()
    {
        QFETCH(QString, windowClass);
        QFETCH(QString, process);
        QFETCH(QString, name);
        QCOMPARE(applicationName(windowClass, process), name);
    }

    void ledgerForm_data()
    {
        const QTimeZone melbourne("Australia/Melbourne");
        const QDate day(2026, 11, 21);
        QTest::addColumn<Segment>("segment");
        QTest::addColumn<QStringList>("expected"); // date, start, end, activity, note

        QTest::newRow("app and title joined by a middle dot")
            << segmentAt(QDateTime(day, QTime(9, 0), melbourne), QDateTime(day, QTime(9, 30), melbourne), u"Code"_s,
                   u"main.cpp"_s)
            << QStringList { u"2026-11-21"_s, u"09:00"_s, u"09:30"_s, u"Code · main.cpp"_s, u"{\"Code\":100}"_s };
        QTest::newRow("a title that only repeats the app is left out")
            << segmentAt(QDateTime(day, QTime(9, 0), melbourne), QDateTime(day, QTime(9, 30), melbourne), u"Firefox"_s,
                   u"Firefox"_s)
            << QStringList { u"2026-11-21"_s, u"09:00"_s, u"09:30"_s, u"Firefox"_s, u"{\"Firefox\":100}"_s };
        QTest::newRow("offscreen is 离屏, all of it idle")
            << segmentAt(QDateTime(day, QTime(9, 0), melbourne), QDateTime(day, QTime(9, 30), melbourne), {}, {}, true)
            << QStringList { u"2026-11-21"_s, u"09:00"_s, u"09:30"_s, u"离屏"_s, u"{\"空闲\":100}"_s };
        QTest::newRow("ends round to the nearest minute") << segmentAt(QDateTime(day, QTime(9, 0, 29), melbourne),
            QDateTime(day, QTime(9, 5, 30), melbourne), u"Code"_s,
            {}) << QStringList { u"2026-11-21"_s, u"09:00"_s, u"09:06"_s, u"Code"_s, u"{\"Code\":100}"_s };
        QTest::newRow("a start rounding past midnight belongs to the next day") << segmentAt(
            QDateTime(day, QTime(23, 59, 45), melbourne), QDateTime(day.addDays(1), QTime(0, 30), melbourne), u"Code"_s,
            {}) << QStringList { u"2026-11-22"_s, u"00:00"_s, u"00:30"_s, u"Code"_s, u"{\"Code\":100}"_s };
        QTest::newRow("a block across midnight keeps the day it began") << segmentAt(
            QDateTime(day, QTime(23, 50), melbourne), QDateTime(day.addDays(1), QTime(0, 10), melbourne), u"Code"_s,
            {}) << QStringList { u"2026-11-21"_s, u"23:50"_s, u"00:10"_s, u"Code"_s, u"{\"Code\":100}"_s };
        QTest::newRow("clock minutes are Melbourne's whatever the instant's zone")
            << segmentAt(QDateTime(day, QTime(0, 0), Qt::UTC), QDateTime(day, QTime(1, 0), Qt::UTC), u"Code"_s, {})
            << QStringList { u"2026-11-21"_s, u"11:00"_s, u"12:00"_s, u"Code"_s, u"{\"Code\":100}"_s };
        QTest::newRow("a long title is cut to what the ledger holds")
            << segmentAt(QDateTime(day, QTime(9, 0), melbourne), QDateTime(day, QTime(9, 30), melbourne), u"Code"_s,
                   QString(300, u'题'))
            << QStringList { u"2026-11-21"_s, u"09:00"_s, u"09:30"_s, (u"Code · "_s + QString(300, u'题')).left(200),
                   u"{\"Code\":100}"_s };
    }
    void ledgerForm()
    {
        QFETCH(Segment, segment);
        QFETCH(QStringList, expected);
        const wire::TimeManualRequest request = segmentRequest(segment, QTimeZone("Australia/Melbourne"));
        QCOMPARE((QStringList { request.date, request.start_time, request.end_time, request.activity,
                     request.raw_note.value_or(QString()) }),
            expected);
        QCOMPARE(request.source, u"mac-sensor"_s);
        QVERIFY(!request.category_id);
    }
};

QTEST_GUILESS_MAIN(SegmenterTest)
#include "SegmenterTest.moc"

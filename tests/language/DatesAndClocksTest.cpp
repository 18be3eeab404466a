#include "ClockScanner.h"
#include "DateScanner.h"
#include "IntentClassifier.h"
#include "TestContext.h"

#include <QTest>

using namespace language;

namespace {

// Thursday.
const QDate thursday(2026, 5, 14);

QString day(const std::optional<QDate>& date)
{
    return date ? date->toString(Qt::ISODate) : QStringLiteral("-");
}

} // namespace

class DatesAndClocksTest : public QObject {
    Q_OBJECT

private slots:
    void days_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QDate>("today");
        QTest::addColumn<QString>("expected");
        QTest::newRow("today") << "今天午餐" << thursday << "2026-05-14";
        QTest::newRow("yesterday") << "昨天 uber" << thursday << "2026-05-13";
        QTest::newRow("day before yesterday") << "前天" << thursday << "2026-05-12";
        QTest::newRow("three days ago is not two") << "大前天" << thursday << "2026-05-11";
        QTest::newRow("last night") << "昨晚打车" << thursday << "2026-05-13";
        QTest::newRow("last week's friday") << "上周五" << thursday << "2026-05-08";
        QTest::newRow("this week's wednesday") << "这周三" << thursday << "2026-05-13";
        QTest::newRow("this week's saturday lies ahead") << "本周六" << thursday << "2026-05-16";
        QTest::newRow("bare weekday is the latest past one") << "周五 午饭" << thursday << "2026-05-08";
        QTest::newRow("bare weekday of today") << "星期四" << thursday << "2026-05-14";
        QTest::newRow("sunday said as tian") << "上个礼拜天" << thursday << "2026-05-10";
        QTest::newRow("two weeks back") << "上上周五" << thursday << "2026-05-01";
        QTest::newRow("next monday") << "下周一" << thursday << "2026-05-18";
        QTest::newRow("month and day") << "5月3号" << thursday << "2026-05-03";
        QTest::newRow("month and day not yet come is last year's") << "11月3日" << thursday << "2025-11-03";
        QTest::newRow("chinese month and day") << "四月二十八日" << thursday << "2026-04-28";
        QTest::newRow("day of this month") << "3号" << thursday << "2026-05-03";
        QTest::newRow("day not yet come is last month's") << "20号" << thursday << "2026-04-20";
        QTest::newRow("day of last month") << "上个月5号" << QDate(2026, 3, 31) << "2026-02-05";
        QTest::newRow("iso date") << "2026-11-03 机票" << thursday << "2026-11-03";
        QTest::newRow("slashed full date") << "2026/5/2" << thursday << "2026-05-02";
        QTest::newRow("days ago") << "三天前" << thursday << "2026-05-11";
        QTest::newRow("across new year") << "昨天" << QDate(2026, 1, 1) << "2025-12-31";
        QTest::newRow("line number is no date") << "3号线" << thursday << "-";
        QTest::newRow("together is no monday") << "这周一起吃饭" << thursday << "-";
        QTest::newRow("no day") << "午餐 50" << thursday << "-";
        QTest::newRow("english yesterday") << "taxi 23 yesterday" << thursday << "2026-05-13";
        QTest::newRow("english day before yesterday")
            << "petrol 72 the day before yesterday" << thursday << "2026-05-12";
        QTest::newRow("english last weekday is the latest past one")
            << "dinner last Sunday" << thursday << "2026-05-10";
        QTest::newRow("english last weekday of today is a week back") << "last thursday" << thursday << "2026-05-07";
        QTest::newRow("english on weekday") << "groceries on Monday" << thursday << "2026-05-11";
        QTest::newRow("english abbreviated weekday after a lead") << "uber last fri" << thursday << "2026-05-08";
        QTest::newRow("english abbreviated weekday capitalised alone") << "Sat 打车" << thursday << "2026-05-09";
        QTest::newRow("english sun is no sunday before a word") << "sun cream" << thursday << "-";
        QTest::newRow("english day and month") << "bill on 3 May" << thursday << "2026-05-03";
        QTest::newRow("english month and ordinal day") << "Nov 3rd" << thursday << "2025-11-03";
        QTest::newRow("english days ago") << "2 days ago parking" << thursday << "2026-05-12";
        QTest::newRow("english a week ago") << "a week ago" << thursday << "2026-05-07";
        QTest::newRow("english tomorrow") << "pay rent tomorrow" << thursday << "2026-05-15";
        QTest::newRow("yesterday inside a word is no day") << "yesterdays" << thursday << "-";
    }
    void days()
    {
        QFETCH(QString, sentence);
        QFETCH(QDate, today);
        QFETCH(QString, expected);
        MarkedText text(sentence);
        QCOMPARE(day(DateScanner(today).scan(text).day), expected);
    }

    void ranges_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QDate>("from");
        QTest::addColumn<QDate>("to");
        QTest::newRow("this week runs monday to sunday") << "这周" << QDate(2026, 5, 11) << QDate(2026, 5, 17);
        QTest::newRow("last week") << "上个星期" << QDate(2026, 5, 4) << QDate(2026, 5, 10);
        QTest::newRow("this month") << "这个月" << QDate(2026, 5, 1) << QDate(2026, 5, 31);
        QTest::newRow("last month") << "上月" << QDate(2026, 4, 1) << QDate(2026, 4, 30);
        QTest::newRow("this year") << "今年" << QDate(2026, 1, 1) << QDate(2026, 12, 31);
        QTest::newRow("last seven days end today") << "最近7天" << QDate(2026, 5, 8) << QDate(2026, 5, 14);
        QTest::newRow("last week counted back") << "最近一周" << QDate(2026, 5, 8) << QDate(2026, 5, 14);
        QTest::newRow("a past month") << "3月" << QDate(2026, 3, 1) << QDate(2026, 3, 31);
        QTest::newRow("a month not yet come is last year's") << "11月" << QDate(2025, 11, 1) << QDate(2025, 11, 30);
    }
    void ranges()
    {
        QFETCH(QString, sentence);
        QFETCH(QDate, from);
        QFETCH(QDate, to);
        MarkedText text(sentence);
        const auto range = DateScanner(thursday).scan(text).range;
        QVERIFY(range);
        QCOMPARE(range->from, from);
        QCOMPARE(range->to, to);
    }

    // Clock phrases as the time section reads them at 20:15 unless the row says otherwise.
    void clockRanges_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QTime>("now");
        QTest::addColumn<QString>("expected"); // "date start-end minutes"
        QTest::newRow("shared clock word") << "9-11点 上课" << QTime(20, 15) << "2026-05-14 09:00-11:00 120";
        QTest::newRow("quarters") << "九点一刻到十点三刻 复习" << QTime(20, 15) << "2026-05-14 09:15-10:45 90";
        QTest::newRow("periods on both ends")
            << "上午10点到下午2点 搬家" << QTime(20, 15) << "2026-05-14 10:00-14:00 240";
        QTest::newRow("am and pm") << "10am-2pm 搬家" << QTime(20, 15) << "2026-05-14 10:00-14:00 240";
        QTest::newRow("bare end follows the start")
            << "下午2点到4点 健身" << QTime(20, 15) << "2026-05-14 14:00-16:00 120";
        QTest::newRow("crossing midnight")
            << "昨晚 11 点到 1 点 打游戏" << QTime(20, 15) << "2026-05-13 23:00-01:00 120";
        QTest::newRow("a night's sleep") << "昨晚 11 点半到早上 7 点 睡觉" << QTime(9, 0)
                                         << "2026-05-13 23:30-07:00 450";
        QTest::newRow("not begun today means last night")
            << "晚上 11 点到 1 点 打游戏" << QTime(20, 15) << "2026-05-13 23:00-01:00 120";
        QTest::newRow("bare hours take the latest past reading")
            << "7点到7点45 晚饭" << QTime(20, 15) << "2026-05-14 19:00-19:45 45";
        QTest::newRow("bare hours not yet past in the evening")
            << "9点到11点 开会" << QTime(20, 15) << "2026-05-14 09:00-11:00 120";
        QTest::newRow("bare hours in progress") << "9点到11点 开会" << QTime(10, 0) << "2026-05-14 09:00-11:00 120";
        QTest::newRow("another day takes afternoon for small hours")
            << "昨天 3 点到 5 点 健身" << QTime(20, 15) << "2026-05-13 15:00-17:00 120";
        QTest::newRow("noon to one") << "12点到1点 午饭" << QTime(20, 15) << "2026-05-14 12:00-13:00 60";
        QTest::newRow("until now") << "从两点写论文到现在" << QTime(20, 15) << "2026-05-14 14:00-20:15 375";
        QTest::newRow("from and to around the activity")
            << "从 9 点一直工作到 12 点" << QTime(20, 15) << "2026-05-14 09:00-12:00 180";
        QTest::newRow("clock and length") << "9点开始跑步 跑了 40 分钟" << QTime(20, 15) << "2026-05-14 09:00-09:40 40";
        QTest::newRow("length ending now") << "刚才睡了 1 小时" << QTime(20, 15) << "2026-05-14 19:15-20:15 60";
        QTest::newRow("length ending now reaches yesterday")
            << "刚才睡了 1 小时" << QTime(0, 30) << "2026-05-13 23:30-00:30 60";
        QTest::newRow("english from and to") << "from 9 to 5 work" << QTime(20, 15) << "2026-05-14 09:00-17:00 480";
        QTest::newRow("dotted minutes with pm") << "6.30pm-8pm 羽毛球" << QTime(20, 15) << "2026-05-14 18:30-20:00 90";
        QTest::newRow("english day before the clocks")
            << "last Sunday 9am-12pm hiking" << QTime(20, 15) << "2026-05-10 09:00-12:00 180";
    }
    void clockRanges()
    {
        QFETCH(QString, sentence);
        QFETCH(QTime, now);
        QFETCH(QString, expected);
        const TimeParse parse = parseTime(sentence, contextAt(thursday, now));
        QCOMPARE(actionName(parse.action), QStringLiteral("manual"));
        QVERIFY(parse.startTime && parse.endTime && parse.durationMin);
        QCOMPARE(QStringLiteral("%1 %2-%3 %4")
                     .arg(parse.date.toString(Qt::ISODate), parse.startTime->toString(QStringLiteral("HH:mm")),
                         parse.endTime->toString(QStringLiteral("HH:mm")))
                     .arg(*parse.durationMin),
            expected);
    }

    void durations_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<double>("minutes");
        QTest::newRow("hours") << "1 小时" << 60.0;
        QTest::newRow("an hour and a half") << "一个半小时" << 90.0;
        QTest::newRow("half an hour") << "半小时" << 30.0;
        QTest::newRow("half of one hour") << "半个小时" << 30.0;
        QTest::newRow("minutes in Latin") << "45min" << 45.0;
        QTest::newRow("hours and minutes") << "一小时二十分钟" << 80.0;
        QTest::newRow("compact hours and minutes") << "1h30m" << 90.0;
        QTest::newRow("compact without minute unit") << "1h30" << 90.0;
        QTest::newRow("decimal hours") << "1.5h" << 90.0;
        QTest::newRow("more than two hours") << "两个多小时" << 120.0;
        QTest::newRow("a quarter") << "一刻钟" << 15.0;
        QTest::newRow("clock hours") << "两个钟头" << 120.0;
        QTest::newRow("a score is no length") << "考了 85 分" << -1.0;
        QTest::newRow("hours and bare minutes") << "1 小时 20 分" << 80.0;
    }
    void durations()
    {
        QFETCH(QString, sentence);
        QFETCH(double, minutes);
        MarkedText text(sentence);
        QCOMPARE(ClockScanner().scanDuration(text).value_or(-1), minutes);
    }

    void notClocks_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::newRow("a little") << "差一点 迟到";
        QTest::newRow("bubble tea shop") << "一点点奶茶 6";
        QTest::newRow("spoken decimal money") << "三点五块";
        QTest::newRow("shop name with a dash") << "7-11 买水 3";
        QTest::newRow("decimal amount") << "9.95";
        QTest::newRow("dotted number without am or pm") << "6.30 咖啡";
        QTest::newRow("from a price to another") << "from 5 to 8 dollars";
    }
    void notClocks()
    {
        QFETCH(QString, sentence);
        MarkedText text(sentence);
        const ClockFindings found = ClockScanner().scan(text);
        QVERIFY(!found.range);
        QVERIFY(found.points.isEmpty());
    }

    void theDayIsTheHouseholdsNotUtc()
    {
        // 15:30 UTC on the 14th is 01:30 on the 15th in Melbourne.
        Context context = contextAt();
        context.now = QDateTime(QDate(2026, 5, 14), QTime(15, 30), QTimeZone::utc());
        QCOMPARE(parseFinance(u"午餐 50", context).date, QDate(2026, 5, 15));
        context.zone = QTimeZone("Asia/Shanghai");
        QCOMPARE(parseFinance(u"午餐 50", context).date, QDate(2026, 5, 14));
    }
};

QTEST_GUILESS_MAIN(DatesAndClocksTest)
#include "DatesAndClocksTest.moc"

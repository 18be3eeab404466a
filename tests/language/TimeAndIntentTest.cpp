#include "IntentClassifier.h"
#include "TestContext.h"

#include <QTest>

using namespace language;

class TimeAndIntentTest : public QObject {
    Q_OBJECT

private slots:
    void timeActions_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("activity");
        QTest::addColumn<QString>("category");
        QTest::newRow("bare verb gets its usual name") << "我要去睡了"
                                                       << "start"
                                                       << "睡觉"
                                                       << "睡眠";
        QTest::newRow("counts leave the activity") << "看了两集剧 大概一个半小时"
                                                   << "manual"
                                                   << "看剧"
                                                   << "娱乐";
        QTest::newRow("distance leaves the activity") << "跑步 5 公里 30 分钟"
                                                      << "manual"
                                                      << "跑步"
                                                      << "运动";
        QTest::newRow("parking is not stopping") << "停车费 12"
                                                 << "unknown"
                                                 << "停车费 12"
                                                 << "";
        QTest::newRow("a price makes it money") << "停车 3 小时 12 刀"
                                                << "unknown"
                                                << ""
                                                << "";
        QTest::newRow("a place with a price is shopping") << "在超市买了牛奶 5"
                                                          << "unknown"
                                                          << "在超市买牛奶 5"
                                                          << "";
    }
    void timeActions()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, action);
        QFETCH(QString, activity);
        QFETCH(QString, category);
        const TimeParse parse = parseTime(sentence, contextAt());
        QCOMPARE(actionName(parse.action), action);
        if (action != u"unknown") {
            QCOMPARE(parse.activity, activity);
            QCOMPARE(parse.category, category);
            QVERIFY(!parse.problem);
        } else {
            QCOMPARE(parse.problem, std::optional(TimeProblem::noTimeAction));
        }
    }

    void aLengthOnAnotherDayHasNoClocks()
    {
        const TimeParse parse = parseTime(u"昨天跑步 1 小时", contextAt());
        QCOMPARE(parse.action, TimeAction::manual);
        QCOMPARE(parse.durationMin, std::optional(60.0));
        QVERIFY(!parse.startTime && !parse.endTime);
        QCOMPARE(parse.error(), QStringLiteral("缺少开始或结束时间"));
        QCOMPARE(parse.date, QDate(2026, 5, 13));
    }

    void intents_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("kind");
        QTest::newRow("a price beside a length is spending") << "打车 30 分钟 花了 25"
                                                             << "booking";
        QTest::newRow("report without a question word") << "上个月收入"
                                                        << "query";
        QTest::newRow("question about nothing we keep") << "周末去哪玩"
                                                        << "none";
        QTest::newRow("cancelling a subscription is not a delete") << "取消 Netflix 订阅"
                                                                   << "none";
        QTest::newRow("blank") << "   "
                               << "none";
    }
    void intents()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, kind);
        QCOMPARE(intentKindName(understand(sentence, contextAt()).kind), kind);
    }

    void theAgentAndTheRelayReadAlike()
    {
        const Context context = contextAt();
        for (const QString& sentence :
            { u"超市 牛奶 5 面包 3.5"_qs, u"晚上 11 点到 1 点 打游戏"_qs, u"这个月花了多少"_qs }) {
            const Intent intent = understand(sentence, context);
            QCOMPARE(intent.finance, parseFinance(sentence, context));
            QCOMPARE(intent.time, parseTime(sentence, context));
        }
    }

    void queries_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("expected"); // "domain from..to category flow"
        QTest::newRow("a category last week") << "上周吃饭花了多少？"
                                              << "finance 2026-05-04..2026-05-10 餐饮 expense";
        QTest::newRow("income") << "今年收入多少"
                                << "finance 2026-01-01..2026-12-31  income";
        QTest::newRow("money without a period means this month") << "花了多少钱"
                                                                 << "finance 2026-05-01..2026-05-31  expense";
        QTest::newRow("did I exercise") << "这周运动了吗"
                                        << "time 2026-05-11..2026-05-17 运动 all";
    }
    void queries()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, expected);
        const Intent intent = understand(sentence, contextAt());
        QCOMPARE(intent.kind, IntentKind::query);
        QVERIFY(intent.query);
        const Query& q = *intent.query;
        const QString flow = q.flow == MoneyFlow::expense ? u"expense"_qs
            : q.flow == MoneyFlow::income                 ? u"income"_qs
                                                          : u"all"_qs;
        QCOMPARE(QStringLiteral("%1 %2..%3 %4 %5")
                     .arg(q.domain == QueryDomain::finance ? u"finance"_qs : u"time"_qs,
                         q.range.from.toString(Qt::ISODate), q.range.to.toString(Qt::ISODate), q.category, flow),
            expected);
    }

    void edits_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("expected");
        QTest::newRow("kuai is no currency change") << "改成60块"
                                                    << "amount=60";
        QTest::newRow("category by keyword") << "类别改成打车"
                                             << "category=交通";
        QTest::newRow("the last verb carries the value") << "错了 应该是昨天"
                                                         << "date=2026-05-13";
        QTest::newRow("description") << "备注改成 生日聚餐"
                                     << "description=生日聚餐";
        QTest::newRow("clock range") << "时间改成 9 点到 10 点"
                                     << "start=09:00 end=10:00";
        QTest::newRow("nothing to change") << "改一下"
                                           << "";
    }
    void edits()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, expected);
        const Intent intent = understand(sentence, contextAt());
        QCOMPARE(intent.kind, IntentKind::editLast);
        const Edit e = intent.edit.value_or(Edit {});
        QStringList got;
        if (e.amount)
            got.append(QStringLiteral("amount=%1").arg(*e.amount));
        if (!e.currency.isEmpty())
            got.append(u"currency="_qs + e.currency);
        if (!e.category.isEmpty())
            got.append(u"category="_qs + e.category);
        if (e.date)
            got.append(u"date="_qs + e.date->toString(Qt::ISODate));
        if (!e.spender.isEmpty())
            got.append(u"spender="_qs + e.spender);
        if (!e.description.isEmpty())
            got.append(u"description="_qs + e.description);
        if (e.startTime)
            got.append(u"start="_qs + e.startTime->toString(u"HH:mm"_qs));
        if (e.endTime)
            got.append(u"end="_qs + e.endTime->toString(u"HH:mm"_qs));
        QCOMPARE(got.join(u' '), expected);
        QCOMPARE(e.isEmpty(), expected.isEmpty());
    }

    void deleteTargets_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<int>("target");
        QTest::newRow("a booking") << "删掉刚才那笔" << int(RecordDomain::finance);
        QTest::newRow("a time record") << "删除刚才的时间记录" << int(RecordDomain::time);
        QTest::newRow("whatever was last") << "撤销" << int(RecordDomain::any);
    }
    void deleteTargets()
    {
        QFETCH(QString, sentence);
        QFETCH(int, target);
        const Intent intent = understand(sentence, contextAt());
        QCOMPARE(intent.kind, IntentKind::deleteLast);
        QCOMPARE(int(intent.target), target);
    }
};

QTEST_GUILESS_MAIN(TimeAndIntentTest)
#include "TimeAndIntentTest.moc"

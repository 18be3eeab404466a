#include "ServerHttp.h"
#include "TestServer.h"

#include "time/TimeDomainModels.h"

#include <QTest>
#include <QTimeZone>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QTimeZone kMelbourne("Australia/Melbourne");

QDateTime melbourne(QDate day, QTime time)
{
    return QDateTime(day, time, kMelbourne);
}

QJsonObject manual(const QString& date, const QString& start, const QString& end, const QString& activity)
{
    return { { u"date"_s, date }, { u"start_time"_s, start }, { u"end_time"_s, end }, { u"activity"_s, activity },
        { u"source"_s, u"app"_s } };
}

QJsonObject captured(const QString& start, const QString& end, const QString& activity)
{
    QJsonObject body = manual(u"2026-11-21"_s, start, end, activity);
    body.insert(u"source"_s, u"mac-sensor"_s);
    return body;
}

} // namespace

class TimeLedgerTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<TestServer>();
        m_owner = m_server->createUser(u"velmar"_s, u"pw"_s, u"Velmar"_s);
        m_member = m_server->createUser(u"sefa"_s, u"pw"_s, u"Sefa"_s);
        m_server->createUser(u"kit"_s, u"pw"_s, u"Kit"_s);
        m_server->bind(m_owner, m_member);
        m_http = std::make_unique<ServerHttp>(*m_server);
        m_token = m_server->issueToken(u"velmar"_s);
    }
    void cleanup()
    {
        m_http.reset();
        m_server.reset();
    }

    // The chat and the capture client send these ids, so a new household must get exactly them.
    void newHouseholdHasTheWiredCategories()
    {
        m_server->createUser(u"newcomer"_s, u"pw"_s);
        const auto categories = decoded<std::vector<wire::TimeCategory>>(
            m_http->get("/time/categories", m_server->issueToken(u"newcomer"_s)));
        QStringList seen;
        for (const auto& category : categories) {
            seen.append(u"%1 %2 %3"_s.arg(category.id).arg(category.name, category.value_dim.value_or(QString())));
            QVERIFY(category.color.value_or(QString()).startsWith(u'#'));
        }
        seen.sort();
        QCOMPARE(seen.join(u", "_s),
            u"1 工作 推进, 12 做饭 维持, 13 洗漱 维持, 2 学习 推进, 29 杂务 应付, 3 吃饭 维持, 4 家务 维持, 6 睡眠 "
            u"睡眠, "
            "7 娱乐 消遣, 8 运动 维持, 9 通勤 应付"_s);
    }

    void categoriesAreHouseholdWide()
    {
        const QString member = m_server->issueToken(u"sefa"_s);
        const QString outsider = m_server->issueToken(u"kit"_s);
        QJsonObject music { { u"name"_s, u"音乐"_s }, { u"color"_s, u""_s }, { u"keywords"_s, u"吉他, 练琴"_s },
            { u"sort_order"_s, 100 } };
        const auto created
            = decoded<wire::TimeCategoryCreateResponse>(m_http->post("/time/categories", music, m_token));
        QVERIFY(created.id.value_or(0) > 29);
        QCOMPARE(created.revived.value_or(true), false);
        QVERIFY(hasCategory(member, u"音乐"_s));
        QVERIFY(!hasCategory(outsider, u"音乐"_s));

        QCOMPARE(m_http->post("/time/categories", music, member).status, 409);
        const std::string path = "/time/categories/" + std::to_string(*created.id);
        QCOMPARE(m_http->patch(path, QJsonObject { { u"name"_s, u"睡眠"_s } }, member).status, 409);
        QCOMPARE(m_http->patch(path, QJsonObject { { u"color"_s, u"red"_s } }, member).status, 422);
        QCOMPARE(m_http->patch(path, QJsonObject { { u"color"_s, u"#112233"_s } }, outsider).status, 404);
        QCOMPARE(m_http->del(path, outsider).status, 404);

        // The household's keyword for it now places a start said in those words.
        const Reply started = m_http->post(
            "/time/start", QJsonObject { { u"activity"_s, u"吉他练习"_s }, { u"source"_s, u"app"_s } }, m_token);
        QCOMPARE(started.status, 200);
        QCOMPARE(started.object().value(u"current"_s).toObject().value(u"category_id"_s).toInt(), *created.id);

        QCOMPARE(m_http->del(path, member).status, 200);
        QVERIFY(!hasCategory(m_token, u"音乐"_s));
        const auto revived
            = decoded<wire::TimeCategoryCreateResponse>(m_http->post("/time/categories", music, m_token));
        QCOMPARE(revived.id, created.id);
        QCOMPARE(revived.revived, std::optional<bool>(true));
    }

    void durationsAreTheServers_data()
    {
        QTest::addColumn<QString>("start");
        QTest::addColumn<QString>("end");
        QTest::addColumn<QString>("storedStart");
        QTest::addColumn<double>("minutes");
        QTest::newRow("morning block") << u"09:00"_s << u"11:00"_s << u"09:00"_s << 120.0;
        QTest::newRow("crosses midnight") << u"23:00"_s << u"01:00"_s << u"23:00"_s << 120.0;
        QTest::newRow("ends at midnight") << u"22:30"_s << u"00:00"_s << u"22:30"_s << 90.0;
        QTest::newRow("end equal to start is a whole day") << u"08:00"_s << u"08:00"_s << u"08:00"_s << 1440.0;
        QTest::newRow("short clock written out") << u"9:5"_s << u"10:00"_s << u"09:05"_s << 55.0;
    }
    void durationsAreTheServers()
    {
        QFETCH(QString, start);
        QFETCH(QString, end);
        QFETCH(QString, storedStart);
        QFETCH(double, minutes);
        QJsonObject body = manual(u"2026-11-20"_s, start, end, u"coding"_s);
        body.insert(u"duration_min"_s, 5); // not the client's to say
        const Reply reply = m_http->post("/time/manual", body, m_token);
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.object().value(u"duration_min"_s).toDouble(), minutes);
        const auto entry = onlyEntry(u"2026-11-20"_s);
        QCOMPARE(entry.start_time, storedStart);
        QCOMPARE(entry.duration_min, std::optional<double>(minutes));
        QCOMPARE(entry.confirmed, 1);
        QCOMPARE(entry.category_id, std::optional<int>(1)); // "coding" is work in the household's words
    }

    void badEntriesAreRefused_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("detailPart");
        QTest::newRow("hour 24") << u"start_time"_s << QJsonValue(u"24:00"_s) << u"HH:mm"_s;
        QTest::newRow("month 13") << u"date"_s << QJsonValue(u"2026-13-01"_s) << u"yyyy-MM-dd"_s;
        QTest::newRow("blank activity") << u"activity"_s << QJsonValue(u"  "_s) << u"活动名称"_s;
        QTest::newRow("unknown category") << u"category_id"_s << QJsonValue(99) << u"99"_s;
        // The NUL that once reached a stored activity, refused at the door with its field named.
        QTest::newRow("NUL in activity") << u"activity"_s << QJsonValue(QString(u"cod\0ing"_s))
                                         << u"activity 含有不允许的控制字符"_s;
    }
    void badEntriesAreRefused()
    {
        QFETCH(QString, field);
        QFETCH(QJsonValue, value);
        QFETCH(QString, detailPart);
        QJsonObject body = manual(u"2026-11-20"_s, u"09:00"_s, u"10:00"_s, u"coding"_s);
        body.insert(field, value);
        const Reply reply = m_http->post("/time/manual", body, m_token);
        QCOMPARE(reply.status, 422);
        QVERIFY2(reply.detail().contains(detailPart), qPrintable(reply.detail()));
        QCOMPARE(list("/time/list?limit=10").size(), size_t(0));
    }

    void patchRecomputesAndStaysWithItsOwner()
    {
        m_http->post("/time/manual", manual(u"2026-11-20"_s, u"09:00"_s, u"10:00"_s, u"阅读"_s), m_token);
        const auto entry = onlyEntry(u"2026-11-20"_s);
        const std::string path = "/time/" + std::to_string(entry.id);

        // Another user, even of the same household, does not see the entry.
        const QString member = m_server->issueToken(u"sefa"_s);
        QCOMPARE(m_http->patch(path, QJsonObject { { u"activity"_s, u"x"_s } }, member).status, 404);
        QCOMPARE(m_http->del(path, member).status, 404);
        QCOMPARE(m_http->post(path + "/delete", "{}", member).status, 404);

        const Reply patched
            = m_http->patch(path, QJsonObject { { u"end_time"_s, u"08:30"_s }, { u"category_id"_s, 2 } }, m_token);
        QCOMPARE(patched.status, 200);
        QCOMPARE(patched.object().value(u"ok"_s).toBool(), true);
        const auto updated = onlyEntry(u"2026-11-20"_s);
        QCOMPARE(updated.end_time, std::optional<QString>(u"08:30"_s));
        QCOMPARE(updated.duration_min, std::optional<double>(23 * 60 + 30.0));
        QCOMPARE(updated.category_id, std::optional<int>(2));
        QCOMPARE(updated.activity, u"阅读"_s);

        QCOMPARE(m_http->patch(path, QJsonObject { { u"category_id"_s, 77 } }, m_token).status, 422);
        QCOMPARE(m_http->post(path + "/delete", "{}", m_token).status, 200);
        QCOMPARE(m_http->del(path, m_token).status, 404);
    }

    void runningActivity()
    {
        QCOMPARE(current().active, false);
        const Reply idle = m_http->post("/time/stop", "{}", m_token);
        QCOMPARE(idle.status, 400);
        QCOMPARE(idle.detail(), u"当前没有进行中的活动"_s);

        m_server->clock().set(melbourne(QDate(2026, 11, 20), QTime(23, 30)));
        QCOMPARE(start(u"写论文"_s).status, 200);
        const wire::TimeCurrent running = current();
        QCOMPARE(running.active, true);
        QCOMPARE(running.activity, std::optional<QString>(u"写论文"_s));
        QCOMPARE(running.category_id, std::optional<int>(2));
        QCOMPARE(running.start_time, std::optional<QString>(u"2026-11-20T12:30:00Z"_s));

        // Starting another stops this one where the new one begins; the block crosses midnight.
        m_server->clock().set(melbourne(QDate(2026, 11, 21), QTime(0, 45)));
        const Reply switched = start(u"刷视频"_s);
        QCOMPARE(switched.status, 200);
        QCOMPARE(switched.object().value(u"stopped"_s).toObject().value(u"duration_min"_s).toDouble(), 75.0);
        const auto thesis = onlyEntry(u"2026-11-20"_s);
        QCOMPARE(thesis.start_time, u"23:30"_s);
        QCOMPARE(thesis.end_time, std::optional<QString>(u"00:45"_s));
        QCOMPARE(thesis.source, u"app"_s);
        QCOMPARE(current().activity, std::optional<QString>(u"刷视频"_s));

        m_server->clock().advance(20);
        const Reply stopped = m_http->post("/time/stop", QJsonObject { { u"note"_s, u"该睡了"_s } }, m_token);
        QCOMPARE(stopped.status, 200);
        // Stopped within the minute it began: one minute, not a day.
        QCOMPARE(stopped.object().value(u"duration_min"_s).toDouble(), 1.0);
        QCOMPARE(current().active, false);
        QCOMPARE(onlyEntry(u"2026-11-21"_s).raw_note, std::optional<QString>(u"该睡了"_s));
        QCOMPARE(m_http->post("/time/stop", "", m_token).status, 400);
    }

    void aTimerLeftOnIsCutAtMidnights()
    {
        m_server->clock().set(melbourne(QDate(2026, 11, 18), QTime(22, 0)));
        start(u"测试"_s);
        m_server->clock().set(melbourne(QDate(2026, 11, 20), QTime(1, 30)));
        const Reply stopped = m_http->post("/time/stop", "{}", m_token);
        QCOMPARE(stopped.status, 200);
        QCOMPARE(stopped.object().value(u"duration_min"_s).toDouble(), 120.0 + 1440.0 + 90.0);
        const auto entries = list("/time/list?limit=10");
        QCOMPARE(entries.size(), size_t(3));
        QCOMPARE(entries[0].date, u"2026-11-20"_s);
        QCOMPARE(entries[0].duration_min, std::optional<double>(90.0));
        QCOMPARE(entries[1].duration_min, std::optional<double>(1440.0));
        QCOMPARE(entries[2].date, u"2026-11-18"_s);
        QCOMPARE(entries[2].end_time, std::optional<QString>(u"00:00"_s));
    }

    void startRefusals_data()
    {
        QTest::addColumn<QJsonObject>("body");
        QTest::addColumn<int>("status");
        QTest::newRow("no activity") << QJsonObject { { u"activity"_s, u" "_s }, { u"source"_s, u"app"_s } } << 422;
        QTest::newRow("unknown category name") << QJsonObject { { u"activity"_s, u"x"_s }, { u"category"_s, u"冥想"_s },
            { u"source"_s, u"app"_s } } << 422;
        QTest::newRow("in the future") << QJsonObject { { u"activity"_s, u"x"_s },
            { u"start_time"_s, u"2026-11-21T10:30:00Z"_s }, { u"source"_s, u"app"_s } }
                                       << 422;
    }
    void startRefusals()
    {
        QFETCH(QJsonObject, body);
        QFETCH(int, status);
        QCOMPARE(m_http->post("/time/start", body, m_token).status, status);
        QCOMPARE(current().active, false);
    }

    void listFiltersAndOrder()
    {
        m_http->post("/time/manual", manual(u"2026-11-19"_s, u"09:00"_s, u"10:00"_s, u"a"_s), m_token);
        m_http->post("/time/manual", manual(u"2026-11-20"_s, u"14:00"_s, u"15:00"_s, u"b"_s), m_token);
        m_http->post("/time/manual", manual(u"2026-11-20"_s, u"08:00"_s, u"09:00"_s, u"c"_s), m_token);
        m_http->post("/time/manual", captured(u"10:00"_s, u"10:20"_s, u"Safari · 新闻"_s), m_token);

        QCOMPARE(activities(list("/time/list?limit=10")), (QStringList { u"Safari · 新闻"_s, u"b"_s, u"c"_s, u"a"_s }));
        QCOMPARE(activities(list("/time/list?limit=2&confirmed=1")), (QStringList { u"b"_s, u"c"_s }));
        QCOMPARE(activities(list("/time/list?limit=200&confirmed=0")), QStringList { u"Safari · 新闻"_s });
        QCOMPARE(activities(list("/time/list?limit=10&date=2026-11-19")), QStringList { u"a"_s });
        QCOMPARE(m_http->get("/time/list?limit=0", m_token).status, 422);
        QCOMPARE(m_http->get("/time/list?limit=ten", m_token).status, 422);
        QCOMPARE(m_http->get("/time/list?limit=5&confirmed=2", m_token).status, 422);
        QCOMPARE(m_http->get("/time/list?limit=5&date=yesterday", m_token).status, 422);
        QCOMPARE(list("/time/list?limit=10", m_server->issueToken(u"sefa"_s)).size(), size_t(0));
    }

    void summaryCountsConfirmedTimeByDay()
    {
        m_http->post("/time/manual", manual(u"2026-11-19"_s, u"09:00"_s, u"11:00"_s, u"coding"_s), m_token);
        m_http->post("/time/manual", manual(u"2026-11-20"_s, u"23:00"_s, u"07:00"_s, u"睡觉"_s), m_token);
        m_http->post("/time/manual", manual(u"2026-11-20"_s, u"13:00"_s, u"13:30"_s, u"coding"_s), m_token);
        m_http->post("/time/manual", captured(u"10:00"_s, u"12:00"_s, u"Code"_s), m_token);
        m_http->post("/time/manual", manual(u"2026-11-22"_s, u"09:00"_s, u"10:00"_s, u"later"_s), m_token);

        const auto summary
            = decoded<wire::TimeSummary>(m_http->get("/time/summary?from=2026-11-19&to=2026-11-21", m_token));
        QCOMPARE(summary.entry_count, 3);
        QCOMPARE(summary.total_min, 120.0 + 480.0 + 30.0);
        QCOMPARE(summary.days.size(), size_t(2));
        QCOMPARE(summary.days[1].date, u"2026-11-20"_s);
        QCOMPARE(summary.days[1].total_min, 510.0);
        QCOMPARE(summary.category_totals.front().category_id, std::optional<int>(6));
        QCOMPARE(summary.category_totals.front().minutes, 480.0);

        QCOMPARE(m_http->get("/time/summary?from=2026-11-21&to=2026-11-19", m_token).status, 422);
        QCOMPARE(m_http->get("/time/summary?from=2025-01-01&to=2026-11-19", m_token).status, 422);
        QCOMPARE(m_http->get("/time/summary?from=2026-11-21", m_token).status, 422);
    }

    void confirmingCapturesLearnsTheApplication()
    {
        const int first = addCaptured(u"09:00"_s, u"09:40"_s, u"Code · TimeLedger.cpp"_s);
        const int second = addCaptured(u"10:00"_s, u"10:30"_s, u"Code · Pending.cpp"_s);
        const int waiting = addCaptured(u"11:00"_s, u"11:10"_s, u"Code"_s);
        const int otherApp = addCaptured(u"11:10"_s, u"11:20"_s, u"Safari · 新闻"_s);
        const int away = addCaptured(u"12:00"_s, u"12:10"_s, u"离屏"_s);
        const int awayAgain = addCaptured(u"12:20"_s, u"12:30"_s, u"离屏"_s);
        QCOMPARE(entryById(first).confirmed, 0);
        QCOMPARE(entryById(first).category_id, std::nullopt);

        QCOMPARE(confirm(first, 1), std::optional<bool>(false));
        QCOMPARE(confirm(second, 1), std::optional<bool>(true));
        // What waits of that application now carries the category as its suggestion; others do not.
        QCOMPARE(entryById(waiting).category_id, std::optional<int>(1));
        QCOMPARE(entryById(waiting).confirmed, 0);
        QCOMPARE(entryById(otherApp).category_id, std::nullopt);
        const int later = addCaptured(u"13:00"_s, u"13:45"_s, u"code · Agent.cpp"_s);
        QCOMPARE(entryById(later).category_id, std::optional<int>(1));
        // Learnt once: a third confirmation teaches nothing new.
        QCOMPARE(confirm(waiting, 1), std::optional<bool>(false));

        // Time away from the screen names no application.
        QCOMPARE(confirm(away, 6), std::optional<bool>(false));
        QCOMPARE(confirm(awayAgain, 6), std::optional<bool>(false));
        QCOMPARE(entryById(addCaptured(u"14:00"_s, u"14:05"_s, u"离屏"_s)).category_id, std::nullopt);

        // Habits are the user's own.
        const QString member = m_server->issueToken(u"sefa"_s);
        const Reply theirs = m_http->post("/time/manual", captured(u"09:00"_s, u"10:00"_s, u"Code"_s), member);
        QCOMPARE(list("/time/list?limit=5", member).front().category_id, std::nullopt);
        QCOMPARE(theirs.status, 200);
    }

private:
    template<class T> T decoded(const Reply& reply)
    {
        if (reply.status != 200)
            qWarning() << reply.status << QString::fromStdString(reply.body);
        return wire::fromBytes<T>(QByteArray::fromStdString(reply.body));
    }

    std::vector<wire::TimeEntry> list(const std::string& path, const QString& token = {})
    {
        return decoded<std::vector<wire::TimeEntry>>(m_http->get(path, token.isEmpty() ? m_token : token));
    }

    wire::TimeEntry onlyEntry(const QString& date)
    {
        const auto entries = list("/time/list?limit=10&date=" + date.toStdString());
        if (entries.size() != 1)
            qWarning() << "expected one entry on" << date << "got" << entries.size();
        return entries.empty() ? wire::TimeEntry {} : entries.front();
    }

    wire::TimeEntry entryById(int id)
    {
        for (const auto& entry : list("/time/list?limit=100")) {
            if (entry.id == id)
                return entry;
        }
        return {};
    }

    int addCaptured(const QString& start, const QString& end, const QString& activity)
    {
        return m_http->post("/time/manual", captured(start, end, activity), m_token).object().value(u"id"_s).toInt();
    }

    std::optional<bool> confirm(int id, int category)
    {
        const Reply reply = m_http->patch("/time/" + std::to_string(id),
            QJsonObject { { u"category_id"_s, category }, { u"confirmed"_s, 1 } }, m_token);
        return decoded<wire::TimeConfirmResponse>(reply).habit_learned;
    }

    Reply start(const QString& activity)
    {
        return m_http->post(
            "/time/start", QJsonObject { { u"activity"_s, activity }, { u"source"_s, u"app"_s } }, m_token);
    }

    wire::TimeCurrent current() { return decoded<wire::TimeCurrent>(m_http->get("/time/current", m_token)); }

    bool hasCategory(const QString& token, const QString& name)
    {
        const auto categories = decoded<std::vector<wire::TimeCategory>>(m_http->get("/time/categories", token));
        return std::any_of(categories.begin(), categories.end(), [&](const auto& c) { return c.name == name; });
    }

    static QStringList activities(const std::vector<wire::TimeEntry>& entries)
    {
        QStringList out;
        for (const auto& entry : entries)
            out.append(entry.activity);
        return out;
    }

    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerHttp> m_http;
    QString m_token;
    int m_owner = 0;
    int m_member = 0;
};

QTEST_GUILESS_MAIN(TimeLedgerTest)
#include "TimeLedgerTest.moc"

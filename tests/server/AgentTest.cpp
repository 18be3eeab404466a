#include "AgentStream.h"
#include "ServerHttp.h"
#include "TestServer.h"

#include <QTest>
#include <QTimeZone>

#include <memory>

using namespace Qt::StringLiterals;

using Event = StreamEvent;
using Turn = StreamedTurn;

class AgentTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<TestServer>(TestServer::Options { 8, true, 5 });
        // Saturday 21 November 2026, 20:30 in Melbourne.
        m_server->clock().set(QDateTime(QDate(2026, 11, 21), QTime(20, 30), QTimeZone("Australia/Melbourne")));
        m_owner = m_server->createUser(u"velmar"_s, u"pw"_s, u"Velmar"_s);
        m_server->bind(m_owner, m_server->createUser(u"sefa"_s, u"pw"_s, u"Sefa"_s));
        m_http = std::make_unique<ServerHttp>(*m_server);
        m_token = m_server->issueToken(u"velmar"_s);
    }
    void cleanup()
    {
        m_http.reset();
        m_server.reset();
    }

    void aTurnIsFramedAsTheClientReadsIt()
    {
        // A model nobody registered falls back to the built-in agent.
        const Turn turn = chat(u"今天午餐 50"_s, m_token, {}, u"claude-opus-4-8"_s);
        QCOMPARE(turn.status, 200);
        QVERIFY(turn.done);
        QCOMPARE(turn.events.front().name, u"session"_s);
        QCOMPARE(turn.events.front().data.value(u"model"_s).toString(), u"builtin"_s);
        QVERIFY(!turn.events.front().data.value(u"session_id"_s).toString().isEmpty());
        QCOMPARE(turn.events.back().name, u"result"_s);
        QCOMPARE(turn.events.back().data.value(u"iterations"_s).toInt(), int(turn.named(u"tool_call_start"_s).size()));
        // Every step of the trail is closed by its result, in order.
        QStringList open;
        for (const Event& e : turn.events) {
            if (e.name == u"tool_call_start"_s)
                open.append(e.data.value(u"tool_use_id"_s).toString());
            if (e.name == u"tool_result"_s) {
                QCOMPARE(e.data.value(u"tool_use_id"_s).toString(), open.takeLast());
                QVERIFY(e.data.contains(u"ok"_s));
            }
        }
        QVERIFY(open.isEmpty());
        // The reply comes in a few pieces, ahead of the card it explains.
        QVERIFY(turn.named(u"text_delta"_s).size() > 1);
        QVERIFY(turn.names().lastIndexOf(u"text_delta"_s) < turn.names().indexOf(u"pending_card"_s));
    }

    void bookingsBecomeProposals_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<double>("amount");
        QTest::addColumn<QString>("category");
        QTest::addColumn<QString>("date");
        QTest::addColumn<int>("items");
        QTest::newRow("lunch today") << u"今天午餐 50"_s << 50.0 << u"餐饮"_s << u"2026-11-21"_s << 0;
        QTest::newRow("ride yesterday") << u"昨天 uber 23.5"_s << 23.5 << u"交通"_s << u"2026-11-20"_s << 0;
        QTest::newRow("groceries with items") << u"超市 牛奶 5 面包 3.5"_s << 8.5 << u"买菜"_s << u"2026-11-21"_s << 2;
    }
    void bookingsBecomeProposals()
    {
        QFETCH(QString, sentence);
        QFETCH(double, amount);
        QFETCH(QString, category);
        QFETCH(QString, date);
        QFETCH(int, items);
        const Turn turn = chat(sentence);
        const QJsonObject card = turn.only(u"pending_card"_s);
        QCOMPARE(card.value(u"domain"_s).toString(), u"finance"_s);
        QCOMPARE(card.value(u"source_text"_s).toString(), sentence);
        const QJsonObject payload = card.value(u"payload"_s).toObject();
        QCOMPARE(payload.value(u"amount"_s).toDouble(), amount);
        QCOMPARE(payload.value(u"currency"_s).toString(), u"AUD"_s);
        QCOMPARE(payload.value(u"category"_s).toString(), category);
        QCOMPARE(payload.value(u"date"_s).toString(), date);
        QCOMPARE(payload.value(u"spender"_s).toString(), u"Velmar"_s);
        QCOMPARE(payload.value(u"direction"_s).toString(), u"expense"_s);
        QCOMPARE(payload.value(u"_kind"_s).toString(), u"create"_s);
        QCOMPARE(payload.value(u"items"_s).toArray().size(), items);
        QVERIFY2(turn.text().contains(u"确认后入账"_s), qPrintable(turn.text()));

        // A proposal, never a booking: the ledger is untouched until the user confirms.
        QCOMPARE(ledger().size(), size_t(0));
        const QString id = card.value(u"pending_id"_s).toString();
        const Reply item = m_http->get("/pending/" + id.toStdString(), m_token);
        QCOMPARE(item.object().value(u"status"_s).toString(), u"pending"_s);
        QCOMPARE(m_http->post("/pending/" + id.toStdString() + "/commit", "", m_token).status, 200);
        QCOMPARE(ledger().front().amount, amount);
    }

    void timeBlocksBecomeProposals_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<QString>("start");
        QTest::addColumn<QString>("end");
        QTest::addColumn<double>("minutes");
        QTest::addColumn<int>("category");
        QTest::newRow("morning coding") << u"上午 9 点到 11 点 coding"_s << u"09:00"_s << u"11:00"_s << 120.0 << 1;
        QTest::newRow("a nap just now") << u"刚才睡了 1 小时"_s << u"19:30"_s << u"20:30"_s << 60.0 << 6;
        QTest::newRow("late gaming past midnight")
            << u"晚上 11 点到 1 点 打游戏"_s << u"23:00"_s << u"01:00"_s << 120.0 << 7;
    }
    void timeBlocksBecomeProposals()
    {
        QFETCH(QString, sentence);
        QFETCH(QString, start);
        QFETCH(QString, end);
        QFETCH(double, minutes);
        QFETCH(int, category);
        const QJsonObject card = chat(sentence).only(u"pending_card"_s);
        QCOMPARE(card.value(u"domain"_s).toString(), u"time"_s);
        const QJsonObject payload = card.value(u"payload"_s).toObject();
        QCOMPARE(payload.value(u"start_time"_s).toString(), start);
        QCOMPARE(payload.value(u"end_time"_s).toString(), end);
        QCOMPARE(payload.value(u"duration_min"_s).toDouble(), minutes);
        QCOMPARE(payload.value(u"category_id"_s).toInt(), category);
        QCOMPARE(payload.value(u"source"_s).toString(), u"velmar-os-chat"_s);
        QVERIFY(!payload.value(u"activity"_s).toString().isEmpty());
        QCOMPARE(m_http->get("/time/list?limit=5", m_token).array().size(), 0);
    }

    void aBlockWithoutClocksAsksForThem()
    {
        const Turn turn = chat(u"昨天跑步 1 小时"_s);
        QVERIFY(turn.named(u"pending_card"_s).empty());
        QVERIFY2(turn.text().contains(u"几点到几点"_s), qPrintable(turn.text()));
        QCOMPARE(turn.events.back().name, u"result"_s);
    }

    void startsAndStopsTheRunningActivity()
    {
        const Turn started = chat(u"开始 coding"_s);
        const QJsonObject effect = started.only(u"time_effect"_s);
        QCOMPARE(effect.value(u"kind"_s).toString(), u"started"_s);
        QCOMPARE(effect.value(u"activity"_s).toString(), u"coding"_s);
        QCOMPARE(effect.value(u"timestamp"_s).toString(), u"2026-11-21T09:30:00Z"_s);
        QCOMPARE(current().value(u"activity"_s).toString(), u"coding"_s);
        QCOMPARE(current().value(u"category_id"_s).toInt(), 1);

        m_server->clock().advance(45 * 60);
        const Turn switched = chat(u"在写论文"_s);
        const auto effects = switched.named(u"time_effect"_s);
        QCOMPARE(effects.size(), size_t(2));
        QCOMPARE(effects[0].data.value(u"kind"_s).toString(), u"stopped"_s);
        QCOMPARE(effects[0].data.value(u"activity"_s).toString(), u"coding"_s);
        QCOMPARE(effects[1].data.value(u"activity"_s).toString(), u"写论文"_s);
        QCOMPARE(current().value(u"category_id"_s).toInt(), 2);

        m_server->clock().advance(30 * 60);
        const QJsonObject stopped = chat(u"结束"_s).only(u"time_effect"_s);
        QCOMPARE(stopped.value(u"kind"_s).toString(), u"stopped"_s);
        QCOMPARE(stopped.value(u"activity"_s).toString(), u"写论文"_s);
        QCOMPARE(current().value(u"active"_s).toBool(), false);
        const QJsonArray entries = m_http->get("/time/list?limit=5", m_token).array();
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries[0].toObject().value(u"duration_min"_s).toDouble(), 30.0);
        QCOMPARE(entries[1].toObject().value(u"duration_min"_s).toDouble(), 45.0);

        const Turn idle = chat(u"结束"_s);
        QVERIFY(idle.named(u"time_effect"_s).empty());
        QCOMPARE(idle.text(), u"现在没有正在记录的活动。"_s);
        QCOMPARE(idle.named(u"tool_result"_s).back().data.value(u"ok"_s).toBool(), false);
    }

    void questionsAreAnsweredFromTheLedgers()
    {
        commit(chat(u"今天午餐 50"_s));
        commit(chat(u"昨天 uber 23.5"_s));
        commit(chat(u"今天晚饭 30"_s));
        // Last month's line and another household's line stay out of the answer.
        commit(chat(u"10月3日 午餐 99"_s));
        m_server->createUser(u"kit"_s, u"pw"_s);
        const QString kit = m_server->issueToken(u"kit"_s);
        m_http->post("/pending/"
                + chat(u"今天午餐 70"_s, kit).only(u"pending_card"_s).value(u"pending_id"_s).toString().toStdString()
                + "/commit",
            "", kit);

        const Turn spending = chat(u"这个月花了多少"_s, m_server->issueToken(u"sefa"_s));
        const QJsonObject result = spending.only(u"query_result"_s);
        QCOMPARE(result.value(u"domain"_s).toString(), u"finance"_s);
        QCOMPARE(result.value(u"title"_s).toString(), u"本月支出"_s);
        QVERIFY2(result.value(u"summary"_s).toString().contains(u"A$103.50"_s),
            qPrintable(result.value(u"summary"_s).toString()));
        const QJsonArray rows = result.value(u"rows"_s).toArray();
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows[0].toObject().value(u"分类"_s).toString(), u"餐饮"_s);
        QCOMPARE(rows[0].toObject().value(u"金额"_s).toString(), u"A$80.00"_s);
        QVERIFY(spending.text().contains(u"A$103.50"_s));

        m_http->post("/time/manual",
            QJsonObject { { u"date"_s, u"2026-11-21"_s }, { u"start_time"_s, u"09:00"_s },
                { u"end_time"_s, u"11:00"_s }, { u"activity"_s, u"coding"_s }, { u"source"_s, u"app"_s } },
            m_token);
        m_http->post("/time/manual",
            QJsonObject { { u"date"_s, u"2026-11-21"_s }, { u"start_time"_s, u"12:00"_s },
                { u"end_time"_s, u"12:40"_s }, { u"activity"_s, u"Safari"_s }, { u"source"_s, u"mac-sensor"_s } },
            m_token);
        const QJsonObject today = chat(u"今天做了什么"_s).only(u"query_result"_s);
        QCOMPARE(today.value(u"domain"_s).toString(), u"time"_s);
        QCOMPARE(today.value(u"id_hint"_s).toString(), u"id"_s);
        const QJsonArray done = today.value(u"rows"_s).toArray();
        QCOMPARE(done.size(), 1);
        QCOMPARE(done[0].toObject().value(u"活动"_s).toString(), u"coding"_s);
        QCOMPARE(done[0].toObject().value(u"时长"_s).toString(), u"2h"_s);
        QVERIFY(today.value(u"summary"_s).toString().contains(u"1 段自动记录待确认"_s));
    }

    // A booked line is deleted only when the user confirms the proposal.
    void deletesAreProposedForTheLastThing()
    {
        const Turn booked = chat(u"今天午餐 50"_s);
        const QString session = booked.events.front().data.value(u"session_id"_s).toString();
        commit(booked);
        m_server->clock().advance(5);
        const QJsonObject proposal = chat(u"删掉刚才那笔"_s, m_token, session).only(u"proposed_delete"_s);
        const int lineId = ledger().front().id;
        QCOMPARE(proposal.value(u"domain"_s).toString(), u"finance"_s);
        QCOMPARE(proposal.value(u"target_id"_s).toInt(), lineId);
        QCOMPARE(proposal.value(u"delete_endpoint"_s).toString(), u"/finance/transactions/%1/delete"_s.arg(lineId));
        QVERIFY(proposal.value(u"preview"_s).toString().contains(u"A$50.00"_s));
        QCOMPARE(ledger().size(), size_t(1));
        // Another household cannot use the endpoint; the owner's confirm deletes.
        m_server->createUser(u"kit"_s, u"pw"_s);
        const std::string endpoint = proposal.value(u"delete_endpoint"_s).toString().toStdString();
        QCOMPARE(m_http->post(endpoint, "{}", m_server->issueToken(u"kit"_s)).status, 404);
        QCOMPARE(m_http->post(endpoint, "{}", m_token).status, 200);
        QCOMPARE(ledger().size(), size_t(0));

        const Turn nothing = chat(u"删掉刚才那笔"_s);
        QVERIFY(nothing.named(u"proposed_delete"_s).empty());
        QVERIFY(nothing.text().contains(u"没有找到"_s));
    }

    // The household's own words outrank the built-in ones, for everyone in it and nobody else.
    void householdWordsPlaceBookings()
    {
        auto category = [&](const QString& token) {
            return chat(u"今天猫咖 30"_s, token)
                .only(u"pending_card"_s)
                .value(u"payload"_s)
                .toObject()
                .value(u"category"_s)
                .toString();
        };
        m_server->createUser(u"kit"_s, u"pw"_s);
        const QString kit = m_server->issueToken(u"kit"_s);
        const QString builtIn = category(m_token);
        QVERIFY(builtIn != u"娱乐"_s);
        const Reply added = m_http->post(
            "/finance/keywords", QJsonObject { { u"keyword"_s, u"猫咖"_s }, { u"category"_s, u"娱乐"_s } }, m_token);
        QCOMPARE(added.status, 200);
        QCOMPARE(added.object().value(u"kind"_s).toString(), u"expense"_s);
        QCOMPARE(category(m_token), u"娱乐"_s);
        QCOMPARE(category(m_server->issueToken(u"sefa"_s)), u"娱乐"_s);
        QCOMPARE(category(kit), builtIn);

        const std::string path = "/finance/keywords/" + std::to_string(added.object().value(u"id"_s).toInt());
        QCOMPARE(m_http->del(path, kit).status, 404);
        QCOMPARE(m_http->del(path, m_token).status, 200);
        QCOMPARE(category(m_token), builtIn);
    }

    void anythingElseGetsHelpAndNoCard_data()
    {
        QTest::addColumn<QString>("sentence");
        QTest::newRow("greeting") << u"你好"_s;
        QTest::newRow("follow-up edit") << u"改成 60"_s;
    }
    void anythingElseGetsHelpAndNoCard()
    {
        QFETCH(QString, sentence);
        const Turn turn = chat(sentence);
        QVERIFY(turn.done);
        QVERIFY(!turn.text().isEmpty());
        for (const char* outcome : { "pending_card", "proposed_delete", "query_result", "time_effect" })
            QVERIFY(turn.named(QString::fromLatin1(outcome)).empty());
        QCOMPARE(turn.events.back().name, u"result"_s);
    }

    void turnsPerMinuteAreBounded()
    {
        for (int i = 0; i < 5; ++i)
            QCOMPARE(chat(u"你好"_s).events.front().name, u"session"_s);
        m_server->clock().advance(30);
        const Turn limited = chat(u"今天午餐 50"_s);
        QVERIFY(limited.done);
        QCOMPARE(limited.names(), QStringList { u"rate_limit"_s });
        QCOMPARE(limited.events.front().data.value(u"retry_after_sec"_s).toInt(), 30);
        QCOMPARE(m_http->get("/pending", m_token).array().size(), 0);
        // Each user has their own allowance.
        QCOMPARE(chat(u"你好"_s, m_server->issueToken(u"sefa"_s)).events.front().name, u"session"_s);
        m_server->clock().advance(31);
        QCOMPARE(chat(u"你好"_s).events.front().name, u"session"_s);
    }

    void theResumeIdIsKeptWhenUsable()
    {
        QCOMPARE(
            chat(u"你好"_s, m_token, u"abc-123"_s).only(u"session"_s).value(u"session_id"_s).toString(), u"abc-123"_s);
        const QString replaced
            = chat(u"你好"_s, m_token, u"no spaces or <tags>"_s).only(u"session"_s).value(u"session_id"_s).toString();
        QCOMPARE(replaced.size(), 32);
    }

    void requestsRefusedBeforeTheStream_data()
    {
        QTest::addColumn<QJsonObject>("body");
        QTest::addColumn<bool>("signedIn");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("detail");
        QTest::newRow("no token") << QJsonObject { { u"message"_s, u"hi"_s } } << false << 401 << QString();
        QTest::newRow("blank message") << QJsonObject { { u"message"_s, u"  "_s } } << true << 422 << u"消息不能为空"_s;
        QTest::newRow("no message field") << QJsonObject {} << true << 422 << QString();
        QTest::newRow("unreadable image") << QJsonObject {
            { u"message"_s, u"看看"_s },
            { u"images"_s,
                QJsonArray { QJsonObject { { u"media_type"_s, u"image/png"_s }, { u"base64"_s, u"!!not base64"_s } } } }
        } << true << 422 << u"图片处理失败，请重试或换一张"_s;
    }
    void requestsRefusedBeforeTheStream()
    {
        QFETCH(QJsonObject, body);
        QFETCH(bool, signedIn);
        QFETCH(int, status);
        QFETCH(QString, detail);
        const Reply reply = m_http->post("/agent/chat", body, signedIn ? m_token : QString());
        QCOMPARE(reply.status, status);
        if (!detail.isEmpty())
            QCOMPARE(reply.detail(), detail);
    }

    void aPictureGetsAnHonestAnswer()
    {
        const QJsonObject body { { u"message"_s, u"这是我发的图片。"_s },
            { u"images"_s,
                QJsonArray {
                    QJsonObject { { u"media_type"_s, u"image/png"_s }, { u"base64"_s, u"iVBORw0KGgo="_s } } } } };
        const Turn turn = readStream(m_http->post("/agent/chat", body, m_token));
        QVERIFY(turn.text().contains(u"看不懂图片"_s));
        QVERIFY(turn.named(u"pending_card"_s).empty());
    }

private:
    Turn chat(const QString& message, const QString& token = {}, const QString& session = {}, const QString& model = {})
    {
        QJsonObject body { { u"message"_s, message } };
        if (!session.isEmpty())
            body.insert(u"session_id"_s, session);
        if (!model.isEmpty())
            body.insert(u"model"_s, model);
        return readStream(m_http->post("/agent/chat", body, token.isEmpty() ? m_token : token));
    }

    void commit(const Turn& turn)
    {
        const QString id = turn.only(u"pending_card"_s).value(u"pending_id"_s).toString();
        const Reply reply = m_http->post("/pending/" + id.toStdString() + "/commit", "", m_token);
        if (reply.status != 200)
            qWarning() << "commit" << id << reply.status << reply.detail();
    }

    std::vector<wire::Transaction> ledger()
    {
        return m_server->server().backend().financeLedger().list(m_owner, std::nullopt, std::nullopt);
    }

    QJsonObject current() { return m_http->get("/time/current", m_token).object(); }

    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerHttp> m_http;
    QString m_token;
    int m_owner = 0;
};

QTEST_GUILESS_MAIN(AgentTest)
#include "AgentTest.moc"

#include "ServerHttp.h"
#include "TestServer.h"

#include <QRegularExpression>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

QJsonObject message(const QString& id, const QString& kind, const QString& text, const QString& ts)
{
    const QString field = kind == u"error"_s ? u"message"_s : u"text"_s;
    const QJsonObject content { { u"id"_s, id }, { u"ts"_s, ts }, { u"type"_s, kind }, { field, text } };
    return { { u"id"_s, id }, { u"role"_s, kind == u"user_message"_s ? u"user"_s : u"assistant"_s },
        { u"kind"_s, kind }, { u"content"_s, QString::fromUtf8(QJsonDocument(content).toJson(QJsonDocument::Compact)) },
        { u"ts"_s, ts } };
}

QString tsAt(int minute)
{
    return u"2026-11-21T09:%1:00.000Z"_s.arg(minute, 2, 10, QChar(u'0'));
}

} // namespace

class ChatSessionsTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<TestServer>();
        m_server->createUser(u"velmar"_s, u"pw"_s, u"Velmar"_s);
        m_server->createUser(u"sefa"_s, u"pw"_s, u"Sefa"_s);
        m_http = std::make_unique<ServerHttp>(*m_server);
        m_token = m_server->issueToken(u"velmar"_s);
        m_other = m_server->issueToken(u"sefa"_s);
    }
    void cleanup()
    {
        m_http.reset();
        m_server.reset();
    }

    void aNewSessionStartsPlainAndACreateAgainChangesNothing()
    {
        const Reply made = create(u"3F2504E0-4F89-41D3-9A0C-0305E82C3301"_s, u"午餐"_s, u"sonnet"_s);
        QCOMPARE(made.status, 200);
        const QJsonObject session = made.object();
        QCOMPARE(session.value(u"id"_s).toString(), u"3F2504E0-4F89-41D3-9A0C-0305E82C3301"_s);
        QCOMPARE(session.value(u"title"_s).toString(), u"午餐"_s);
        QCOMPARE(session.value(u"model"_s).toString(), u"sonnet"_s);
        QCOMPARE(session.value(u"is_pinned"_s), QJsonValue(false));
        QCOMPARE(session.value(u"is_archived"_s), QJsonValue(false));
        QVERIFY(!session.contains(u"cli_session_id"_s));
        // The time of the server's clock, in the one text form clients sort by.
        QCOMPARE(session.value(u"created_at"_s).toString(), u"2026-11-21T09:30:00.000Z"_s);
        QCOMPARE(session.value(u"last_active_at"_s).toString(), u"2026-11-21T09:30:00.000Z"_s);

        // A retried migration gets the session as it is, not a fork and not an error.
        m_server->clock().advance(60);
        const Reply again = create(u"3F2504E0-4F89-41D3-9A0C-0305E82C3301"_s, u"别的标题"_s, u"opus"_s);
        QCOMPARE(again.status, 200);
        QCOMPARE(again.object(), session);
        QCOMPARE(m_http->get("/chat/sessions", m_token).array().size(), 1);
    }

    void aPatchChangesOnlyWhatItNames_data()
    {
        QTest::addColumn<QJsonObject>("patch");
        QTest::addColumn<QJsonObject>("changed");
        QTest::newRow("rename") << QJsonObject { { u"title"_s, u"周末账"_s } }
                                << QJsonObject { { u"title"_s, u"周末账"_s } };
        // Another zone or no milliseconds still ends up in the form clients sort as text.
        QTest::newRow("activity time in another zone")
            << QJsonObject { { u"last_active_at"_s, u"2026-11-21T20:45:10+11:00"_s } }
            << QJsonObject { { u"last_active_at"_s, u"2026-11-21T09:45:10.000Z"_s } };
        QTest::newRow("after a migration")
            << QJsonObject { { u"is_pinned"_s, true }, { u"is_archived"_s, false },
                   { u"last_active_at"_s, u"2026-10-01T08:00:00.000Z"_s } }
            << QJsonObject { { u"is_pinned"_s, true }, { u"last_active_at"_s, u"2026-10-01T08:00:00.000Z"_s } };
        QTest::newRow("nothing named") << QJsonObject {} << QJsonObject {};
    }
    void aPatchChangesOnlyWhatItNames()
    {
        QFETCH(QJsonObject, patch);
        QFETCH(QJsonObject, changed);
        QJsonObject expected = create(u"default"_s, u"早饭"_s, u"haiku"_s).object();
        for (auto it = changed.begin(); it != changed.end(); ++it)
            expected.insert(it.key(), it.value());
        const Reply reply = m_http->patch("/chat/sessions/default", patch, m_token);
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.object(), expected);
        QCOMPARE(m_http->get("/chat/sessions", m_token).array().first().toObject(), expected);
    }

    // Two users may both hold "default"; neither reaches the other's, and an id held by
    // someone else looks exactly like one held by nobody.
    void sessionsBelongToTheirUser_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QString>("path");
        QTest::newRow("patch") << u"PATCH"_s << u"/chat/sessions/%1"_s;
        QTest::newRow("delete") << u"DELETE"_s << u"/chat/sessions/%1"_s;
        QTest::newRow("read messages") << u"GET"_s << u"/chat/sessions/%1/messages"_s;
        QTest::newRow("post a message") << u"POST"_s << u"/chat/sessions/%1/messages"_s;
        QTest::newRow("clear messages") << u"DELETE"_s << u"/chat/sessions/%1/messages"_s;
    }
    void sessionsBelongToTheirUser()
    {
        QFETCH(QString, method);
        QFETCH(QString, path);
        create(u"default"_s, u"我的"_s);
        create(u"private"_s);
        post(u"private"_s, message(u"M1"_s, u"user_message"_s, u"今天午餐 50"_s, tsAt(30)));
        QCOMPARE(create(u"default"_s, u"她的"_s, {}, m_other).object().value(u"title"_s).toString(), u"她的"_s);

        const QString body = method == u"POST"_s
            ? QString::fromUtf8(
                QJsonDocument(message(u"X"_s, u"assistant_text"_s, u"x"_s, tsAt(31))).toJson(QJsonDocument::Compact))
            : u"{\"title\":\"x\"}"_s;
        for (const QString& id : { u"private"_s, u"nobody-has-this"_s }) {
            const Reply reply
                = m_http->send(method.toStdString(), path.arg(id).toStdString(), body.toStdString(), m_other);
            QCOMPARE(reply.status, 404);
            QCOMPARE(reply.detail(), u"会话不存在"_s);
        }
        // Nothing of the owner's moved, and each "default" kept its own title.
        QCOMPARE(m_http->get("/chat/sessions/private/messages", m_token).array().size(), 1);
        QCOMPARE(m_http->get("/chat/sessions", m_token).array().size(), 2);
        QCOMPARE(m_http->get("/chat/sessions", m_other).array().size(), 1);
        const Reply mine = m_http->patch("/chat/sessions/default", QJsonObject {}, m_token);
        QCOMPARE(mine.object().value(u"title"_s).toString(), u"我的"_s);
    }

    void badRequestsAreRefusedAndChangeNothing_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QJsonObject>("body");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("detail");
        const QJsonObject good = message(u"M9"_s, u"assistant_text"_s, u"好的"_s, tsAt(40));
        auto with = [&](const QString& key, const QJsonValue& value) {
            QJsonObject changed = good;
            changed.insert(key, value);
            return changed;
        };
        const QString messages = u"/chat/sessions/default/messages"_s;
        QTest::newRow("session without id")
            << u"POST"_s << u"/chat/sessions"_s << QJsonObject { { u"id"_s, u"  "_s } } << 422 << u"会话 id 不能为空"_s;
        QTest::newRow("session id with a slash")
            << u"POST"_s << u"/chat/sessions"_s << QJsonObject { { u"id"_s, u"a/b"_s } } << 422
            << u"会话 id 不能含有斜杠、控制字符或首尾空白"_s;
        QTest::newRow("title too long") << u"PATCH"_s << u"/chat/sessions/default"_s
                                        << QJsonObject { { u"title"_s, QString(201, u'字') } } << 422
                                        << u"标题最多 200 个字符"_s;
        QTest::newRow("activity time that is no time")
            << u"PATCH"_s << u"/chat/sessions/default"_s << QJsonObject { { u"last_active_at"_s, u"昨天"_s } } << 422
            << u"last_active_at 应为 ISO 8601 时间，例如 2026-11-21T09:30:00.000Z：昨天"_s;
        QTest::newRow("kind that is not synced")
            << u"POST"_s << messages << with(u"kind"_s, u"tool_call"_s) << 422 << u"不支持的消息类型：tool_call"_s;
        QTest::newRow("role that does not fit the kind") << u"POST"_s << messages << with(u"role"_s, u"user"_s) << 422
                                                         << u"assistant_text 消息的 role 应为 assistant"_s;
        QTest::newRow("message without id")
            << u"POST"_s << messages << with(u"id"_s, QString()) << 422 << u"消息 id 不能为空"_s;
    }
    void badRequestsAreRefusedAndChangeNothing()
    {
        QFETCH(QString, method);
        QFETCH(QString, path);
        QFETCH(QJsonObject, body);
        QFETCH(int, status);
        QFETCH(QString, detail);
        create(u"default"_s, u"早饭"_s);
        post(u"default"_s, message(u"M1"_s, u"user_message"_s, u"早饭 12"_s, tsAt(30)));
        const QJsonArray sessionsBefore = m_http->get("/chat/sessions", m_token).array();

        const Reply reply = m_http->send(method.toStdString(), path.toStdString(),
            body.isEmpty() ? std::string() : QJsonDocument(body).toJson(QJsonDocument::Compact).toStdString(), m_token);
        QCOMPARE(reply.status, status);
        QCOMPARE(reply.detail(), detail);
        QCOMPARE(m_http->get("/chat/sessions", m_token).array(), sessionsBefore);
        QCOMPARE(m_http->get("/chat/sessions/default/messages", m_token).array().size(), 1);
    }

    // The newest window, in ascending order: what the client merges every few seconds.
    void messagesComeAsTheNewestWindowOldestFirst_data()
    {
        QTest::addColumn<int>("stored");
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("firstSeq");
        QTest::addColumn<int>("count");
        QTest::newRow("fewer than the limit") << 5 << u"?limit=400"_s << 1 << 5;
        QTest::newRow("more than the limit") << 12 << u"?limit=3"_s << 10 << 3;
        QTest::newRow("no limit given") << 12 << QString() << 1 << 12;
        QTest::newRow("limit below one") << 4 << u"?limit=0"_s << 4 << 1;
        QTest::newRow("limit above the most") << 4 << u"?limit=5000"_s << 1 << 4;
    }
    void messagesComeAsTheNewestWindowOldestFirst()
    {
        QFETCH(int, stored);
        QFETCH(QString, query);
        QFETCH(int, firstSeq);
        QFETCH(int, count);
        create(u"default"_s);
        for (int i = 1; i <= stored; ++i) {
            const QString kind = i % 2 ? u"user_message"_s : u"assistant_text"_s;
            QCOMPARE(post(u"default"_s, message(u"M%1"_s.arg(i), kind, u"第 %1 句"_s.arg(i), tsAt(i))), i);
        }
        const QJsonArray window = m_http->get("/chat/sessions/default/messages" + query.toStdString(), m_token).array();
        QCOMPARE(window.size(), count);
        for (int i = 0; i < count; ++i) {
            const QJsonObject item = window[i].toObject();
            const int seq = firstSeq + i;
            QCOMPARE(item.value(u"seq"_s).toInt(), seq);
            QCOMPARE(item.value(u"id"_s).toString(), u"M%1"_s.arg(seq));
            QCOMPARE(item.value(u"ts"_s).toString(), tsAt(seq));
            QCOMPARE(item.value(u"role"_s).toString(), seq % 2 ? u"user"_s : u"assistant"_s);
            // The content is the client's log line, kept byte for byte.
            QCOMPARE(item.value(u"content"_s).toString(),
                message(u"M%1"_s.arg(seq), item.value(u"kind"_s).toString(), u"第 %1 句"_s.arg(seq), tsAt(seq))
                    .value(u"content"_s)
                    .toString());
        }
    }

    void aRepostedMessageIsStoredOnceAndKeepsItsNumber()
    {
        create(u"default"_s);
        QCOMPARE(post(u"default"_s, message(u"A"_s, u"user_message"_s, u"今天午餐 50"_s, tsAt(30))), 1);
        QCOMPARE(post(u"default"_s, message(u"B"_s, u"assistant_text"_s, u"好的"_s, tsAt(31))), 2);
        // A migration retry or a merge push-up sends it again, possibly re-encoded.
        QCOMPARE(post(u"default"_s, message(u"A"_s, u"user_message"_s, u"改过的内容"_s, tsAt(45))), 1);
        const QJsonArray all = m_http->get("/chat/sessions/default/messages", m_token).array();
        QCOMPARE(all.size(), 2);
        QVERIFY(all[0].toObject().value(u"content"_s).toString().contains(u"今天午餐 50"_s));
        QCOMPARE(all[0].toObject().value(u"ts"_s).toString(), tsAt(30));
        // The same id in another session is another message.
        create(u"second"_s);
        QCOMPARE(post(u"second"_s, message(u"A"_s, u"user_message"_s, u"今天午餐 50"_s, tsAt(30))), 1);
    }

    void aClearEmptiesTheSessionButNeverReusesANumber()
    {
        create(u"default"_s, u"留着"_s);
        post(u"default"_s, message(u"A"_s, u"user_message"_s, u"一"_s, tsAt(30)));
        post(u"default"_s, message(u"B"_s, u"assistant_text"_s, u"二"_s, tsAt(31)));
        const Reply cleared = m_http->del("/chat/sessions/default/messages", m_token);
        QCOMPARE(cleared.status, 200);
        QCOMPARE(cleared.object().value(u"ok"_s), QJsonValue(true));
        QCOMPARE(m_http->get("/chat/sessions/default/messages", m_token).array().size(), 0);
        QCOMPARE(
            m_http->get("/chat/sessions", m_token).array().first().toObject().value(u"title"_s).toString(), u"留着"_s);
        QCOMPARE(post(u"default"_s, message(u"C"_s, u"user_message"_s, u"三"_s, tsAt(32))), 3);
        QCOMPARE(post(u"default"_s, message(u"A"_s, u"user_message"_s, u"一"_s, tsAt(30))), 4);
    }

    void aDeletedSessionTakesItsMessagesAlong()
    {
        create(u"default"_s);
        create(u"kept"_s);
        post(u"default"_s, message(u"A"_s, u"user_message"_s, u"一"_s, tsAt(30)));
        post(u"kept"_s, message(u"K"_s, u"user_message"_s, u"留下"_s, tsAt(30)));
        const Reply deleted = m_http->del("/chat/sessions/default", m_token);
        QCOMPARE(deleted.status, 200);
        QCOMPARE(deleted.object().value(u"ok"_s), QJsonValue(true));
        QCOMPARE(m_http->get("/chat/sessions/default/messages", m_token).status, 404);
        QCOMPARE(m_http->del("/chat/sessions/default", m_token).status, 404);
        QCOMPARE(m_http->get("/chat/sessions/kept/messages", m_token).array().size(), 1);
        // Made again under the same id, it starts empty: nothing of the old one comes back.
        create(u"default"_s);
        QCOMPARE(m_http->get("/chat/sessions/default/messages", m_token).array().size(), 0);
        QCOMPARE(post(u"default"_s, message(u"A"_s, u"user_message"_s, u"一"_s, tsAt(30))), 1);
    }

    // A session is only ever made by its create: a post to an unknown one is refused, so the
    // client knows to migrate it whole.
    void aPostNeverMakesASession()
    {
        const Reply reply = m_http->post(
            "/chat/sessions/3F2504E0/messages", message(u"A"_s, u"user_message"_s, u"一"_s, tsAt(30)), m_token);
        QCOMPARE(reply.status, 404);
        QCOMPARE(m_http->get("/chat/sessions", m_token).array().size(), 0);
    }

    void aPercentEncodedIdReachesItsSession()
    {
        create(u"家 计划"_s);
        const Reply reply = m_http->post("/chat/sessions/%E5%AE%B6%20%E8%AE%A1%E5%88%92/messages",
            message(u"A"_s, u"user_message"_s, u"一"_s, tsAt(30)), m_token);
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.object().value(u"seq"_s).toInt(), 1);
    }

private:
    Reply create(const QString& id, const QString& title = {}, const QString& model = {}, const QString& token = {})
    {
        QJsonObject body { { u"id"_s, id } };
        if (!title.isEmpty())
            body.insert(u"title"_s, title);
        if (!model.isEmpty())
            body.insert(u"model"_s, model);
        return m_http->post("/chat/sessions", body, token.isEmpty() ? m_token : token);
    }

    // The seq the server answered; 0 when it refused.
    int post(const QString& session, const QJsonObject& body)
    {
        const Reply reply = m_http->post("/chat/sessions/" + session.toStdString() + "/messages", body, m_token);
        if (reply.status != 200 || reply.object().value(u"ok"_s) != QJsonValue(true))
            return 0;
        return reply.object().value(u"seq"_s).toInt();
    }

    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerHttp> m_http;
    QString m_token;
    QString m_other;
};

QTEST_GUILESS_MAIN(ChatSessionsTest)
#include "ChatSessionsTest.moc"

#include "AgentStream.h"
#include "ServerHttp.h"
#include "TestServer.h"

#include "Backend.h"
#include "agent/ClientLogLines.h"
#include "agent/TurnChannel.h"
#include "agent/TurnRunner.h"

#include <QHostAddress>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTest>
#include <QTimeZone>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

using namespace Qt::StringLiterals;
using lumen::ChatLogLine;
using lumen::agent::AgentEvent;

Q_DECLARE_METATYPE(std::vector<lumen::agent::AgentEvent>)
Q_DECLARE_METATYPE(std::vector<lumen::ChatLogLine>)

namespace {

// Holds a turn until the test lets it go on; never longer than the limit, so a failing test
// fails instead of hanging.
class Gate {
public:
    void open()
    {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    void wait()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::seconds(10), [this] { return m_open; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
};

// An agent that makes a proposal and says its first words, waits at the gate, then finishes
// with more words and a second proposal: a turn long enough for a client to hang up in the
// middle of it. With no first words it waits at once.
class GatedAgent final : public lumen::agent::Agent {
public:
    GatedAgent(lumen::Backend& backend, QString before, QString after)
        : m_backend(backend)
        , m_before(std::move(before))
        , m_after(std::move(after))
    {
    }
    QString model() const override { return u"gated-1"_s; }
    void run(const lumen::agent::TurnRequest& request, lumen::agent::TurnChannel& channel) override
    {
        if (!m_before.isEmpty()) {
            channel.send(propose(request, 12.0));
            channel.send(AgentEvent::textDelta(m_before));
        }
        gate.wait();
        channel.send(AgentEvent::textDelta(m_after));
        channel.send(propose(request, 50.0));
    }

    Gate gate;

private:
    AgentEvent propose(const lumen::agent::TurnRequest& request, double amount)
    {
        wire::PendingCreate create;
        create.domain = u"finance"_s;
        create.payload = { { u"amount"_s, amount }, { u"category"_s, u"餐饮"_s } };
        create.source_text = request.chat.message;
        return AgentEvent::pendingCard(m_backend.pending().create(request.user.userId, create));
    }

    lumen::Backend& m_backend;
    QString m_before;
    QString m_after;
};

// Counts finished turns; added after the server's own observers, so when it has heard of a
// turn, the server's copy of that turn is written.
class FinishedTurns final : public lumen::agent::TurnObserver {
public:
    void turnFinished(const lumen::agent::TurnTranscript&) override { ++m_count; }
    int count() const { return m_count; }

private:
    std::atomic<int> m_count { 0 };
};

ChatLogLine text(const QString& text)
{
    return { u"assistant_text"_s, { { u"text"_s, text } } };
}

ChatLogLine card(const QString& id, const QString& assistantText)
{
    return { u"pending_emitted"_s,
        { { u"pending_id"_s, id }, { u"domain"_s, u"finance"_s }, { u"assistant_text"_s, assistantText } } };
}

ChatLogLine error(const QString& message)
{
    return { u"error"_s, { { u"message"_s, message } } };
}

wire::PendingItem item(const QString& id)
{
    wire::PendingItem item;
    item.id = id;
    item.domain = u"finance"_s;
    item.payload = { { u"amount"_s, 50.0 } };
    return item;
}

QString linesText(const std::vector<ChatLogLine>& lines)
{
    QStringList out;
    for (const ChatLogLine& line : lines)
        out.append(line.kind + u' ' + QString::fromUtf8(QJsonDocument(line.fields).toJson(QJsonDocument::Compact)));
    return out.join(u'\n');
}

} // namespace

class ChatTurnsTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<TestServer>(TestServer::Options { 8, true, 0 });
        m_server->clock().set(QDateTime(QDate(2026, 11, 21), QTime(20, 30), QTimeZone("Australia/Melbourne")));
        m_owner = m_server->createUser(u"velmar"_s, u"pw"_s, u"Velmar"_s);
        m_server->createUser(u"sefa"_s, u"pw"_s, u"Sefa"_s);
        m_http = std::make_unique<ServerHttp>(*m_server);
        m_token = m_server->issueToken(u"velmar"_s);
        m_finished = std::make_shared<FinishedTurns>();
        backend().turns().addObserver(m_finished);
    }
    void cleanup()
    {
        if (m_agent)
            m_agent->gate.open();
        m_http.reset();
        m_server.reset();
        m_agent.reset();
    }

    // What the client would have logged for the part of a turn it did not hear.
    void unheardEventsBecomeTheClientsLogLines_data()
    {
        QTest::addColumn<std::vector<AgentEvent>>("events");
        QTest::addColumn<int>("heard");
        QTest::addColumn<std::vector<ChatLogLine>>("lines");
        const AgentEvent session = AgentEvent::session(u"r1"_s, u"builtin"_s);
        const AgentEvent done = AgentEvent::result(u"end_turn"_s, 1, 0);
        const AgentEvent tool = AgentEvent::toolCallStart(u"tool_1"_s, u"parse_sentence"_s, {});
        const AgentEvent toolDone = AgentEvent::toolResult(u"tool_1"_s, true, u"ok"_s);
        const std::vector<AgentEvent> booking { session, tool, toolDone, AgentEvent::textDelta(u"好的，"_s),
            AgentEvent::textDelta(u"记一笔。"_s), AgentEvent::pendingCard(item(u"7"_s)), done };

        // The client drops the text it heard since its last line; the copy starts with it.
        QTest::newRow("cut between two pieces of text")
            << booking << 4 << std::vector { card(u"7"_s, u"好的，记一笔。"_s) };
        QTest::newRow("a heard tool step already logged the text before it") << std::vector {
            session, AgentEvent::textDelta(u"我查一下。"_s), tool, toolDone, AgentEvent::textDelta(u"查好了。"_s), done
        } << 3 << std::vector { text(u"查好了。"_s) };
        QTest::newRow("a query result drops its text and counts its rows")
            << std::vector { session, AgentEvent::textDelta(u"本月支出 A$80.00。"_s),
                   AgentEvent::queryResult(u"finance"_s, u"本月支出"_s, u"共 A$80.00，2 笔"_s,
                       { QJsonObject { { u"分类"_s, u"餐饮"_s } }, QJsonObject { { u"分类"_s, u"交通"_s } } }, {}),
                   done }
            << 1
            << std::vector { ChatLogLine { u"query_result"_s,
                   { { u"domain"_s, u"finance"_s }, { u"title"_s, u"本月支出"_s },
                       { u"summary"_s, u"共 A$80.00，2 笔"_s }, { u"row_count"_s, u"2"_s } } } };
        QTest::newRow("a proposed delete leaves no line") << std::vector { session,
            AgentEvent::textDelta(u"要删掉这笔吗？"_s),
            AgentEvent::proposedDelete(u"finance"_s, 3, u"餐饮 A$50.00"_s, u"/finance/transactions/3/delete"_s), done }
                                                          << 1 << std::vector<ChatLogLine> {};
        // The clock is read in the household's zone (Melbourne, UTC+11 in November).
        QTest::newRow("a time effect is a line of its own, its reply follows")
            << std::vector { session, AgentEvent::textDelta(u"coding 结束了，开始记录 写论文。"_s),
                   AgentEvent::timeEffect(u"stopped"_s, u"coding"_s, u"2026-11-21T09:15:00Z"_s),
                   AgentEvent::timeEffect(u"started"_s, u"写论文"_s, u"2026-11-21T09:15:00Z"_s), done }
            << 1
            << std::vector { text(u"⏹ 结束 coding · 20:15"_s), text(u"▶️ 开始 写论文 · 20:15"_s),
                   text(u"coding 结束了，开始记录 写论文。"_s) };
        QTest::newRow("an error ends the turn and drops its text") << std::vector { session,
            AgentEvent::textDelta(u"好的，"_s), AgentEvent::error(u"internal"_s, u"服务器内部错误，请稍后再试"_s),
            AgentEvent::textDelta(u"不算"_s), done } << 1 << std::vector { error(u"服务器内部错误，请稍后再试"_s) };
        QTest::newRow("a turn that ended without its result keeps its text") << std::vector { session,
            AgentEvent::textDelta(u"说到一半"_s) } << 1 << std::vector { text(u"说到一半"_s) };
    }
    void unheardEventsBecomeTheClientsLogLines()
    {
        QFETCH(std::vector<AgentEvent>, events);
        QFETCH(int, heard);
        QFETCH(std::vector<ChatLogLine>, lines);
        const auto made
            = lumen::agent::ClientLogLines::unheard(events, std::size_t(heard), QTimeZone("Australia/Melbourne"));
        QCOMPARE(linesText(made), linesText(lines));
    }

    void aClientThatHeardTheWholeTurnGetsNoCopy()
    {
        createSession(u"S1"_s);
        const StreamedTurn turn = chat(u"今天午餐 50"_s, u"S1"_s);
        QVERIFY(turn.done);
        QTRY_COMPARE(m_finished->count(), 1);
        QCOMPARE(messages(u"S1"_s).size(), 0);
        // The session learnt the resume id its turn ran under.
        QCOMPARE(session(u"S1"_s).value(u"cli_session_id"_s).toString(),
            turn.only(u"session"_s).value(u"session_id"_s).toString());
    }

    void aClientThatHangsUpMidTurnGetsTheRestOnce()
    {
        createSession(u"S1"_s);
        useGatedAgent(u"前半句，"_s, u"后半句。"_s);
        QTcpSocket socket;
        sendTurn(socket, u"帮我记一下"_s, u"S1"_s);
        QVERIFY(readUntil(socket, u"前半句"_s));
        socket.abort();
        m_agent->gate.open();
        QTRY_COMPARE(m_finished->count(), 1);

        // The first card was heard (the client posts it itself); only the second is copied.
        const QJsonArray copy = messages(u"S1"_s);
        QCOMPARE(copy.size(), 1);
        const QJsonObject message = copy[0].toObject();
        QCOMPARE(message.value(u"seq"_s).toInt(), 1);
        QCOMPARE(message.value(u"role"_s).toString(), u"assistant"_s);
        QCOMPARE(message.value(u"kind"_s).toString(), u"pending_emitted"_s);
        // Written at the server's time, in the form the client sorts by.
        QCOMPARE(message.value(u"ts"_s).toString(), u"2026-11-21T09:30:00.000Z"_s);
        QVERIFY(QRegularExpression(u"^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"_s)
                    .match(message.value(u"id"_s).toString())
                    .hasMatch());
        // The content is the client's log line: its own id, time and type, and the fields.
        const QJsonObject line = QJsonDocument::fromJson(message.value(u"content"_s).toString().toUtf8()).object();
        const QString pendingId = m_http->get("/pending", m_token).array()[0].toObject().value(u"id"_s).toString();
        QCOMPARE(line,
            (QJsonObject { { u"id"_s, message.value(u"id"_s) }, { u"ts"_s, message.value(u"ts"_s) },
                { u"type"_s, u"pending_emitted"_s }, { u"pending_id"_s, pendingId }, { u"domain"_s, u"finance"_s },
                { u"assistant_text"_s, u"前半句，后半句。"_s } }));
        QCOMPARE(message.value(u"content"_s).toString(),
            QString::fromUtf8(QJsonDocument(line).toJson(QJsonDocument::Compact)));
    }

    // Gone before its stream opened: the turn still runs, and all of it is kept.
    void aClientThatLeavesAtOnceGetsTheWholeTurn()
    {
        createSession(u"S1"_s);
        useGatedAgent({}, u"好的，记一笔。"_s);
        QTcpSocket socket;
        sendTurn(socket, u"今天午餐 50"_s, u"S1"_s);
        socket.abort();
        m_agent->gate.open();
        QTRY_COMPARE(m_finished->count(), 1);
        const QJsonArray copy = messages(u"S1"_s);
        QCOMPARE(copy.size(), 1);
        const QJsonObject line
            = QJsonDocument::fromJson(copy[0].toObject().value(u"content"_s).toString().toUtf8()).object();
        QCOMPARE(line.value(u"assistant_text"_s).toString(), u"好的，记一笔。"_s);
        QCOMPARE(m_http->get("/pending", m_token).array().size(), 1);
    }

    void aCutTurnWritesOnlyIntoASessionItsUserHolds_data()
    {
        QTest::addColumn<QString>("chatSession");
        QTest::newRow("unknown session") << u"NOPE"_s;
        QTest::newRow("another user's session") << u"HERS"_s;
        QTest::newRow("no session named") << QString();
    }
    void aCutTurnWritesOnlyIntoASessionItsUserHolds()
    {
        QFETCH(QString, chatSession);
        const QString hers = m_server->issueToken(u"sefa"_s);
        QCOMPARE(m_http->post("/chat/sessions", QJsonObject { { u"id"_s, u"HERS"_s } }, hers).status, 200);
        useGatedAgent(u"前半句，"_s, u"后半句。"_s);
        QTcpSocket socket;
        sendTurn(socket, u"帮我记一下"_s, chatSession);
        QVERIFY(readUntil(socket, u"前半句"_s));
        socket.abort();
        m_agent->gate.open();
        QTRY_COMPARE(m_finished->count(), 1);
        QCOMPARE(m_http->get("/chat/sessions/HERS/messages", hers).array().size(), 0);
        QVERIFY(!m_http->get("/chat/sessions", hers).array()[0].toObject().contains(u"cli_session_id"_s));
        // No session is made on the user's behalf either.
        QCOMPARE(m_http->get("/chat/sessions", m_token).array().size(), 0);
        // The proposals themselves were made all the same.
        QCOMPARE(m_http->get("/pending", m_token).array().size(), 2);
    }

    // "改成 60" and "删掉刚才那笔" refer to what the conversation did last; a conversation is
    // found by its resume id, by its chat session, or by what the session proposed before.
    void followUpsFindTheConversationsLastThing_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("same resume id") << u"resume id"_s;
        QTest::newRow("same chat session, no resume id") << u"chat session"_s;
        QTest::newRow("same chat session, a resume id the server never saw") << u"new resume id"_s;
    }
    void followUpsFindTheConversationsLastThing()
    {
        QFETCH(QString, how);
        createSession(u"S1"_s);
        const StreamedTurn booked = chat(u"今天午餐 50"_s, u"S1"_s);
        const QString resumeId = booked.only(u"session"_s).value(u"session_id"_s).toString();
        const QString pendingId = booked.only(u"pending_card"_s).value(u"pending_id"_s).toString();
        auto followUp = [&](const QString& sentence) {
            if (how == u"resume id"_s)
                return chat(sentence, {}, resumeId);
            return chat(sentence, u"S1"_s, how == u"new resume id"_s ? u"fresh-resume-id"_s : QString());
        };

        // A proposal still waiting is changed in place and shown again.
        const StreamedTurn edited = followUp(u"改成 60"_s);
        const QJsonObject card = edited.only(u"pending_card"_s);
        QCOMPARE(card.value(u"pending_id"_s).toString(), pendingId);
        QCOMPARE(card.value(u"payload"_s).toObject().value(u"amount"_s).toDouble(), 60.0);
        QVERIFY2(edited.text().contains(u"A$60.00"_s), qPrintable(edited.text()));
        const QJsonObject stored = m_http->get("/pending/" + pendingId.toStdString(), m_token).object();
        QCOMPARE(stored.value(u"payload"_s).toObject().value(u"amount"_s).toDouble(), 60.0);
        QCOMPARE(stored.value(u"status"_s).toString(), u"pending"_s);
        QCOMPARE(m_http->get("/pending", m_token).array().size(), 1);

        // "That one" while it waits is withdrawn, not deleted.
        const QJsonObject withdraw = followUp(u"删掉刚才那笔"_s).only(u"proposed_delete"_s);
        QCOMPARE(withdraw.value(u"delete_endpoint"_s).toString(), u"/pending/%1/reject"_s.arg(pendingId));
    }

    void aFollowUpWithoutItsConversationChangesNothing()
    {
        createSession(u"S1"_s);
        createSession(u"S2"_s);
        const QString pendingId
            = chat(u"今天午餐 50"_s, u"S1"_s).only(u"pending_card"_s).value(u"pending_id"_s).toString();
        for (const QString& elsewhere : { u"S2"_s, QString() }) {
            const StreamedTurn turn = chat(u"改成 60"_s, elsewhere);
            QVERIFY(turn.named(u"pending_card"_s).empty());
            QCOMPARE(turn.text(), u"这段对话里还没有可以修改的记录。想记新的一笔，直接说就行，比如「今天午餐 60」。"_s);
        }
        const QJsonObject stored = m_http->get("/pending/" + pendingId.toStdString(), m_token).object();
        QCOMPARE(stored.value(u"payload"_s).toObject().value(u"amount"_s).toDouble(), 50.0);
    }

    // Once booked, a change is a proposal of its own: the ledger moves only on its confirm.
    void changingABookedLineIsProposedThenApplied()
    {
        createSession(u"S1"_s);
        const StreamedTurn booked = chat(u"超市 牛奶 5 面包 3.5"_s, u"S1"_s);
        commit(booked.only(u"pending_card"_s).value(u"pending_id"_s).toString());
        const wire::Transaction before = ledger().front();
        QCOMPARE(before.items_count, std::optional<int>(2));

        const StreamedTurn change = chat(u"改成 60"_s, u"S1"_s);
        const QJsonObject card = change.only(u"pending_card"_s);
        const QJsonObject payload = card.value(u"payload"_s).toObject();
        QCOMPARE(payload.value(u"_kind"_s).toString(), u"update"_s);
        QCOMPARE(payload.value(u"target_id"_s).toInt(), before.id);
        QCOMPARE(payload.value(u"amount"_s).toDouble(), 60.0);
        QCOMPARE(payload.value(u"category"_s).toString(), before.category.value_or(QString()));
        QVERIFY2(change.text().contains(u"已经入账"_s), qPrintable(change.text()));
        QCOMPARE(ledger().front().amount, before.amount);

        commit(card.value(u"pending_id"_s).toString());
        QCOMPARE(ledger().size(), size_t(1));
        const wire::Transaction after = ledger().front();
        QCOMPARE(after.id, before.id);
        QCOMPARE(after.amount, 60.0);
        QCOMPARE(after.amount_aud, std::optional<double>(60.0));
        QCOMPARE(after.date, before.date);
        // The items no longer add up to the new total, so they are gone.
        QCOMPARE(after.items_count, std::optional<int>(0));

        // And "删掉刚才那笔" now means the booked line, the same one.
        const QJsonObject remove = chat(u"删掉刚才那笔"_s, u"S1"_s).only(u"proposed_delete"_s);
        QCOMPARE(remove.value(u"target_id"_s).toInt(), before.id);
    }

    void aChangeOfALineDeletedMeanwhileIsRefusedAndWaits()
    {
        createSession(u"S1"_s);
        commit(chat(u"今天午餐 50"_s, u"S1"_s).only(u"pending_card"_s).value(u"pending_id"_s).toString());
        const QString change = chat(u"改成 60"_s, u"S1"_s).only(u"pending_card"_s).value(u"pending_id"_s).toString();
        const int lineId = ledger().front().id;
        QCOMPARE(
            m_http->post("/finance/transactions/" + std::to_string(lineId) + "/delete", "{}", m_token).status, 200);
        const Reply refused = m_http->post("/pending/" + change.toStdString() + "/commit", "", m_token);
        QCOMPARE(refused.status, 404);
        QCOMPARE(refused.detail(), u"账目不存在"_s);
        QCOMPARE(m_http->get("/pending/" + change.toStdString(), m_token).object().value(u"status"_s).toString(),
            u"pending"_s);
    }

    void aTimeBlockIsChangedByItsClock()
    {
        createSession(u"S1"_s);
        const StreamedTurn block = chat(u"上午 9 点到 11 点 coding"_s, u"S1"_s);
        commit(block.only(u"pending_card"_s).value(u"pending_id"_s).toString());
        const QJsonObject card = chat(u"改成上午 10 点到 12 点"_s, u"S1"_s).only(u"pending_card"_s);
        QCOMPARE(card.value(u"domain"_s).toString(), u"time"_s);
        const QJsonObject payload = card.value(u"payload"_s).toObject();
        QCOMPARE(payload.value(u"start_time"_s).toString(), u"10:00"_s);
        QCOMPARE(payload.value(u"end_time"_s).toString(), u"12:00"_s);
        QCOMPARE(payload.value(u"activity"_s).toString(), u"coding"_s);
        commit(card.value(u"pending_id"_s).toString());
        const QJsonArray entries = m_http->get("/time/list?limit=5", m_token).array();
        QCOMPARE(entries.size(), 1);
        QCOMPARE(entries[0].toObject().value(u"start_time"_s).toString(), u"10:00"_s);
        QCOMPARE(entries[0].toObject().value(u"duration_min"_s).toDouble(), 120.0);
    }

private:
    lumen::Backend& backend() { return m_server->server().backend(); }

    void createSession(const QString& id)
    {
        const Reply reply = m_http->post("/chat/sessions", QJsonObject { { u"id"_s, id } }, m_token);
        if (reply.status != 200)
            qWarning() << "create session" << id << reply.status << reply.detail();
    }

    QJsonObject session(const QString& id)
    {
        for (const QJsonValue& value : m_http->get("/chat/sessions", m_token).array()) {
            if (value.toObject().value(u"id"_s).toString() == id)
                return value.toObject();
        }
        return {};
    }

    QJsonArray messages(const QString& id)
    {
        return m_http->get("/chat/sessions/" + id.toStdString() + "/messages?limit=400", m_token).array();
    }

    StreamedTurn chat(const QString& message, const QString& chatSession, const QString& resumeId = {})
    {
        QJsonObject body { { u"message"_s, message } };
        if (!chatSession.isEmpty())
            body.insert(u"chat_session_id"_s, chatSession);
        if (!resumeId.isEmpty())
            body.insert(u"session_id"_s, resumeId);
        return readStream(m_http->post("/agent/chat", body, m_token));
    }

    void useGatedAgent(const QString& before, const QString& after)
    {
        m_agent = std::make_shared<GatedAgent>(backend(), before, after);
        backend().turns().directory().registerAgent({ u"gated-1"_s }, m_agent);
    }

    // A turn sent by hand, so that the test can hang up whenever it likes.
    void sendTurn(QTcpSocket& socket, const QString& message, const QString& chatSession)
    {
        QJsonObject body { { u"message"_s, message }, { u"model"_s, u"gated-1"_s } };
        if (!chatSession.isEmpty())
            body.insert(u"chat_session_id"_s, chatSession);
        const QByteArray json = QJsonDocument(body).toJson(QJsonDocument::Compact);
        socket.connectToHost(QHostAddress::LocalHost, quint16(m_server->port()));
        QVERIFY(socket.waitForConnected(5000));
        socket.write("POST /agent/chat HTTP/1.1\r\nHost: 127.0.0.1\r\nAuthorization: Bearer " + m_token.toLatin1()
            + "\r\nContent-Type: application/json\r\nContent-Length: " + QByteArray::number(json.size()) + "\r\n\r\n"
            + json);
        QVERIFY(socket.waitForBytesWritten(5000));
    }

    bool readUntil(QTcpSocket& socket, const QString& marker)
    {
        QByteArray received;
        while (!received.contains(marker.toUtf8())) {
            if (!socket.waitForReadyRead(5000))
                return false;
            received += socket.readAll();
        }
        return true;
    }

    void commit(const QString& pendingId)
    {
        const Reply reply = m_http->post("/pending/" + pendingId.toStdString() + "/commit", "", m_token);
        if (reply.status != 200)
            qWarning() << "commit" << pendingId << reply.status << reply.detail();
    }

    std::vector<wire::Transaction> ledger()
    {
        return backend().financeLedger().list(m_owner, std::nullopt, std::nullopt);
    }

    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerHttp> m_http;
    std::shared_ptr<FinishedTurns> m_finished;
    std::shared_ptr<GatedAgent> m_agent;
    QString m_token;
    int m_owner = 0;
};

QTEST_GUILESS_MAIN(ChatTurnsTest)
#include "ChatTurnsTest.moc"

#include "ServerHttp.h"
#include "TestServer.h"

#include "Backend.h"
#include "chat/PendingModels.h"
#include "time/TimeDomainModels.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

QJsonObject lunch()
{
    return { { u"amount"_s, 50 }, { u"currency"_s, u"AUD"_s }, { u"category"_s, u"餐饮"_s },
        { u"date"_s, u"2026-11-21"_s }, { u"description"_s, u"午餐"_s }, { u"direction"_s, u"expense"_s },
        { u"_kind"_s, u"create"_s } };
}

QJsonObject coding()
{
    return { { u"date"_s, u"2026-11-21"_s }, { u"start_time"_s, u"09:00"_s }, { u"end_time"_s, u"11:00"_s },
        { u"activity"_s, u"coding"_s }, { u"category_id"_s, 1 }, { u"duration_min"_s, 5 },
        { u"source"_s, u"velmar-os-chat"_s }, { u"_kind"_s, u"create"_s } };
}

QJsonObject created(const QString& domain, const QJsonObject& payload)
{
    return { { u"domain"_s, domain }, { u"payload"_s, payload }, { u"source_text"_s, u"今天午餐 50"_s },
        { u"source_session"_s, u"default"_s } };
}

} // namespace

class PendingTest : public QObject {
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

    void committingAFinanceItemBooksItForTheHousehold()
    {
        QJsonObject payload = lunch();
        payload.remove(u"currency"_s);
        payload.insert(u"category"_s, u"买菜"_s);
        payload.insert(u"amount"_s, 8.5);
        payload.insert(u"items"_s,
            QJsonArray { QJsonObject { { u"name"_s, u"牛奶"_s }, { u"amount"_s, 5 } },
                QJsonObject { { u"name"_s, u"面包"_s }, { u"amount"_s, 3.5 } } });
        const wire::PendingItem item = create(u"finance"_s, payload);
        QCOMPARE(item.status, u"pending"_s);
        QCOMPARE(item.source_text, std::optional<QString>(u"今天午餐 50"_s));

        const wire::PendingItem committed = act(item.id, "commit");
        QCOMPARE(committed.status, u"committed"_s);
        QVERIFY(committed.committed_at.has_value());
        QVERIFY(committed.committed_ref.value_or(QString()).startsWith(u"finance:"_s));

        // The line is the household's: the bound member reads it too.
        const auto lines = m_server->server().backend().financeLedger().list(m_member, std::nullopt, std::nullopt);
        QCOMPARE(lines.size(), size_t(1));
        const wire::Transaction& line = lines.front();
        QCOMPARE(u"finance:"_s + QString::number(line.id), *committed.committed_ref);
        QCOMPARE(line.amount, 8.5);
        QCOMPARE(line.currency, std::optional<QString>(u"AUD"_s)); // the household's currency
        QCOMPARE(line.amount_aud, std::optional<double>(8.5));
        QCOMPARE(line.category, std::optional<QString>(u"买菜"_s));
        QCOMPARE(line.spender, std::optional<QString>(u"Velmar"_s)); // the speaker when nobody is named
        QCOMPARE(line.direction, std::optional<QString>(u"expense"_s));
        QCOMPARE(line.items_count, std::optional<int>(2));
        QCOMPARE(line.date, u"2026-11-21"_s);
        QCOMPARE(line.note, std::optional<QString>(u"cc:今天午餐 50"_s));
        QCOMPARE(
            m_server->server().backend().financeLedger().list(kitId(), std::nullopt, std::nullopt).size(), size_t(0));
    }

    void committingATimeItemWritesTheUsersEntry()
    {
        const wire::PendingItem committed = act(create(u"time"_s, coding()).id, "commit");
        QCOMPARE(committed.status, u"committed"_s);
        const auto entries = wire::fromBytes<std::vector<wire::TimeEntry>>(
            QByteArray::fromStdString(m_http->get("/time/list?limit=5", m_token).body));
        QCOMPARE(entries.size(), size_t(1));
        QCOMPARE(*committed.committed_ref, u"time:"_s + QString::number(entries.front().id));
        QCOMPARE(entries.front().duration_min, std::optional<double>(120.0)); // computed, not taken from the payload
        QCOMPARE(entries.front().confirmed, 1);
        QCOMPARE(entries.front().source, u"velmar-os-chat"_s);
        QCOMPARE(entries.front().category_id, std::optional<int>(1));
    }

    // Every second decision on an item is refused and changes nothing.
    void decidedItemsStayDecided_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<QString>("status");
        QTest::newRow("commit twice") << u"commit"_s << u"commit"_s << u"committed"_s;
        QTest::newRow("commit a rejected item") << u"reject"_s << u"commit"_s << u"rejected"_s;
        QTest::newRow("reject a committed item") << u"commit"_s << u"reject"_s << u"committed"_s;
        QTest::newRow("edit a committed item") << u"commit"_s << u"edit"_s << u"committed"_s;
    }
    void decidedItemsStayDecided()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(QString, status);
        const QString id = create(u"finance"_s, lunch()).id;
        QCOMPARE(act(id, first.toStdString()).status, status);
        const wire::PendingItem before = get(id);
        const size_t lines = ledgerSize();

        const Reply refused = second == u"edit"_s
            ? m_http->patch(path(id), QJsonObject { { u"payload"_s, QJsonObject { { u"amount"_s, 60 } } } }, m_token)
            : m_http->post(path(id) + "/" + second.toStdString(), "", m_token);
        QCOMPARE(refused.status, 409);
        QVERIFY(!refused.detail().isEmpty());
        QCOMPARE(get(id), before);
        QCOMPARE(ledgerSize(), lines);
    }

    // A payload that cannot become its record is refused by name and the item waits to be fixed.
    void unusablePayloadsWaitForAnEdit_data()
    {
        QTest::addColumn<QString>("domain");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("detailPart");
        QTest::newRow("no amount") << u"finance"_s << u"amount"_s << QJsonValue() << u"金额"_s;
        QTest::newRow("zero amount") << u"finance"_s << u"amount"_s << QJsonValue(0) << u"金额"_s;
        QTest::newRow("bad currency") << u"finance"_s << u"currency"_s << QJsonValue(u"dollars"_s) << u"币种"_s;
        QTest::newRow("bad date") << u"finance"_s << u"date"_s << QJsonValue(u"2026-02-30"_s) << u"日期"_s;
        QTest::newRow("sideways direction")
            << u"finance"_s << u"direction"_s << QJsonValue(u"refund"_s) << u"direction"_s;
        QTest::newRow("item without price")
            << u"finance"_s << u"items"_s << QJsonValue(QJsonArray { QJsonObject { { u"name"_s, u"牛奶"_s } } })
            << u"明细第 1 项"_s;
        QTest::newRow("unknown kind") << u"finance"_s << u"_kind"_s << QJsonValue(u"merge"_s) << u"merge"_s;
        QTest::newRow("no start") << u"time"_s << u"start_time"_s << QJsonValue() << u"start_time"_s;
        QTest::newRow("no activity") << u"time"_s << u"activity"_s << QJsonValue(u" "_s) << u"活动"_s;
        QTest::newRow("domain without a ledger") << u"transfer"_s << u"amount"_s << QJsonValue(10) << u"transfer"_s;
    }
    void unusablePayloadsWaitForAnEdit()
    {
        QFETCH(QString, domain);
        QFETCH(QString, field);
        QFETCH(QJsonValue, value);
        QFETCH(QString, detailPart);
        QJsonObject payload = domain == u"time"_s ? coding() : lunch();
        if (value.isNull())
            payload.remove(field);
        else
            payload.insert(field, value);
        const QString id = create(domain, payload).id;
        const Reply refused = m_http->post(path(id) + "/commit", "", m_token);
        QCOMPARE(refused.status, 422);
        QVERIFY2(refused.detail().contains(detailPart), qPrintable(refused.detail()));
        QCOMPARE(get(id).status, u"pending"_s);
        QCOMPARE(ledgerSize(), size_t(0));
        QCOMPARE(m_http->get("/time/list?limit=5", m_token).array().size(), 0);
    }

    void anEditedItemCommitsItsNewPayload()
    {
        const QString id = create(u"finance"_s, lunch()).id;
        QJsonObject changed = lunch();
        changed.insert(u"amount"_s, 60);
        changed.remove(u"_kind"_s);
        const Reply edited = m_http->patch(path(id), QJsonObject { { u"payload"_s, changed } }, m_token);
        QCOMPARE(edited.status, 200);
        const auto item = wire::fromBytes<wire::PendingItem>(QByteArray::fromStdString(edited.body));
        QCOMPARE(item.payload.at(u"amount"_s).doubleValue(), std::optional<double>(60));
        QCOMPARE(item.payload.at(u"_kind"_s), wire::AnyCodableValue(u"create"_s));
        act(id, "commit");
        QCOMPARE(m_server->server().backend().financeLedger().list(m_owner, std::nullopt, std::nullopt).front().amount,
            60.0);
    }

    void itemsBelongToTheirUser()
    {
        const QString id = create(u"finance"_s, lunch()).id;
        // The bound member shares the ledger, not the proposals.
        const QString token = m_server->issueToken(u"sefa"_s);
        QCOMPARE(m_http->get(path(id), token).status, 404);
        QCOMPARE(m_http->post(path(id) + "/commit", "", token).status, 404);
        QCOMPARE(m_http->post(path(id) + "/reject", "", token).status, 404);
        QCOMPARE(m_http->patch(path(id), QJsonObject { { u"payload"_s, QJsonObject {} } }, token).status, 404);
        QCOMPARE(m_http->get("/pending?status=pending", token).array().size(), 0);
        QCOMPARE(get(id).status, u"pending"_s);
        QCOMPARE(m_http->get("/pending/abc", m_token).status, 404);
        QCOMPARE(m_http->get("/pending", QString()).status, 401);
    }

    // Newest first, pending unless told otherwise; an unknown filter or domain is refused.
    void listingByStatusAndDomain()
    {
        const QString a = create(u"finance"_s, lunch()).id;
        const QString b = create(u"time"_s, coding()).id;
        const QString c = create(u"finance"_s, lunch()).id;
        act(a, "reject");
        QCOMPARE(ids("/pending"), (QStringList { c, b }));
        QCOMPARE(ids("/pending?status=rejected"), QStringList { a });
        QCOMPARE(m_http->get("/pending?status=done", m_token).status, 422);
        QCOMPARE(m_http->post("/pending", created(u"Finance!"_s, lunch()), m_token).status, 422);
        QCOMPARE(m_http->post("/pending", QJsonObject { { u"domain"_s, u"finance"_s } }, m_token).status, 422);
    }

private:
    wire::PendingItem create(const QString& domain, const QJsonObject& payload)
    {
        const Reply reply = m_http->post("/pending", created(domain, payload), m_token);
        if (reply.status != 200)
            qWarning() << reply.status << reply.detail();
        return wire::fromBytes<wire::PendingItem>(QByteArray::fromStdString(reply.body));
    }

    wire::PendingItem act(const QString& id, const std::string& action)
    {
        const Reply reply = m_http->post(path(id) + "/" + action, "", m_token);
        if (reply.status != 200)
            qWarning() << reply.status << reply.detail();
        return wire::fromBytes<wire::PendingItem>(QByteArray::fromStdString(reply.body));
    }

    wire::PendingItem get(const QString& id)
    {
        return wire::fromBytes<wire::PendingItem>(QByteArray::fromStdString(m_http->get(path(id), m_token).body));
    }

    QStringList ids(const std::string& query)
    {
        QStringList out;
        for (const QJsonValue& item : m_http->get(query, m_token).array())
            out.append(item.toObject().value(u"id"_s).toString());
        return out;
    }

    size_t ledgerSize()
    {
        return m_server->server().backend().financeLedger().list(m_owner, std::nullopt, std::nullopt).size();
    }
    int kitId() { return int(m_server->server().accounts().findUser(u"kit"_s)->id); }
    static std::string path(const QString& id) { return "/pending/" + id.toStdString(); }

    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerHttp> m_http;
    QString m_token;
    int m_owner = 0;
    int m_member = 0;
};

QTEST_GUILESS_MAIN(PendingTest)
#include "PendingTest.moc"

#include "ServerHttp.h"
#include "TestServer.h"

#include "services/HouseholdService.h"

#include <QJsonArray>
#include <QTest>

#include <algorithm>
#include <memory>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

const QString kPassword = u"pw"_s;

std::string bindBody(const QString& username)
{
    return QJsonDocument(QJsonObject { { u"username"_s, username }, { u"role"_s, u"member"_s } })
        .toJson(QJsonDocument::Compact)
        .toStdString();
}

std::string transferBody(int memberId)
{
    return QJsonDocument(QJsonObject { { u"member_id"_s, memberId } }).toJson(QJsonDocument::Compact).toStdString();
}

} // namespace

class RelationsTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<TestServer>();
        m_owner = m_server->createUser(u"velmar"_s, kPassword, u"Velmar"_s);
        m_member = m_server->createUser(u"sefa"_s, kPassword, u"Sefa"_s);
        m_other = m_server->createUser(u"kit"_s, kPassword, u"Kit"_s);
        m_http = std::make_unique<ServerHttp>(*m_server);
    }
    void cleanup()
    {
        m_http.reset();
        m_server.reset();
    }

    void bindingShowsOnBothSides()
    {
        const Reply bound = m_http->post("/auth/relations", bindBody(u" Sefa"_s), token(u"velmar"_s));
        QCOMPARE(bound.status, 200);
        QCOMPARE(bound.object().value(u"ok"_s).toBool(), true);
        QCOMPARE(bound.object().value(u"member"_s).toObject().value(u"id"_s).toInt(), m_member);

        QCOMPARE(relations(u"velmar"_s), (QList<QStringList> { { u"sefa"_s, u"member"_s, u"outgoing"_s } }));
        // The member sees the owner, with the member's own role: "TA 绑定你 · 你是 member".
        QCOMPARE(relations(u"sefa"_s), (QList<QStringList> { { u"velmar"_s, u"member"_s, u"incoming"_s } }));
        QCOMPARE(relations(u"kit"_s), QList<QStringList> {});
        QCOMPARE(household(m_member), household(m_owner));
    }

    void bindRefusals_data()
    {
        QTest::addColumn<QString>("username");
        QTest::addColumn<int>("status");
        QTest::newRow("unknown user") << u"ghost"_s << 404;
        QTest::newRow("already bound") << u"sefa"_s << 409;
        QTest::newRow("already bound, other case") << u"SEFA"_s << 409;
        QTest::newRow("oneself") << u"velmar"_s << 400;
    }
    void bindRefusals()
    {
        QFETCH(QString, username);
        QFETCH(int, status);
        m_server->bind(m_owner, m_member);
        const Reply reply = m_http->post("/auth/relations", bindBody(username), token(u"velmar"_s));
        QCOMPARE(reply.status, status);
        QVERIFY(!reply.detail().isEmpty());
        QCOMPARE(relations(u"velmar"_s).size(), 1);
    }

    void aUserBoundElsewhereOrWithMembersCannotBeBound()
    {
        m_server->bind(m_owner, m_member);
        // sefa belongs to velmar's household now: kit cannot take her.
        Reply reply = m_http->post("/auth/relations", bindBody(u"sefa"_s), token(u"kit"_s));
        QCOMPARE(reply.status, 409);
        // velmar has a member of his own: kit cannot bind him either.
        reply = m_http->post("/auth/relations", bindBody(u"velmar"_s), token(u"kit"_s));
        QCOMPARE(reply.status, 409);
        QCOMPARE(relations(u"kit"_s), QList<QStringList> {});
        QCOMPARE(relations(u"velmar"_s).size(), 1);
    }

    void aMemberCannotActAsOwner_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("bind") << "POST"_ba
                              << "/auth/relations"_ba << QByteArray::fromStdString(bindBody(u"kit"_s));
        QTest::newRow("remove the owner") << "DELETE"_ba
                                          << "/auth/relations/1"_ba << QByteArray();
        QTest::newRow("remove oneself") << "DELETE"_ba
                                        << "/auth/relations/2"_ba << QByteArray();
        QTest::newRow("take over") << "POST"_ba
                                   << "/auth/relations/transfer"_ba << QByteArray::fromStdString(transferBody(2));
        QTest::newRow("hand the owner over")
            << "POST"_ba
            << "/auth/relations/transfer"_ba << QByteArray::fromStdString(transferBody(1));
    }
    void aMemberCannotActAsOwner()
    {
        QFETCH(QByteArray, method);
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, body);
        QCOMPARE(m_owner, 1);
        QCOMPARE(m_member, 2);
        m_server->bind(m_owner, m_member);
        const auto before = std::make_pair(relations(u"velmar"_s), relations(u"kit"_s));

        const Reply reply
            = m_http->send(method.toStdString(), path.toStdString(), body.toStdString(), token(u"sefa"_s));
        QCOMPARE(reply.status, 403);
        QVERIFY(!reply.detail().isEmpty());
        QCOMPARE(std::make_pair(relations(u"velmar"_s), relations(u"kit"_s)), before);
        QCOMPARE(m_server->server().households().householdOf(m_owner).ownerId, qint64(m_owner));
    }

    void removingGivesTheMemberAHouseholdAgain()
    {
        const qint64 ownHousehold = household(m_member);
        m_server->bind(m_owner, m_member);
        const Reply reply = m_http->del("/auth/relations/" + std::to_string(m_member), token(u"velmar"_s));
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.object().value(u"ok"_s).toBool(), true);

        QCOMPARE(relations(u"velmar"_s), QList<QStringList> {});
        QCOMPARE(relations(u"sefa"_s), QList<QStringList> {});
        QCOMPARE(household(m_member), ownHousehold);
        QCOMPARE(m_server->server().households().householdOf(m_member).role, u"owner"_s);
        // And she can be bound again.
        QCOMPARE(m_http->post("/auth/relations", bindBody(u"sefa"_s), token(u"velmar"_s)).status, 200);
    }

    void removeRefusals_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<int>("status");
        QTest::newRow("not a member") << "/auth/relations/3"_ba << 404;
        QTest::newRow("no such user") << "/auth/relations/999"_ba << 404;
        QTest::newRow("not a number") << "/auth/relations/sefa"_ba << 404;
        QTest::newRow("oneself") << "/auth/relations/1"_ba << 400;
    }
    void removeRefusals()
    {
        QFETCH(QByteArray, path);
        QFETCH(int, status);
        m_server->bind(m_owner, m_member);
        const Reply reply = m_http->del(path.toStdString(), token(u"velmar"_s));
        QCOMPARE(reply.status, status);
        QCOMPARE(relations(u"velmar"_s).size(), 1);
    }

    void handOverSwapsTheRoles()
    {
        m_server->bind(m_owner, m_member);
        const qint64 shared = household(m_owner);
        const Reply reply = m_http->post("/auth/relations/transfer", transferBody(m_member), token(u"velmar"_s));
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.object().value(u"ok"_s).toBool(), true);
        QCOMPARE(reply.object().value(u"owner_id"_s).toInt(), m_member);

        QCOMPARE(relations(u"sefa"_s), (QList<QStringList> { { u"velmar"_s, u"member"_s, u"outgoing"_s } }));
        QCOMPARE(relations(u"velmar"_s), (QList<QStringList> { { u"sefa"_s, u"member"_s, u"incoming"_s } }));
        QCOMPARE(household(m_owner), shared);
        QCOMPARE(household(m_member), shared);

        // The old owner lost the owner's rights; the new one has them.
        QCOMPARE(m_http->del("/auth/relations/" + std::to_string(m_member), token(u"velmar"_s)).status, 403);
        QCOMPARE(m_http->post("/auth/relations", bindBody(u"kit"_s), token(u"sefa"_s)).status, 200);
        QCOMPARE(relations(u"sefa"_s).size(), 2);
    }

    void handOverRefusals_data()
    {
        QTest::addColumn<int>("memberId");
        QTest::addColumn<int>("status");
        QTest::newRow("not in the household") << 3 << 404;
        QTest::newRow("no such user") << 999 << 404;
        QTest::newRow("oneself") << 1 << 400;
    }
    void handOverRefusals()
    {
        QFETCH(int, memberId);
        QFETCH(int, status);
        m_server->bind(m_owner, m_member);
        QCOMPARE(m_http->post("/auth/relations/transfer", transferBody(memberId), token(u"velmar"_s)).status, status);
        QCOMPARE(m_server->server().households().householdOf(m_owner).ownerId, qint64(m_owner));
    }

    void concurrentBindsLetOnlyOneOwnerWin()
    {
        // Two owners race for the same free user; the write lock lets exactly one through.
        std::vector<int> statuses(2);
        std::thread first([&] {
            ServerHttp http(*m_server);
            statuses[0] = http.post("/auth/relations", bindBody(u"sefa"_s), token(u"velmar"_s)).status;
        });
        std::thread second([&] {
            ServerHttp http(*m_server);
            statuses[1] = http.post("/auth/relations", bindBody(u"sefa"_s), token(u"kit"_s)).status;
        });
        first.join();
        second.join();
        std::sort(statuses.begin(), statuses.end());
        QCOMPARE(statuses, (std::vector<int> { 200, 409 }));
        QCOMPARE(relations(u"velmar"_s).size() + relations(u"kit"_s).size(), 1);
    }

private:
    QString token(const QString& username) { return m_server->issueToken(username); }

    // The relations of /auth/me as [username, role, direction] rows.
    QList<QStringList> relations(const QString& username)
    {
        const Reply reply = m_http->get("/auth/me", token(username));
        if (reply.status != 200)
            return { { u"status"_s, QString::number(reply.status) } };
        QList<QStringList> rows;
        for (const QJsonValue& value : reply.object().value(u"relations"_s).toArray()) {
            const QJsonObject relation = value.toObject();
            rows.append({ relation.value(u"username"_s).toString(), relation.value(u"role"_s).toString(),
                relation.value(u"direction"_s).toString() });
        }
        return rows;
    }

    qint64 household(int userId) { return m_server->server().households().householdOf(userId).id; }

    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerHttp> m_http;
    int m_owner = 0;
    int m_member = 0;
    int m_other = 0;
};

QTEST_GUILESS_MAIN(RelationsTest)
#include "RelationsTest.moc"

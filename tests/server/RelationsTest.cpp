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

    // Binding shares the household; removing gives the member one of her own again.
    void bindingAndRemovingMoveTheMember()
    {
        const qint64 ownHousehold = household(m_member);
        const Reply bound = m_http->post("/auth/relations", bindBody(u" Sefa"_s), token(u"velmar"_s));
        QCOMPARE(bound.status, 200);
        QCOMPARE(bound.object().value(u"member"_s).toObject().value(u"id"_s).toInt(), m_member);
        QCOMPARE(relations(u"velmar"_s), (QList<QStringList> { { u"sefa"_s, u"member"_s, u"outgoing"_s } }));
        // The member sees the owner, with the member's own role.
        QCOMPARE(relations(u"sefa"_s), (QList<QStringList> { { u"velmar"_s, u"member"_s, u"incoming"_s } }));
        QCOMPARE(relations(u"kit"_s), QList<QStringList> {});
        QCOMPARE(household(m_member), household(m_owner));

        const Reply removed = m_http->del("/auth/relations/" + std::to_string(m_member), token(u"velmar"_s));
        QCOMPARE(removed.status, 200);
        QCOMPARE(relations(u"velmar"_s), QList<QStringList> {});
        QCOMPARE(relations(u"sefa"_s), QList<QStringList> {});
        QCOMPARE(household(m_member), ownHousehold);
        QCOMPARE(m_server->server().households().householdOf(m_member).role, u"owner"_s);
        QCOMPARE(m_http->post("/auth/relations", bindBody(u"sefa"_s), token(u"velmar"_s)).status, 200);
    }

    void ownerRequestsRefused_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        const auto row = [](const char* name, const char* method, const char* path, const std::string& body,
                             int status) {
            QTest::newRow(name) << QByteArray(method) << QByteArray(path) << QByteArray::fromStdString(body) << status;
        };
        row("bind an unknown user", "POST", "/auth/relations", bindBody(u"ghost"_s), 404);
        row("bind the member again", "POST", "/auth/relations", bindBody(u"sefa"_s), 409);
        row("bind oneself", "POST", "/auth/relations", bindBody(u"velmar"_s), 400);
        row("remove a stranger", "DELETE", "/auth/relations/3", {}, 404);
        row("remove oneself", "DELETE", "/auth/relations/1", {}, 400);
        row("hand over to a stranger", "POST", "/auth/relations/transfer", transferBody(3), 404);
        row("hand over to oneself", "POST", "/auth/relations/transfer", transferBody(1), 400);
    }
    void ownerRequestsRefused()
    {
        QFETCH(QByteArray, method);
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        QCOMPARE(m_other, 3);
        m_server->bind(m_owner, m_member);
        const Reply reply
            = m_http->send(method.toStdString(), path.toStdString(), body.toStdString(), token(u"velmar"_s));
        QCOMPARE(reply.status, status);
        QVERIFY(!reply.detail().isEmpty());
        QCOMPARE(relations(u"velmar"_s).size(), 1);
        QCOMPARE(m_server->server().households().householdOf(m_owner).ownerId, qint64(m_owner));
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
        QTest::newRow("take over") << "POST"_ba
                                   << "/auth/relations/transfer"_ba << QByteArray::fromStdString(transferBody(2));
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

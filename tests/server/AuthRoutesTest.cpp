#include "ServerHttp.h"
#include "TestServer.h"

#include "services/AccountService.h"
#include "services/ApiError.h"

#include <QFile>
#include <QJsonArray>

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString kPassword = u"correct horse"_s;

std::string loginBody(const QString& username, const QString& password)
{
    return QJsonDocument(QJsonObject { { u"username"_s, username }, { u"password"_s, password } })
        .toJson(QJsonDocument::Compact)
        .toStdString();
}

} // namespace

class AuthRoutesTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<TestServer>();
        m_velmarId = m_server->createUser(u"velmar"_s, kPassword, u"Velmar"_s);
        m_http = std::make_unique<ServerHttp>(*m_server);
    }
    void cleanup()
    {
        m_http.reset();
        m_server.reset();
    }

    void loginAcceptsTheNameAsTyped_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::newRow("exact") << u"velmar"_s;
        QTest::newRow("capitals and blanks") << u"  VelMar\t"_s;
    }
    void loginAcceptsTheNameAsTyped()
    {
        QFETCH(QString, typed);
        const Reply reply = m_http->post("/auth/login", loginBody(typed, kPassword));
        QCOMPARE(reply.status, 200);
        const QJsonObject answer = reply.object();
        QCOMPARE(answer.value(u"username"_s).toString(), u"velmar"_s);
        QCOMPARE(answer.value(u"user_id"_s).toInt(), m_velmarId);
        QCOMPARE(answer.value(u"display_name"_s).toString(), u"Velmar"_s);
        const QString token = answer.value(u"token"_s).toString();
        QVERIFY(token.size() >= 40);
        QCOMPARE(m_http->get("/auth/me", token).object().value(u"username"_s).toString(), u"velmar"_s);
    }

    void wrongCredentialsAreRefusedAlike_data()
    {
        QTest::addColumn<QString>("username");
        QTest::addColumn<QString>("password");
        QTest::newRow("wrong password") << u"velmar"_s << u"correct horsE"_s;
        QTest::newRow("unknown name") << u"nobody"_s << kPassword;
        QTest::newRow("empty name") << QString() << kPassword;
        QTest::newRow("password with trailing blank") << u"velmar"_s << kPassword + u' ';
    }
    void wrongCredentialsAreRefusedAlike()
    {
        QFETCH(QString, username);
        QFETCH(QString, password);
        const Reply reply = m_http->post("/auth/login", loginBody(username, password));
        QCOMPARE(reply.status, 401);
        QCOMPARE(reply.detail(), u"用户名或密码错误"_s);
    }

    void repeatedFailuresSlowDownOneName()
    {
        const int free = m_server->server().accounts().throttle().policy().freeFailures;
        for (int i = 0; i < free; ++i)
            QCOMPARE(m_http->post("/auth/login", loginBody(u"velmar"_s, u"guess"_s)).status, 401);

        // Now even the right password waits, and the wait is announced.
        Reply reply = m_http->post("/auth/login", loginBody(u"Velmar"_s, kPassword));
        QCOMPARE(reply.status, 429);
        const int firstWait = std::stoi(reply.header("Retry-After"));
        QVERIFY(firstWait > 0);
        QVERIFY2(reply.detail().contains(QString::number(firstWait)), qPrintable(reply.detail()));

        // Another name is not affected.
        m_server->createUser(u"sefa"_s, kPassword);
        QCOMPARE(m_http->post("/auth/login", loginBody(u"sefa"_s, kPassword)).status, 200);

        // After the pause one more guess is heard; failing it, the next pause is longer.
        m_server->clock().advance(firstWait - 1);
        QCOMPARE(m_http->post("/auth/login", loginBody(u"velmar"_s, u"guess"_s)).status, 429);
        m_server->clock().advance(1);
        QCOMPARE(m_http->post("/auth/login", loginBody(u"velmar"_s, u"guess"_s)).status, 401);
        reply = m_http->post("/auth/login", loginBody(u"velmar"_s, kPassword));
        QCOMPARE(reply.status, 429);
        const int secondWait = std::stoi(reply.header("Retry-After"));
        QVERIFY2(secondWait > firstWait, reply.header("Retry-After").c_str());

        // A success clears the count: the free failures are available again.
        m_server->clock().advance(secondWait);
        QCOMPARE(m_http->post("/auth/login", loginBody(u"velmar"_s, kPassword)).status, 200);
        for (int i = 0; i < free - 1; ++i)
            QCOMPARE(m_http->post("/auth/login", loginBody(u"velmar"_s, u"guess"_s)).status, 401);
        QCOMPARE(m_http->post("/auth/login", loginBody(u"velmar"_s, kPassword)).status, 200);
    }

    void failuresSpreadOverTimeAreForgiven()
    {
        const auto& policy = m_server->server().accounts().throttle().policy();
        for (int i = 0; i < policy.freeFailures - 1; ++i)
            QCOMPARE(m_http->post("/auth/login", loginBody(u"velmar"_s, u"guess"_s)).status, 401);
        m_server->clock().advance(policy.forgetAfterSecs);
        QCOMPARE(m_http->post("/auth/login", loginBody(u"velmar"_s, u"guess"_s)).status, 401);
        QCOMPARE(m_http->post("/auth/login", loginBody(u"velmar"_s, kPassword)).status, 200);
    }

    void logoutRevokesOnlyThePresentedToken()
    {
        const QString first = m_http->login(u"velmar"_s, kPassword);
        const QString second = m_http->login(u"velmar"_s, kPassword);
        QVERIFY(!first.isEmpty() && first != second);

        const Reply out = m_http->post("/auth/logout", "{}", first);
        QCOMPARE(out.status, 200);
        QCOMPARE(out.object().value(u"ok"_s).toBool(), true);

        QCOMPARE(m_http->get("/auth/me", first).status, 401);
        QCOMPARE(m_http->post("/auth/logout", "{}", first).status, 401);
        QCOMPARE(m_http->get("/auth/me", second).status, 200);
    }

    void badTokensAreUnauthorized_data()
    {
        QTest::addColumn<QString>("header");
        QTest::newRow("none") << QString();
        QTest::newRow("unknown token") << u"Bearer AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"_s;
        QTest::newRow("other scheme") << u"Basic dmVsbWFyOng="_s;
    }
    void badTokensAreUnauthorized()
    {
        QFETCH(QString, header);
        httplib::Client client("127.0.0.1", m_server->port());
        httplib::Headers headers;
        if (!header.isEmpty())
            headers.emplace("Authorization", header.toStdString());
        const auto result = client.Get("/auth/me", headers);
        QVERIFY(result);
        QCOMPARE(result->status, 401);
        QCOMPARE(
            QJsonDocument::fromJson(QByteArray::fromStdString(result->body)).object().value(u"detail"_s).isString(),
            true);
    }

    void malformedBodiesAreUnprocessable_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("field"); // named in the detail; empty: the body as a whole

        QTest::newRow("login: not JSON") << "/auth/login"_ba
                                         << "username=velmar"_ba << QString();
        QTest::newRow("login: array") << "/auth/login"_ba
                                      << R"(["velmar","x"])"_ba << QString();
        QTest::newRow("login: password missing") << "/auth/login"_ba
                                                 << R"({"username":"velmar"})"_ba << u"password"_s;
        QTest::newRow("login: name a number") << "/auth/login"_ba
                                              << R"({"username":7,"password":"x"})"_ba << u"username"_s;
        QTest::newRow("bind: username missing") << "/auth/relations"_ba
                                                << R"({"role":"member"})"_ba << u"username"_s;
        QTest::newRow("bind: role owner") << "/auth/relations"_ba
                                          << R"({"username":"sefa","role":"owner"})"_ba << u"role"_s;
        QTest::newRow("transfer: member_id fraction") << "/auth/relations/transfer"_ba
                                                      << R"({"member_id":2.5})"_ba << u"member_id"_s;
    }
    void malformedBodiesAreUnprocessable()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, body);
        QFETCH(QString, field);
        m_server->createUser(u"sefa"_s, kPassword);
        const Reply reply = m_http->post(path.toStdString(), body.toStdString(), m_server->issueToken(u"velmar"_s));
        QCOMPARE(reply.status, 422);
        QVERIFY2(!reply.detail().isEmpty(), reply.body.c_str());
        if (!field.isEmpty())
            QVERIFY2(reply.detail().contains(field), qPrintable(reply.detail()));
        // Nothing was bound on the way.
        QCOMPARE(
            m_http->get("/auth/me", m_server->issueToken(u"velmar"_s)).object().value(u"relations"_s).toArray().size(),
            0);
    }

    void unknownPathsAnswerNotFoundAsJson_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QByteArray>("path");
        QTest::newRow("unknown family") << "GET"_ba
                                        << "/nothing/here"_ba;
        QTest::newRow("known path, other method") << "DELETE"_ba
                                                  << "/auth/me"_ba;
        QTest::newRow("relation id not a number") << "DELETE"_ba
                                                  << "/auth/relations/abc/def"_ba;
    }
    void unknownPathsAnswerNotFoundAsJson()
    {
        QFETCH(QByteArray, method);
        QFETCH(QByteArray, path);
        const Reply reply
            = m_http->send(method.toStdString(), path.toStdString(), {}, m_server->issueToken(u"velmar"_s));
        QCOMPARE(reply.status, 404);
        QCOMPARE(reply.body, R"({"detail":"Not Found"})");
        QCOMPARE(reply.header("Content-Type"), "application/json; charset=utf-8");
    }

    void oversizedBodyIsRefusedWithADetail()
    {
        const std::string huge(m_server->server().config().maxBodyBytes + 1, 'x');
        const Reply reply = m_http->post("/auth/login", huge);
        QCOMPARE(reply.status, 413);
        QVERIFY(!reply.detail().isEmpty());
    }

    void restartKeepsThePortAndTheSessions()
    {
        const QString token = m_http->login(u"velmar"_s, kPassword);
        // Health needs no token and is all strings: a client decodes it as a plain map.
        const Reply health = m_http->get("/health");
        QCOMPARE(health.object().value(u"status"_s).toString(), u"ok"_s);
        for (const QJsonValue& value : health.object())
            QVERIFY(value.isString());
        const int port = m_server->port();
        m_server->stop();
        QCOMPARE(m_http->get("/health").status, 0);
        m_server->start();
        QCOMPARE(m_server->port(), port);
        QCOMPARE(m_http->get("/auth/me", token).status, 200);
    }

    void passwordsAndTokensAreNotStoredInClear()
    {
        const QString token = m_http->login(u"velmar"_s, kPassword);
        QFile file(m_server->server().backend().databasePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QByteArray everything = file.readAll();
        QFile wal(file.fileName() + u"-wal"_s);
        if (wal.open(QIODevice::ReadOnly))
            everything += wal.readAll();
        QVERIFY(everything.contains("$argon2id$"));
        QVERIFY(!everything.contains(kPassword.toUtf8()));
        QVERIFY(!everything.contains(token.toUtf8()));
    }

    void duplicateNamesAreRefused_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("other case") << u"VELMAR"_s;
        QTest::newRow("blanks around") << u" velmar "_s;
    }
    void duplicateNamesAreRefused()
    {
        QFETCH(QString, name);
        try {
            m_server->createUser(name, u"other"_s);
            QFAIL("a second account took the name");
        } catch (const lumen::ApiError& error) {
            QCOMPARE(error.status(), 409);
        }
        QCOMPARE(m_http->login(u"velmar"_s, u"other"_s), QString());
    }

private:
    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerHttp> m_http;
    int m_velmarId = 0;
};

QTEST_GUILESS_MAIN(AuthRoutesTest)
#include "AuthRoutesTest.moc"

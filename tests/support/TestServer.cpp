#include "TestServer.h"

#include "Backend.h"
#include "services/AccountService.h"
#include "services/ApiError.h"
#include "services/DemoSeeder.h"
#include "services/HouseholdService.h"

#include <stdexcept>

TestServer::TestServer()
    : TestServer(Options {})
{
}

TestServer::TestServer(Options options)
    : m_clock(std::make_shared<TestServerClock>())
{
    if (!m_dataDir.isValid())
        throw std::runtime_error("TestServer: no temporary folder");
    lumen::ServerConfig config;
    config.dataDir = m_dataDir.path();
    config.host = QStringLiteral("127.0.0.1");
    config.port = 0;
    config.workerThreads = options.workerThreads;
    config.passwordCost = lumen::PasswordCost::Minimum;
    config.clock = m_clock;
    config.agentTurnsPerMinute = options.agentTurnsPerMinute;
    m_server = std::make_unique<lumen::LumenServer>(std::move(config));
    if (options.start)
        start();
}

TestServer::~TestServer()
{
    stop();
}

void TestServer::start()
{
    m_server->start();
}

void TestServer::stop()
{
    m_server->stop();
}

QUrl TestServer::baseUrl() const
{
    return QUrl(m_server->baseUrl());
}

int TestServer::port() const
{
    return m_server->port();
}

QString TestServer::dataDir() const
{
    return m_dataDir.path();
}

QString TestServer::assetsDir() const
{
    return m_server->backend().assetsDir();
}

int TestServer::createUser(const QString& name, const QString& password, const QString& displayName)
{
    return int(m_server->accounts().createUser(name, password, displayName).id);
}

void TestServer::bind(int ownerId, int memberId)
{
    m_server->households().bindUser(ownerId, memberId, QStringLiteral("member"));
}

void TestServer::seedDemo(const QString& password)
{
    if (m_server->seeder().seed(password).alreadySeeded)
        throw std::runtime_error("TestServer: the demo household is already there");
}

QString TestServer::issueToken(const QString& username)
{
    const auto user = m_server->accounts().findUser(username);
    if (!user)
        throw lumen::ApiError::notFound(QStringLiteral("no user ") + username);
    return m_server->accounts().issueToken(user->id);
}

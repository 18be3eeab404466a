#include "LumenServer.h"

#include "Backend.h"
#include "agent/TurnRunner.h"
#include "routes/AgentRoutes.h"
#include "routes/AssetsRoutes.h"
#include "routes/AuthRoutes.h"
#include "routes/ChatSessionRoutes.h"
#include "routes/FinanceRoutes.h"
#include "routes/HealthRoutes.h"
#include "routes/PendingRoutes.h"
#include "routes/RouteSupport.h"
#include "routes/TimeRoutes.h"

#include <httplib.h>

#include <QDebug>

#include <chrono>
#include <stdexcept>

namespace lumen {

namespace {

constexpr auto kStartTimeout = std::chrono::seconds(10);

QString detailForStatus(int status, std::size_t maxBodyBytes)
{
    switch (status) {
    case 400:
        return QStringLiteral("Bad Request");
    case 404:
        return QStringLiteral("Not Found");
    case 413:
        return QStringLiteral("请求体过大（上限 %1 KB）").arg(maxBodyBytes / 1024);
    case 414:
        return QStringLiteral("请求地址过长");
    default:
        return QStringLiteral("HTTP %1").arg(status);
    }
}

} // namespace

LumenServer::LumenServer(ServerConfig config)
    : m_config(std::move(config))
{
    if (!m_config.clock)
        m_config.clock = std::make_shared<SystemClock>();
    m_backend = std::make_unique<Backend>(m_config.dataDir, m_config.passwordCost, m_config.clock);
    m_context = std::make_unique<routes::RouteContext>(routes::RouteContext { *m_backend });
    m_backend->turns().limiter().setLimit(m_config.agentTurnsPerMinute);
}

LumenServer::~LumenServer()
{
    stop();
}

void LumenServer::registerRoutes()
{
    httplib::Server& http = *m_http;
    // Route families; each later one (time, pending, chat, finance ...) adds its own line.
    routes::registerHealthRoutes(http, *m_context);
    routes::registerAuthRoutes(http, *m_context);
    routes::registerAssetsRoutes(http, *m_context);
    routes::registerTimeRoutes(http, *m_context);
    routes::registerPendingRoutes(http, *m_context);
    routes::registerFinanceRoutes(http, *m_context);
    routes::registerAgentRoutes(http, *m_context);
    routes::registerChatSessionRoutes(http, *m_context);
}

void LumenServer::start()
{
    if (m_http)
        return;
    auto http = std::make_unique<httplib::Server>();
    // Without it every keep-alive request waits for the peer's delayed ACK.
    http->set_tcp_nodelay(true);
    const int workers = std::max(1, m_config.workerThreads);
    http->new_task_queue = [workers] { return new httplib::ThreadPool(size_t(workers)); };
    http->set_payload_max_length(m_config.maxBodyBytes);
    const std::size_t maxBody = m_config.maxBodyBytes;
    // Called for every status from 400 up; routes write their own body, the rest
    // (unknown path, oversized body, unreadable request) gets one here.
    http->set_error_handler([maxBody](const httplib::Request&, httplib::Response& res) {
        if (res.body.empty())
            routes::sendError(res, res.status, detailForStatus(res.status, maxBody));
    });
    http->set_exception_handler([](const httplib::Request& req, httplib::Response& res, std::exception_ptr) {
        qWarning().noquote() << "[lumen-api]" << QString::fromStdString(req.method) << QString::fromStdString(req.path)
                             << "escaped its handler";
        routes::sendError(res, 500, QStringLiteral("服务器内部错误"));
    });
    m_http = std::move(http);
    registerRoutes();

    const std::string host = m_config.host.toStdString();
    int port = m_config.port;
    if (port == 0 && m_lastPort > 0 && m_http->bind_to_port(host, m_lastPort))
        port = m_lastPort; // a restarted server comes back where its clients left it
    else if (port == 0)
        port = m_http->bind_to_any_port(host);
    else if (!m_http->bind_to_port(host, port))
        port = -1;
    if (port <= 0) {
        m_http.reset();
        throw std::runtime_error("cannot listen on " + host + ":" + std::to_string(m_config.port));
    }
    m_port = port;
    m_lastPort = port;
    m_listener = std::thread([server = m_http.get()] { server->listen_after_bind(); });

    const auto deadline = std::chrono::steady_clock::now() + kStartTimeout;
    while (!m_http->is_running()) {
        if (std::chrono::steady_clock::now() > deadline) {
            stop();
            throw std::runtime_error("the listen thread did not start");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void LumenServer::stop()
{
    if (!m_http)
        return;
    m_http->stop();
    if (m_listener.joinable())
        m_listener.join();
    m_http.reset();
    m_port = 0;
}

bool LumenServer::isRunning() const
{
    return m_http && m_http->is_running();
}

QString LumenServer::baseUrl() const
{
    return QStringLiteral("http://%1:%2").arg(m_config.host).arg(m_port);
}

AccountService& LumenServer::accounts()
{
    return m_backend->accounts();
}

HouseholdService& LumenServer::households()
{
    return m_backend->households();
}

AssetsService& LumenServer::assets()
{
    return m_backend->assets();
}

DemoSeeder& LumenServer::seeder()
{
    return m_backend->seeder();
}

} // namespace lumen

#include "RelayServer.h"

#include "RelayError.h"
#include "RelayToken.h"

#include <httplib.h>

#include <QDebug>
#include <QFileInfo>
#include <QJsonObject>

#include <chrono>
#include <stdexcept>

namespace mintbridge {

namespace {

constexpr auto kStartTimeout = std::chrono::seconds(10);
const char* const kJsonContentType = "application/json; charset=utf-8";

void sendJson(httplib::Response& res, const QByteArray& body, int status = 200)
{
    res.status = status;
    res.set_content(body.constData(), size_t(body.size()), kJsonContentType);
}

void sendError(httplib::Response& res, int status, const QString& detail)
{
    sendJson(res, wire::serialize(QJsonObject { { QStringLiteral("detail"), detail } }), status);
}

std::optional<QString> bearerOf(const httplib::Request& req)
{
    const std::string header = req.get_header_value("Authorization");
    constexpr std::string_view scheme = "bearer ";
    if (header.size() <= scheme.size())
        return std::nullopt;
    for (size_t i = 0; i < scheme.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(header[i])) != scheme[i])
            return std::nullopt;
    }
    const QString token = QString::fromLatin1(header.substr(scheme.size())).trimmed();
    return token.isEmpty() ? std::nullopt : std::optional<QString>(token);
}

QString detailForStatus(int status)
{
    switch (status) {
    case 404:
        return QStringLiteral("没有这个接口（可用：GET /health、POST /intent）");
    case 405:
        return QStringLiteral("不支持这个请求方法");
    case 413:
        return QStringLiteral("请求体过大");
    default:
        return QStringLiteral("HTTP %1").arg(status);
    }
}

} // namespace

RelayServer::RelayServer(RelayConfig config)
    : m_config(std::move(config))
{
    if (!m_config.clock)
        m_config.clock = SystemRelayClock::shared();
    if (m_config.token.trimmed().isEmpty()) {
        if (m_config.tokenFilePath.isEmpty())
            throw std::runtime_error("mintbridge needs a token or a token file");
        m_config.token = RelayToken::loadOrCreate(m_config.tokenFilePath);
    }
    m_config.token = m_config.token.trimmed();
    m_service = std::make_unique<IntentService>(m_config);
}

RelayServer::~RelayServer()
{
    stop();
}

bool RelayServer::killSwitchOn() const
{
    return !m_config.killSwitchPath.isEmpty() && QFileInfo::exists(m_config.killSwitchPath);
}

void RelayServer::registerRoutes()
{
    httplib::Server& http = *m_http;

    http.Get("/health", [this](const httplib::Request&, httplib::Response& res) {
        QJsonObject body { { QStringLiteral("ok"), true } };
        if (killSwitchOn())
            body.insert(QStringLiteral("disabled"), true);
        sendJson(res, wire::serialize(body));
    });

    http.Post("/intent", [this](const httplib::Request& req, httplib::Response& res) {
        try {
            if (killSwitchOn())
                throw RelayError::killSwitch(m_config.killSwitchPath);
            const auto presented = bearerOf(req);
            if (!presented || !RelayToken::matches(*presented, m_config.token)) {
                res.set_header("WWW-Authenticate", "Bearer");
                throw RelayError::unauthorized();
            }
            const auto request = wire::fromBytes<wire::RelayIntentRequest>(QByteArray::fromStdString(req.body));
            sendJson(res, wire::toBytes(m_service->answer(request)));
        } catch (const wire::DecodeError& error) {
            sendError(res, 422, QStringLiteral("请求格式错误：%1").arg(error.description()));
        } catch (const RelayError& error) {
            if (error.retryAfter())
                res.set_header("Retry-After", std::to_string(std::max(1, *error.retryAfter())));
            sendError(res, error.status(), error.detail());
        } catch (const std::exception& error) {
            // The path and the failure only: bodies carry the household's sentences.
            qWarning().noquote() << "[mintbridge] POST /intent failed:" << error.what();
            sendError(res, 500, QStringLiteral("mintbridge 内部错误"));
        }
    });
}

void RelayServer::start()
{
    if (m_http)
        return;
    auto http = std::make_unique<httplib::Server>();
    // Without it every keep-alive request waits for the peer's delayed ACK.
    http->set_tcp_nodelay(true);
    const int workers = std::max(1, m_config.workerThreads);
    http->new_task_queue = [workers] { return new httplib::ThreadPool(size_t(workers)); };
    http->set_payload_max_length(m_config.maxBodyBytes);
    // A model command may take its whole allowance before the answer is written.
    const auto writeTimeout = std::chrono::duration_cast<std::chrono::seconds>(m_config.modelTimeout).count() + 10;
    http->set_write_timeout(time_t(writeTimeout), 0);
    http->set_error_handler([](const httplib::Request&, httplib::Response& res) {
        if (res.body.empty())
            sendError(res, res.status, detailForStatus(res.status));
    });
    http->set_exception_handler([](const httplib::Request& req, httplib::Response& res, std::exception_ptr) {
        qWarning().noquote() << "[mintbridge]" << QString::fromStdString(req.method) << QString::fromStdString(req.path)
                             << "escaped its handler";
        sendError(res, 500, QStringLiteral("mintbridge 内部错误"));
    });
    m_http = std::move(http);
    registerRoutes();

    const std::string host = m_config.host.toStdString();
    int port = m_config.port;
    if (port == 0)
        port = m_http->bind_to_any_port(host);
    else if (!m_http->bind_to_port(host, port))
        port = -1;
    if (port <= 0) {
        m_http.reset();
        throw std::runtime_error("cannot listen on " + host + ":" + std::to_string(m_config.port));
    }
    m_port = port;
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

void RelayServer::stop()
{
    if (!m_http)
        return;
    m_http->stop();
    if (m_listener.joinable())
        m_listener.join();
    m_http.reset();
    m_port = 0;
}

bool RelayServer::isRunning() const
{
    return m_http && m_http->is_running();
}

QString RelayServer::baseUrl() const
{
    return QStringLiteral("http://%1:%2").arg(m_config.host).arg(m_port);
}

} // namespace mintbridge

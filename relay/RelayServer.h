#pragma once

#include "IntentService.h"
#include "RelayConfig.h"

#include <QString>

#include <memory>
#include <thread>

namespace httplib {
class Server;
}

namespace mintbridge {

// mintbridge over HTTP: GET /health for anyone, POST /intent with the bearer token. start()
// listens on its own threads, so a test's Qt main thread stays free to await replies.
class RelayServer {
public:
    // Resolves the token (the configured one, else the token file, made on first start).
    // Throws std::runtime_error when there is none to be had.
    explicit RelayServer(RelayConfig config);
    RelayServer(const RelayServer&) = delete;
    RelayServer& operator=(const RelayServer&) = delete;
    ~RelayServer();

    // Binds and returns once requests are accepted; throws std::runtime_error when the
    // address cannot be bound.
    void start();
    // Stops accepting, lets running requests finish and joins the threads. Idempotent.
    void stop();
    bool isRunning() const;

    const RelayConfig& config() const { return m_config; }
    const QString& token() const { return m_config.token; }
    int port() const { return m_port; }
    QString baseUrl() const;
    IntentService& service() { return *m_service; }

private:
    void registerRoutes();
    bool killSwitchOn() const;

    RelayConfig m_config;
    std::unique_ptr<IntentService> m_service;
    std::unique_ptr<httplib::Server> m_http;
    std::thread m_listener;
    int m_port = 0;
};

} // namespace mintbridge

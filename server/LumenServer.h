#pragma once

#include "Backend.h"
#include "Clock.h"
#include "services/PasswordHasher.h"

#include <QString>

#include <cstddef>
#include <memory>
#include <thread>

namespace httplib {
class Server;
}

namespace lumen {

namespace routes {
struct RouteContext;
}

struct ServerConfig {
    QString dataDir;
    QString host = QStringLiteral("127.0.0.1");
    int port = 8787; // 0: the system picks a free port
    int workerThreads = 16; // every open keep-alive connection or event stream holds one
    PasswordCost passwordCost = PasswordCost::Interactive;
    std::shared_ptr<Clock> clock; // empty: the system clock
    // A few photos for the agent, base64-encoded, fit.
    std::size_t maxBodyBytes = 8 * 1024 * 1024;
    // Chat turns a user may start in any minute; 0 lifts the limit (benchmarks).
    int agentTurnsPerMinute = 20;
};

// lumen-api's HTTP server over a Backend. Construction opens (and migrates) the data folder;
// start() listens on its own threads, so the caller's thread stays free (a Qt main thread
// in tests).
class LumenServer {
public:
    // Throws when the data folder or its database cannot be opened.
    explicit LumenServer(ServerConfig config);
    LumenServer(const LumenServer&) = delete;
    LumenServer& operator=(const LumenServer&) = delete;
    ~LumenServer();

    // Binds, starts the listen thread and returns once requests are being accepted. After a
    // stop() it binds the same port again when it can, even when configured with 0.
    // Throws std::runtime_error when the address cannot be bound.
    void start();
    // Stops accepting, finishes the requests in progress and joins the threads. Idempotent.
    void stop();
    bool isRunning() const;

    const ServerConfig& config() const { return m_config; }
    // The bound port (the chosen one when configured with 0); 0 before start().
    int port() const { return m_port; }
    // "http://HOST:PORT".
    QString baseUrl() const;

    // The services, for seeding and inspection in-process.
    Backend& backend() { return *m_backend; }
    AccountService& accounts();
    HouseholdService& households();
    AssetsService& assets();
    DemoSeeder& seeder();

private:
    void registerRoutes();

    ServerConfig m_config;
    std::unique_ptr<Backend> m_backend;
    std::unique_ptr<routes::RouteContext> m_context;
    std::unique_ptr<httplib::Server> m_http;
    std::thread m_listener;
    int m_port = 0;
    int m_lastPort = 0;
};

} // namespace lumen

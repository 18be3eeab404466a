#pragma once

#include "LumenServer.h"
#include "ServerClock.h"

#include <QString>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>

using TestServerClock = ServerClock<lumen::Clock>;

// The real lumen-api, in-process, on 127.0.0.1 and a port the system picks, over a fresh
// data folder that disappears with it. Cheap password hashing keeps logins fast. The
// server answers on its own threads, so a test on the Qt main thread can await replies.
class TestServer {
public:
    struct Options {
        int workerThreads = 8;
        bool start = true; // false: prepare the folder and services, call start() later
        int agentTurnsPerMinute = 20; // chat turns per user and minute; 0 lifts the limit
    };

    TestServer();
    explicit TestServer(Options options);
    ~TestServer();

    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    void start();
    void stop();

    QUrl baseUrl() const;
    int port() const;
    QString dataDir() const;
    QString assetsDir() const;

    // Each throws (lumen::ApiError) on a refusal, such as a name already taken.
    int createUser(const QString& name, const QString& password, const QString& displayName = {});
    void bind(int ownerId, int memberId);
    // velmar (owner) and sefa (member), both with this password, plus the demo asset notes.
    void seedDemo(const QString& password);
    // A valid bearer token for the user, without a login.
    QString issueToken(const QString& username);

    lumen::LumenServer& server() { return *m_server; }
    TestServerClock& clock() { return *m_clock; }

private:
    QTemporaryDir m_dataDir;
    std::shared_ptr<TestServerClock> m_clock;
    std::unique_ptr<lumen::LumenServer> m_server;
};

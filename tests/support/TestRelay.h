#pragma once

// mintbridge in-process for tests: the real relay on 127.0.0.1 and a port the system picks,
// over a temporary home folder (token file, usage ledger, kill switch), with a clock the test
// moves. Header-only: a test that includes it links mintbridge_relay.

#include "RelayServer.h"
#include "ServerClock.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <stdexcept>

using TestRelayClock = ServerClock<mintbridge::RelayClock>;

class TestRelay {
public:
    struct Options {
        QString token = QStringLiteral("relay-test-token"); // empty: the token file decides
        QString modelCommand;
        std::chrono::milliseconds modelTimeout { 55000 };
        int dailyLimit = 200;
        bool preferBuiltin = false;
        bool start = true;
    };

    TestRelay()
        : TestRelay(Options {})
    {
    }
    explicit TestRelay(Options options)
        : m_clock(std::make_shared<TestRelayClock>())
        , m_options(std::move(options))
    {
        if (!m_home.isValid())
            throw std::runtime_error("TestRelay: no temporary folder");
        QDir().mkpath(binDir());
        if (m_options.start)
            start();
    }
    ~TestRelay() { stop(); }

    // Builds (or rebuilds, as a restart would) the server from the options and starts it.
    void start()
    {
        stop();
        m_server = std::make_unique<mintbridge::RelayServer>(config());
        m_server->start();
    }
    void stop()
    {
        if (m_server)
            m_server->stop();
        m_server.reset();
    }

    mintbridge::RelayConfig config() const
    {
        mintbridge::RelayConfig config
            = mintbridge::RelayConfig::standard(m_home.path(), [](const char*) { return QString(); });
        config.port = 0;
        config.token = m_options.token;
        config.modelCommand = m_options.modelCommand;
        config.modelTimeout = m_options.modelTimeout;
        config.dailyLimit = m_options.dailyLimit;
        config.preferBuiltin = m_options.preferBuiltin;
        config.clock = m_clock;
        return config;
    }

    Options& options() { return m_options; }
    mintbridge::RelayServer& server() { return *m_server; }
    TestRelayClock& clock() { return *m_clock; }
    QUrl baseUrl() const { return QUrl(m_server->baseUrl()); }
    int port() const { return m_server->port(); }
    QString token() const { return m_server->token(); }
    QString home() const { return m_home.path(); }
    QString binDir() const { return m_home.path() + QStringLiteral("/bin"); }
    QString tokenFilePath() const { return config().tokenFilePath; }
    QString ledgerPath() const { return config().usageLedgerPath; }
    QString killSwitchPath() const { return config().killSwitchPath; }

    void setKillSwitch(bool on) const
    {
        if (on) {
            QFile file(killSwitchPath());
            if (!file.open(QIODevice::WriteOnly))
                throw std::runtime_error("TestRelay: cannot write the kill switch");
        } else {
            QFile::remove(killSwitchPath());
        }
    }

    // An executable shell script under the temporary home, for a stand-in model command.
    QString writeScript(const QString& name, const QByteArray& body) const
    {
        const QString path = binDir() + QLatin1Char('/') + name;
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            throw std::runtime_error("TestRelay: cannot write a script");
        file.write("#!/bin/sh\n" + body + '\n');
        file.close();
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        return path;
    }

private:
    QTemporaryDir m_home;
    std::shared_ptr<TestRelayClock> m_clock;
    Options m_options;
    std::unique_ptr<mintbridge::RelayServer> m_server;
};

#pragma once

// One device as the relay client sees it: a temporary home (the app's data folder below it,
// the relay's older token file at ~/.config/mintbridge/bearer), a keychain held in memory
// when asked for, an environment the test sets, a clock it moves, and a MintbridgeClient
// aimed at the given address.

#include "ManualClock.h"
#include "MemoryKeychain.h"

#include "relay/MintbridgeClient.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QTemporaryDir>

#include <map>
#include <memory>

class RelayClientHarness {
public:
    struct Options {
        bool withKeychain = false;
        std::map<QByteArray, QString> environment;
        MintbridgeTimeouts timeouts {};
    };

    explicit RelayClientHarness(const QUrl& baseUrl)
        : RelayClientHarness(baseUrl, Options {})
    {
    }
    RelayClientHarness(const QUrl& baseUrl, Options options)
        : m_keychain(options.withKeychain ? std::make_shared<MemoryKeychain>() : nullptr)
        , m_environment(std::make_shared<std::map<QByteArray, QString>>(std::move(options.environment)))
        , m_clock(std::make_shared<ManualClock>())
        , m_bearers(ClientPaths::under(m_home.path() + QStringLiteral("/data")), m_home.path(), m_keychain,
              QStringLiteral("127.0.0.1"), RelayBearerStore::defaultAccount,
              [environment = m_environment](const char* name) {
                  const auto it = environment->find(QByteArray(name));
                  return it == environment->end() ? QString() : it->second;
              })
        , m_client(baseUrl, &m_bearers, m_clock, options.timeouts)
    {
    }

    ~RelayClientHarness() { m_client.networkAccessManager()->clearConnectionCache(); }

    MintbridgeClient& client() { return m_client; }
    RelayBearerStore& bearers() { return m_bearers; }
    MemoryKeychain* keychain() const { return m_keychain.get(); }
    ManualClock& clock() { return *m_clock; }
    QString home() const { return m_home.path(); }
    void setEnvironment(const QByteArray& name, const QString& value) { (*m_environment)[name] = value; }

    static void writeFile(const QString& path, const QByteArray& bytes)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(bytes);
    }
    static QString readFile(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

private:
    QTemporaryDir m_home;
    std::shared_ptr<MemoryKeychain> m_keychain;
    std::shared_ptr<std::map<QByteArray, QString>> m_environment;
    std::shared_ptr<ManualClock> m_clock;
    RelayBearerStore m_bearers;
    MintbridgeClient m_client;
};

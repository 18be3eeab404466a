#pragma once

#include "ManualClock.h"
#include "MemoryKeychain.h"

#include "session/AppState.h"
#include "session/KeychainStore.h"
#include "session/LumenAPIClient.h"
#include "session/StoreContext.h"

#include <QNetworkAccessManager>
#include <QTemporaryDir>

#include <chrono>
#include <memory>
#include <vector>

// One client as a device would hold it: its own data folder, credential files, an API
// client aimed at the given server, retry pauses recorded instead of slept.
class ClientHarness {
public:
    struct Options {
        bool withKeychain = false; // a keychain that answers, besides the files
        QString environmentBearer;
        LumenTimeouts timeouts {};

        static Options keychain()
        {
            Options options;
            options.withKeychain = true;
            return options;
        }
        static Options bearerInEnvironment(QString bearer)
        {
            Options options;
            options.environmentBearer = std::move(bearer);
            return options;
        }
        static Options shortTimeouts(LumenTimeouts timeouts)
        {
            Options options;
            options.timeouts = timeouts;
            return options;
        }
    };

    explicit ClientHarness(const QUrl& baseUrl)
        : ClientHarness(baseUrl, Options {})
    {
    }
    ClientHarness(const QUrl& baseUrl, Options options)
        : m_keychainBackend(options.withKeychain ? std::make_shared<MemoryKeychain>() : nullptr)
        , m_clock(std::make_shared<ManualClock>())
        , m_keychain(paths(), m_keychainBackend, QStringLiteral("127.0.0.1"),
              [bearer = options.environmentBearer](
                  const char* name) { return QByteArray(name) == "QUILLON_BEARER" ? bearer : QString(); })
        , m_api(baseUrl, &m_keychain, recordingSleep(), options.timeouts)
    {
    }

    ~ClientHarness() { m_api.networkAccessManager()->clearConnectionCache(); }

    ClientPaths paths() const { return ClientPaths::under(m_home.path()); }
    KeychainStore& keychain() { return m_keychain; }
    LumenAPIClient& api() { return m_api; }
    MemoryKeychain* keychainBackend() const { return m_keychainBackend.get(); }
    ManualClock& clock() { return *m_clock; }
    std::shared_ptr<const Clock> sharedClock() const { return m_clock; }
    const std::vector<std::chrono::milliseconds>& sleeps() const { return *m_sleeps; }
    AppStateDeps deps() { return AppStateDeps { &m_api, &m_keychain, paths(), m_clock }; }
    StoreContext storeContext() { return StoreContext { &m_api, paths(), m_clock }; }

private:
    LumenAPIClient::Sleep recordingSleep()
    {
        return [sleeps = m_sleeps](std::chrono::milliseconds delay) -> QCoro::Task<void> {
            sleeps->push_back(delay);
            co_return;
        };
    }

    QTemporaryDir m_home;
    std::shared_ptr<std::vector<std::chrono::milliseconds>> m_sleeps
        = std::make_shared<std::vector<std::chrono::milliseconds>>();
    std::shared_ptr<MemoryKeychain> m_keychainBackend;
    std::shared_ptr<ManualClock> m_clock;
    KeychainStore m_keychain;
    LumenAPIClient m_api;
};

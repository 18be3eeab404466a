#pragma once

#include "MintbridgeError.h"
#include "RelayBearerStore.h"

#include "relay/RelayModels.h"
#include "session/Clock.h"

#include <QSet>
#include <QUrl>

#include <chrono>
#include <memory>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;

struct MintbridgeTimeouts {
    std::chrono::milliseconds inactivity { 60000 }; // no byte for this long
    std::chrono::milliseconds resource { 75000 }; // the whole exchange; the relay gives up at 55 s
    std::chrono::milliseconds health { 5000 }; // a health check that waits longer is a failed one
};

// The client of mintbridge: one sentence in, the relay's reading out. The bearer token is
// found once through RelayBearerStore and cached; a 401 forgets it, so a re-pasted token
// works on the next call.
class MintbridgeClient {
public:
    using Timeouts = MintbridgeTimeouts;

    MintbridgeClient(QUrl baseURL, RelayBearerStore* bearers,
        std::shared_ptr<const Clock> clock = SystemClock::shared(), Timeouts timeouts = {});
    ~MintbridgeClient();
    MintbridgeClient(const MintbridgeClient&) = delete;
    MintbridgeClient& operator=(const MintbridgeClient&) = delete;

    static MintbridgeClient& shared();

    // GET /health: true when it answers 200 with `ok` true. Never throws.
    QCoro::Task<bool> health();
    // POST /intent with `ts` now. Throws MintbridgeError, or RelayBearerStore::StoreError when
    // no token is stored.
    QCoro::Task<wire::RelayIntentResponse> intent(
        QString text, QString section, std::optional<QString> model = std::nullopt);

    QCoro::Task<void> storeBearer(QString token);
    QCoro::Task<void> clearBearer();
    QCoro::Task<bool> hasBearer();

    const QUrl& baseURL() const { return m_baseURL; }
    RelayBearerStore& bearers() const { return *m_bearers; }
    const std::optional<QString>& bearerCache() const { return m_bearerCache; }
    QNetworkAccessManager* networkAccessManager() const { return m_network.get(); }

    // The `detail` of an error body, quietly: nothing when the body is not {"detail": "..."}.
    static std::optional<QString> parseDetail(const QByteArray& body);
    // The error of a non-2xx answer.
    static MintbridgeError errorForStatus(int status, std::optional<QString> detail);

private:
    struct Answer {
        int status = 0;
        QByteArray body;
    };

    std::optional<QUrl> makeURL(const QString& path) const;
    // One exchange; throws MintbridgeError for what is not an HTTP answer.
    QCoro::Task<Answer> send(QNetworkRequest request, std::optional<QByteArray> body,
        std::chrono::milliseconds inactivity, std::chrono::milliseconds resource);

    QUrl m_baseURL;
    RelayBearerStore* m_bearers;
    std::shared_ptr<const Clock> m_clock;
    Timeouts m_timeouts;
    std::unique_ptr<QNetworkAccessManager> m_network;
    QSet<QNetworkReply*> m_inFlight;
    bool m_shuttingDown = false;
    std::optional<QString> m_bearerCache;
};

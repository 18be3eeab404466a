#pragma once

#include "AgentEvent.h"
#include "AgentStream.h"

#include "session/LumenAPIClient.h"

#include <QJsonObject>
#include <QList>
#include <QNetworkReply>
#include <QPointer>
#include <QSet>
#include <QUrl>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

class KeychainStore;
class QNetworkAccessManager;

struct AgentTimeouts {
    std::chrono::milliseconds inactivity { 610000 }; // no byte for this long
    std::chrono::milliseconds resource { 620000 }; // the whole answer
};

// The one streaming connection of the app: a sentence (and images) to POST /agent/chat,
// answered by server-sent events that arrive as AgentEvent values. Besides the stream, the
// call that carries out a delete the agent proposed. Keeps no state between streams.
class AgentClient {
public:
    using Sleep = LumenAPIClient::Sleep;
    using Timeouts = AgentTimeouts;

    // The pause before the one retry of a connection lost before any event.
    static constexpr std::chrono::milliseconds retryPause { 350 };
    static constexpr std::chrono::milliseconds confirmDeleteTimeout { 60000 };

    AgentClient(
        QUrl baseURL, KeychainStore* keychain, Sleep sleep = LumenAPIClient::defaultSleep(), Timeouts timeouts = {});
    ~AgentClient();
    AgentClient(const AgentClient&) = delete;
    AgentClient& operator=(const AgentClient&) = delete;

    static AgentClient& shared();

    const QUrl& baseURL() const { return m_baseURL; }
    void setBaseURL(QUrl baseURL) { m_baseURL = std::move(baseURL); }
    KeychainStore& keychain() const { return *m_keychain; }
    QNetworkAccessManager* networkAccessManager() const { return m_network.get(); }
    const Timeouts& timeouts() const { return m_timeouts; }

    // Starts the request at once (on the next turn of the event loop, so a consumer can
    // connect first). `sessionId` is the agent's resume id, `chatSessionId` the client's chat
    // session: with it, a connection lost mid-answer ends quietly, since the answer comes
    // back later with the server's copy of the chat.
    std::unique_ptr<AgentStream> streamAgentChat(QString message, std::optional<QString> sessionId = std::nullopt,
        std::optional<QString> model = std::nullopt, std::vector<VisionImage> images = {},
        std::optional<QString> chatSessionId = std::nullopt);

    // POSTs `{}` to a delete endpoint the agent proposed (a path under the base, or a URL).
    // Throws LumenAPIError: unauthorized on 401, serverError(status) on any other refusal.
    QCoro::Task<void> confirmDelete(QString endpoint);

    // The request body, keys sorted; absent values and an empty image list are left out.
    static QByteArray requestBody(const QString& message, const std::optional<QString>& sessionId,
        const std::optional<QString>& model, const std::vector<VisionImage>& images,
        const std::optional<QString>& chatSessionId);
    // One decoded data object under its event name; nothing for an unknown or unusable event.
    static std::optional<AgentEvent> parseSSEEvent(const QString& type, const QJsonObject& object);
    // A failure that means the connection went away or never came: cannot connect, lost,
    // timed out. An abort the user asked for is not one.
    static bool isConnectionLost(QNetworkReply::NetworkError error, bool userAborted);

private:
    friend class AgentStream;

    std::optional<QUrl> chatURL() const;
    const Sleep& sleep() const { return m_sleep; }
    void forget(AgentStream* stream);

    QUrl m_baseURL;
    KeychainStore* m_keychain;
    Sleep m_sleep;
    Timeouts m_timeouts;
    std::unique_ptr<QNetworkAccessManager> m_network;
    QList<QPointer<AgentStream>> m_streams;
    QSet<QNetworkReply*> m_inFlight;
    bool m_shuttingDown = false;
};

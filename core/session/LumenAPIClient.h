#pragma once

#include "KeychainStore.h"
#include "LumenAPIError.h"

#include "assets/AssetModels.h"
#include "chat/ChatSessionModels.h"
#include "chat/PendingModels.h"
#include "session/SessionModels.h"
#include "time/TimeDomainModels.h"
#include "json/AnyCodableValue.h"
#include "json/AnyEncodable.h"

#include <QMap>
#include <QSet>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;

struct LumenTimeouts {
    std::chrono::milliseconds inactivity { 15000 }; // no byte for this long
    std::chrono::milliseconds resource { 30000 }; // the whole exchange
};

// The one HTTP client of lumen-api. Every store calls its typed operations; none builds a
// request itself. Each authenticated call reads the current token anew, so switching user
// takes effect on the next call.
class LumenAPIClient {
public:
    using Query = QMap<QString, QString>;
    using Sleep = std::function<QCoro::Task<void>(std::chrono::milliseconds)>;

    using Timeouts = LumenTimeouts;

    struct Multipart {
        QByteArray body;
        QString contentType;
    };

    LumenAPIClient(QUrl baseURL, KeychainStore* keychain, Sleep sleep = defaultSleep(), Timeouts timeouts = {});
    ~LumenAPIClient();
    LumenAPIClient(const LumenAPIClient&) = delete;
    LumenAPIClient& operator=(const LumenAPIClient&) = delete;

    static LumenAPIClient& shared();
    static Sleep defaultSleep();

    const QUrl& baseURL() const { return m_baseURL; }
    KeychainStore& keychain() const { return *m_keychain; }
    QNetworkAccessManager* networkAccessManager() const { return m_network.get(); }

    template<class T>
    QCoro::Task<T> request(QString path, QString method = QStringLiteral("GET"),
        std::optional<wire::AnyEncodable> body = std::nullopt, Query query = {}, bool requiresAuth = true)
    {
        std::optional<QByteArray> bytes;
        if (body)
            bytes = wire::serialize(body->json());
        const QByteArray answer = co_await perform(path, method, bytes, query, requiresAuth);
        co_return decodeAnswer<T>(answer);
    }

    template<class T>
    QCoro::Task<T> multipartRequest(
        QString path, QByteArray fileData, QString fileName, QString mimeType, Query fields, bool requiresAuth = true)
    {
        const QByteArray answer = co_await performMultipart(path, fileData, fileName, mimeType, fields, requiresAuth);
        co_return decodeAnswer<T>(answer);
    }

    // Retries what is worth retrying (5xx, transport, time-out) with 200 ms, 800 ms and 2 s
    // pauses; the pause also follows the last failed attempt. Reads only: writes never retry.
    template<class T> QCoro::Task<T> withRetry(int maxAttempts, std::function<QCoro::Task<T>()> operation)
    {
        if (maxAttempts <= 0)
            throw LumenAPIError::transport(QStringLiteral("retry exhausted"));
        std::optional<LumenAPIError> last;
        for (int attempt = 0;;) {
            try {
                co_return co_await operation();
            } catch (const LumenAPIError& error) {
                if (!error.isRetryable())
                    throw;
                last = error;
            }
            co_await m_sleep(retryDelay(attempt));
            ++attempt;
            if (attempt >= maxAttempts) {
                if (last)
                    throw *last;
                throw LumenAPIError::transport(QStringLiteral("retry exhausted"));
            }
        }
    }

    static std::chrono::milliseconds retryDelay(int attempt);
    static LumenAPIError errorForStatus(int status, std::optional<QString> detail);
    static Multipart buildMultipart(
        const QByteArray& fileData, const QString& fileName, const QString& mimeType, const Query& fields);

    // The raw exchange: the body of a 2xx answer, or a thrown LumenAPIError / KeychainError.
    QCoro::Task<QByteArray> perform(
        QString path, QString method, std::optional<QByteArray> body, Query query, bool requiresAuth);
    // The absolute URL of a path under the base, or nothing when it cannot be formed.
    std::optional<QUrl> makeURL(const QString& path, const Query& query = {}) const;

    // ---- /health, /auth ----
    QCoro::Task<wire::HealthResponse> health();
    QCoro::Task<wire::UserProfile> me();
    QCoro::Task<wire::LoginResponse> login(wire::LoginRequest body);
    QCoro::Task<wire::AnyCodableValue> addRelation(wire::AddRelationRequest body);
    QCoro::Task<wire::GenericOK> removeRelation(int memberID);
    QCoro::Task<wire::AnyCodableValue> transferOwner(wire::TransferOwnerRequest body);

    // ---- /assets ----
    QCoro::Task<wire::AssetsListResponse> assetsList();
    QCoro::Task<wire::AssetItem> asset(QString slug);

    // ---- /time (LumenAPIClientTime.cpp) ----
    QCoro::Task<wire::TimeCurrent> timeCurrent();
    QCoro::Task<wire::AnyCodableValue> timeStart(wire::TimeStartRequest body);
    QCoro::Task<wire::AnyCodableValue> timeStop(wire::TimeStopRequest body);
    // `limit` always; `date` and `confirmed` only when given.
    QCoro::Task<std::vector<wire::TimeEntry>> timeList(
        std::optional<QString> date, int limit, std::optional<int> confirmed);
    // At most 200 entries waiting for the user.
    QCoro::Task<std::vector<wire::TimeEntry>> timeListUnconfirmed();
    QCoro::Task<std::vector<wire::TimeCategory>> timeCategories();
    QCoro::Task<wire::TimeSummary> timeSummary(QString from, QString to);
    QCoro::Task<wire::TimeManualResponse> timeManual(wire::TimeManualRequest body);
    QCoro::Task<wire::GenericOK> timeUpdateEntry(int id, wire::TimeEntryUpdateRequest body);
    QCoro::Task<wire::GenericOK> timeDeleteEntry(int id);
    QCoro::Task<wire::TimeConfirmResponse> timeConfirmEntry(
        int id, std::optional<int> categoryId, std::optional<QString> activity);
    QCoro::Task<wire::TimeConfirmResponse> timePatchRestQuality(int id, QString quality);
    QCoro::Task<wire::TimeCategoryCreateResponse> timeCreateCategory(wire::TimeCategoryCreateRequest body);
    QCoro::Task<wire::GenericOK> timeUpdateCategory(int id, wire::TimeCategoryUpdateRequest body);
    QCoro::Task<wire::GenericOK> timeDeleteCategory(int id);

    // ---- /pending (LumenAPIClientPending.cpp) ----
    QCoro::Task<wire::PendingItem> createPending(wire::PendingCreate body);
    QCoro::Task<std::vector<wire::PendingItem>> listPending(QString status, std::optional<QString> domain);
    QCoro::Task<wire::PendingItem> getPending(QString id);
    QCoro::Task<wire::PendingItem> updatePending(QString id, wire::AnyDict payload);
    QCoro::Task<wire::PendingItem> commitPending(QString id);
    QCoro::Task<wire::PendingItem> rejectPending(QString id);

    // ---- /chat/sessions (LumenAPIClientChat.cpp) ----
    QCoro::Task<std::vector<wire::ChatSessionDTO>> chatSessions();
    QCoro::Task<wire::ChatSessionDTO> chatCreateSession(wire::ChatSessionCreate body);
    QCoro::Task<wire::ChatSessionDTO> chatUpdateSession(QString id, wire::ChatSessionPatch body);
    QCoro::Task<wire::GenericOK> chatDeleteSession(QString id);
    // The newest `limit` messages, oldest first.
    QCoro::Task<std::vector<wire::ChatMessageDTO>> chatMessages(QString sessionId, int limit);
    // A message id the session already holds is answered with its seq and stored once.
    QCoro::Task<wire::ChatMessagePostResult> chatPostMessage(QString sessionId, wire::ChatMessageCreate body);
    QCoro::Task<wire::GenericOK> chatClearMessages(QString sessionId);

private:
    template<class T> static T decodeAnswer(const QByteArray& bytes)
    {
        try {
            return wire::fromBytes<T>(bytes);
        } catch (const wire::DecodeError& error) {
            throw LumenAPIError::decodeFailed(error.description());
        }
    }

    QCoro::Task<QByteArray> performMultipart(
        QString path, QByteArray fileData, QString fileName, QString mimeType, Query fields, bool requiresAuth);
    QCoro::Task<QByteArray> send(QNetworkRequest request, QByteArray verb, std::optional<QByteArray> body);
    QNetworkRequest makeRequest(const QUrl& url) const;

    QUrl m_baseURL;
    KeychainStore* m_keychain;
    Sleep m_sleep;
    Timeouts m_timeouts;
    std::unique_ptr<QNetworkAccessManager> m_network;
    QSet<QNetworkReply*> m_inFlight;
    bool m_shuttingDown = false;
};

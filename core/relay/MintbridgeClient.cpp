#include "MintbridgeClient.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <qcoro/qcoronetworkreply.h>

#ifndef VELMAROS_RELAY_BASE
#define VELMAROS_RELAY_BASE "http://127.0.0.1:8788"
#endif

namespace {

// No complete HTTP answer arrived. Qt also flags 4xx and 5xx answers (400 even as a
// "protocol" error), so only the connection-level codes count here.
bool isNetworkFailure(QNetworkReply::NetworkError error)
{
    const int code = static_cast<int>(error);
    return (code >= 1 && code <= 99) || error == QNetworkReply::ProtocolUnknownError
        || error == QNetworkReply::ProtocolFailure;
}

// The moment with its offset, as the relay reads relative days from it.
QString isoNow(const QDateTime& now)
{
    return now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODate);
}

} // namespace

MintbridgeClient::MintbridgeClient(
    QUrl baseURL, RelayBearerStore* bearers, std::shared_ptr<const Clock> clock, Timeouts timeouts)
    : m_baseURL(std::move(baseURL))
    , m_bearers(bearers)
    , m_clock(std::move(clock))
    , m_timeouts(timeouts)
    , m_network(std::make_unique<QNetworkAccessManager>())
{
    m_network->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
}

MintbridgeClient::~MintbridgeClient()
{
    // Awaiting coroutines resume with an error instead of leaking their frames.
    m_shuttingDown = true;
    const auto replies = m_inFlight;
    for (QNetworkReply* reply : replies)
        reply->abort();
}

MintbridgeClient& MintbridgeClient::shared()
{
    static MintbridgeClient client(QUrl(QStringLiteral(VELMAROS_RELAY_BASE)), &RelayBearerStore::shared());
    return client;
}

std::optional<QString> MintbridgeClient::parseDetail(const QByteArray& body)
{
    try {
        const QJsonValue detail = wire::parse(body).toObject().value(QStringLiteral("detail"));
        if (detail.isString())
            return detail.toString();
    } catch (const wire::DecodeError&) {
    }
    return std::nullopt;
}

MintbridgeError MintbridgeClient::errorForStatus(int status, std::optional<QString> detail)
{
    switch (status) {
    case 401:
        return MintbridgeError::unauthorized();
    case 429:
        return MintbridgeError::rateLimited(std::move(detail));
    case 503:
        return MintbridgeError::killSwitchActive();
    case 504:
        return MintbridgeError::timeout();
    default:
        return MintbridgeError::serverError(status, std::move(detail));
    }
}

std::optional<QUrl> MintbridgeClient::makeURL(const QString& path) const
{
    QUrl url = m_baseURL;
    QString base = url.path();
    if (base.endsWith(QLatin1Char('/')))
        base.chop(1);
    url.setPath(base + QLatin1Char('/') + path);
    if (!url.isValid() || url.scheme().isEmpty() || url.host().isEmpty())
        return std::nullopt;
    return url;
}

QCoro::Task<MintbridgeClient::Answer> MintbridgeClient::send(QNetworkRequest request, std::optional<QByteArray> body,
    std::chrono::milliseconds inactivity, std::chrono::milliseconds resource)
{
    if (m_shuttingDown)
        throw MintbridgeError::transport(QStringLiteral("cancelled"));
    request.setTransferTimeout(static_cast<int>(inactivity.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    QNetworkReply* reply = body ? m_network->post(request, *body) : m_network->get(request);
    m_inFlight.insert(reply);

    bool resourceTimedOut = false;
    QTimer resourceTimer;
    resourceTimer.setSingleShot(true);
    QObject::connect(&resourceTimer, &QTimer::timeout, reply, [&resourceTimedOut, reply] {
        resourceTimedOut = true;
        reply->abort();
    });
    resourceTimer.start(resource);

    co_await reply;

    resourceTimer.stop();
    m_inFlight.remove(reply);
    const bool shuttingDown = m_shuttingDown;
    const auto error = reply->error();
    const QString errorText = reply->errorString();
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const QByteArray answer = reply->isOpen() ? reply->readAll() : QByteArray();
    reply->deleteLater();

    if (error == QNetworkReply::OperationCanceledError) {
        // A cancel we did not ask for is one of the two timers.
        if (shuttingDown && !resourceTimedOut)
            throw MintbridgeError::transport(QStringLiteral("cancelled"));
        throw MintbridgeError::timeout();
    }
    if (error == QNetworkReply::TimeoutError)
        throw MintbridgeError::timeout();
    if (isNetworkFailure(error))
        throw MintbridgeError::transport(errorText);
    if (!status.isValid())
        throw MintbridgeError::transport(QStringLiteral("no http response"));
    co_return Answer { status.toInt(), answer };
}

QCoro::Task<bool> MintbridgeClient::health()
{
    try {
        const auto url = makeURL(QStringLiteral("health"));
        if (!url)
            co_return false;
        const Answer answer = co_await send(QNetworkRequest(*url), std::nullopt, m_timeouts.health, m_timeouts.health);
        if (answer.status != 200)
            co_return false;
        co_return wire::parse(answer.body).toObject().value(QStringLiteral("ok")).toBool(false);
    } catch (...) {
    }
    co_return false;
}

QCoro::Task<wire::RelayIntentResponse> MintbridgeClient::intent(
    QString text, QString section, std::optional<QString> model)
{
    const auto url = makeURL(QStringLiteral("intent"));
    if (!url)
        throw MintbridgeError::badURL();
    if (!m_bearerCache)
        m_bearerCache = co_await m_bearers->bearer();
    const QString token = *m_bearerCache;

    const wire::RelayIntentRequest body { text, section, isoNow(m_clock->now()), model };
    QNetworkRequest request(*url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    const Answer answer = co_await send(request, wire::toBytes(body), m_timeouts.inactivity, m_timeouts.resource);

    if (answer.status >= 200 && answer.status <= 299) {
        try {
            co_return wire::fromBytes<wire::RelayIntentResponse>(answer.body);
        } catch (const wire::DecodeError& error) {
            throw MintbridgeError::decodeFailed(error.description());
        }
    }
    if (answer.status == 401) {
        // Only the token this call used: one stored meanwhile stays.
        if (m_bearerCache == token)
            m_bearerCache.reset();
    }
    throw errorForStatus(answer.status, parseDetail(answer.body));
}

QCoro::Task<void> MintbridgeClient::storeBearer(QString token)
{
    co_await m_bearers->store(token);
    m_bearerCache = token.trimmed();
}

QCoro::Task<void> MintbridgeClient::clearBearer()
{
    m_bearerCache.reset();
    co_await m_bearers->clear();
}

QCoro::Task<bool> MintbridgeClient::hasBearer()
{
    if (m_bearerCache)
        co_return true;
    co_return co_await m_bearers->hasToken();
}

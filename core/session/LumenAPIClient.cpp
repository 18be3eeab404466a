#include "LumenAPIClient.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QStringDecoder>
#include <QTimer>
#include <QUrlQuery>
#include <QUuid>
#include <qcoro/qcoronetworkreply.h>
#include <qcoro/qcorotimer.h>

#ifndef VELMAROS_API_BASE
#define VELMAROS_API_BASE "http://127.0.0.1:8787"
#endif

namespace {

constexpr qsizetype maxDetailBytes = 2048;

// An error body: its `detail`, else its first bytes as UTF-8 text; empty means none.
std::optional<QString> detailFrom(const QByteArray& body)
{
    try {
        const auto error = wire::fromBytes<wire::APIError>(body);
        return error.detail;
    } catch (const wire::DecodeError&) {
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(body.left(maxDetailBytes));
    if (decoder.hasError() || text.isEmpty())
        return std::nullopt;
    return text;
}

// Errors that mean no complete HTTP answer arrived. Qt also sets an error for 4xx and 5xx
// answers (400 even as a "protocol" error), so only the connection-level codes count here.
bool isNetworkFailure(QNetworkReply::NetworkError error)
{
    const int code = static_cast<int>(error);
    return (code >= 1 && code <= 99) || error == QNetworkReply::ProtocolUnknownError
        || error == QNetworkReply::ProtocolFailure;
}

} // namespace

LumenAPIClient::LumenAPIClient(QUrl baseURL, KeychainStore* keychain, Sleep sleep, Timeouts timeouts)
    : m_baseURL(std::move(baseURL))
    , m_keychain(keychain)
    , m_sleep(std::move(sleep))
    , m_timeouts(timeouts)
    , m_network(std::make_unique<QNetworkAccessManager>())
{
    m_network->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
}

LumenAPIClient::~LumenAPIClient()
{
    // Awaiting coroutines resume with a transport error instead of leaking their frames.
    m_shuttingDown = true;
    const auto replies = m_inFlight;
    for (QNetworkReply* reply : replies)
        reply->abort();
}

LumenAPIClient& LumenAPIClient::shared()
{
    static LumenAPIClient client(QUrl(QStringLiteral(VELMAROS_API_BASE)), &KeychainStore::shared());
    return client;
}

LumenAPIClient::Sleep LumenAPIClient::defaultSleep()
{
    return [](std::chrono::milliseconds delay) -> QCoro::Task<void> { co_await QCoro::sleepFor(delay); };
}

std::chrono::milliseconds LumenAPIClient::retryDelay(int attempt)
{
    using namespace std::chrono_literals;
    static constexpr std::chrono::milliseconds delays[] = { 200ms, 800ms, 2000ms };
    return delays[std::clamp(attempt, 0, 2)];
}

LumenAPIError LumenAPIClient::errorForStatus(int status, std::optional<QString> detail)
{
    switch (status) {
    case 401:
        return LumenAPIError::unauthorized(std::move(detail));
    case 403:
        return LumenAPIError::forbidden(std::move(detail));
    case 404:
        return LumenAPIError::notFound(std::move(detail));
    default:
        if (status >= 500 && status <= 599)
            return LumenAPIError::serverError(status, std::move(detail));
        return LumenAPIError::clientError(status, std::move(detail));
    }
}

LumenAPIClient::Multipart LumenAPIClient::buildMultipart(
    const QByteArray& fileData, const QString& fileName, const QString& mimeType, const Query& fields)
{
    const QByteArray boundary
        = "QuillonBoundary-" + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toUtf8();
    const QByteArray crlf = "\r\n";
    QByteArray body;
    body += "--" + boundary + crlf;
    body += "Content-Disposition: form-data; name=\"file\"; filename=\"" + fileName.toUtf8() + "\"" + crlf;
    body += "Content-Type: " + mimeType.toUtf8() + crlf;
    body += crlf;
    body += fileData;
    body += crlf;
    for (auto it = fields.begin(); it != fields.end(); ++it) {
        body += "--" + boundary + crlf;
        body += "Content-Disposition: form-data; name=\"" + it.key().toUtf8() + "\"" + crlf;
        body += crlf;
        body += it.value().toUtf8();
        body += crlf;
    }
    body += "--" + boundary + "--" + crlf;
    return { body, QStringLiteral("multipart/form-data; boundary=") + QString::fromUtf8(boundary) };
}

std::optional<QUrl> LumenAPIClient::makeURL(const QString& path, const Query& query) const
{
    QUrl url = m_baseURL;
    QString base = url.path();
    if (base.endsWith(QLatin1Char('/')))
        base.chop(1);
    const QString component = path.startsWith(QLatin1Char('/')) ? path : QLatin1Char('/') + path;
    url.setPath(base + component);
    if (!query.isEmpty()) {
        QUrlQuery items;
        for (auto it = query.begin(); it != query.end(); ++it)
            items.addQueryItem(it.key(), it.value());
        url.setQuery(items);
    }
    if (!url.isValid() || url.scheme().isEmpty() || url.host().isEmpty())
        return std::nullopt;
    return url;
}

QNetworkRequest LumenAPIClient::makeRequest(const QUrl& url) const
{
    QNetworkRequest request(url);
    request.setTransferTimeout(static_cast<int>(m_timeouts.inactivity.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    return request;
}

QCoro::Task<QByteArray> LumenAPIClient::perform(
    QString path, QString method, std::optional<QByteArray> body, Query query, bool requiresAuth)
{
    const auto url = makeURL(path, query);
    if (!url)
        throw LumenAPIError::badURL();
    QNetworkRequest request = makeRequest(*url);
    if (requiresAuth) {
        const QString token = co_await m_keychain->bearerV1();
        request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    }
    co_return co_await send(request, method.toUpper().toLatin1(), body);
}

QCoro::Task<QByteArray> LumenAPIClient::performMultipart(
    QString path, QByteArray fileData, QString fileName, QString mimeType, Query fields, bool requiresAuth)
{
    const auto url = makeURL(path);
    if (!url)
        throw LumenAPIError::badURL();
    QNetworkRequest request = makeRequest(*url);
    const Multipart multipart = buildMultipart(fileData, fileName, mimeType, fields);
    request.setHeader(QNetworkRequest::ContentTypeHeader, multipart.contentType);
    if (requiresAuth) {
        const QString token = co_await m_keychain->bearerV1();
        request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    }
    co_return co_await send(request, "POST", multipart.body);
}

QCoro::Task<QByteArray> LumenAPIClient::send(QNetworkRequest request, QByteArray verb, std::optional<QByteArray> body)
{
    if (m_shuttingDown)
        throw LumenAPIError::transport(QStringLiteral("cancelled"));
    QNetworkReply* reply
        = body ? m_network->sendCustomRequest(request, verb, *body) : m_network->sendCustomRequest(request, verb);
    m_inFlight.insert(reply);

    bool resourceTimedOut = false;
    QTimer resourceTimer;
    resourceTimer.setSingleShot(true);
    QObject::connect(&resourceTimer, &QTimer::timeout, reply, [&resourceTimedOut, reply] {
        resourceTimedOut = true;
        reply->abort();
    });
    resourceTimer.start(m_timeouts.resource);

    co_await reply;

    resourceTimer.stop();
    m_inFlight.remove(reply);
    const bool shuttingDown = m_shuttingDown;
    const auto error = reply->error();
    const QString errorText = reply->errorString();
    const QVariant statusAttribute = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const QByteArray answer = reply->isOpen() ? reply->readAll() : QByteArray();
    reply->deleteLater();

    if (error == QNetworkReply::OperationCanceledError) {
        // A cancel we did not ask for is one of the two timers.
        if (shuttingDown && !resourceTimedOut)
            throw LumenAPIError::transport(QStringLiteral("cancelled"));
        throw LumenAPIError::timeout();
    }
    if (error == QNetworkReply::TimeoutError)
        throw LumenAPIError::timeout();
    if (!statusAttribute.isValid() || isNetworkFailure(error))
        throw LumenAPIError::transport(errorText);

    const int status = statusAttribute.toInt();
    if (status >= 200 && status <= 299)
        co_return answer;
    throw errorForStatus(status, detailFrom(answer));
}

#include "SegmentPoster.h"

#include "SegmentQueue.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <qcoro/qcoronetworkreply.h>

#include <memory>

namespace {

constexpr int kTransferTimeoutMs = 20000;

QString detailOf(const QByteArray& body, int status)
{
    const QString detail = QJsonDocument::fromJson(body).object().value(QStringLiteral("detail")).toString();
    return detail.isEmpty() ? QStringLiteral("HTTP %1").arg(status) : detail;
}

} // namespace

SegmentPoster::SegmentPoster(QNetworkAccessManager& network, QUrl apiBase)
    : m_network(network)
    , m_apiBase(std::move(apiBase))
{
}

QCoro::Task<DeliveryOutcome> SegmentPoster::post(QueuedSegment segment, QString token)
{
    QUrl url = m_apiBase;
    url.setPath(url.path() + QStringLiteral("/time/manual"));
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    request.setRawHeader("Idempotency-Key", segment.clientKey.toUtf8());
    request.setTransferTimeout(kTransferTimeoutMs);

    std::unique_ptr<QNetworkReply, void (*)(QNetworkReply*)> reply(
        m_network.post(request, segment.body), [](QNetworkReply* r) { r->deleteLater(); });
    co_await reply.get();

    const QVariant statusValue = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!statusValue.isValid())
        co_return DeliveryOutcome { DeliveryOutcome::Kind::retryLater, reply->errorString() };
    const int status = statusValue.toInt();
    const QByteArray body = reply->readAll();
    if (status >= 200 && status < 300)
        co_return DeliveryOutcome { DeliveryOutcome::Kind::delivered, {} };
    if (status == 401)
        co_return DeliveryOutcome { DeliveryOutcome::Kind::unauthorized, detailOf(body, status) };
    if (status == 408 || status == 429 || status >= 500)
        co_return DeliveryOutcome { DeliveryOutcome::Kind::retryLater, detailOf(body, status) };
    co_return DeliveryOutcome { DeliveryOutcome::Kind::refused, detailOf(body, status) };
}

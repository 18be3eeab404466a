#pragma once

#include <QString>
#include <QUrl>

#include <qcoro/qcorotask.h>

class QNetworkAccessManager;
struct QueuedSegment;

// How one attempt to hand a segment to the backend ended.
struct DeliveryOutcome {
    enum class Kind {
        delivered,
        retryLater, // the backend is away or busy
        refused, // the backend will never take this segment as it is
        unauthorized, // the sensor's token is missing or no longer valid
    };
    Kind kind = Kind::retryLater;
    QString detail; // the backend's words, or what the network said

    bool operator==(const DeliveryOutcome&) const = default;
};

// Posts a queued segment to lumen-api as an unconfirmed time entry, under its key.
class SegmentPoster {
public:
    SegmentPoster(QNetworkAccessManager& network, QUrl apiBase);

    void setApiBase(QUrl apiBase) { m_apiBase = std::move(apiBase); }
    QCoro::Task<DeliveryOutcome> post(QueuedSegment segment, QString token);

private:
    QNetworkAccessManager& m_network;
    QUrl m_apiBase;
};

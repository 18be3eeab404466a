#include "SegmentDelivery.h"

#include "ProbeClock.h"
#include "SegmentPoster.h"
#include "SegmentQueue.h"

#include <QDebug>

#include <algorithm>

namespace {

constexpr int kFirstWaitSec = 2;
constexpr int kLongestWaitSec = 300;

} // namespace

SegmentDelivery::SegmentDelivery(SegmentQueue& queue, SegmentPoster& poster, const ProbeClock& clock, TokenSource token)
    : m_queue(queue)
    , m_poster(poster)
    , m_clock(clock)
    , m_token(std::move(token))
{
}

int SegmentDelivery::backoffSec(int failuresInARow)
{
    if (failuresInARow <= 0)
        return 0;
    const int doublings = std::min(failuresInARow - 1, 16);
    return std::min(kLongestWaitSec, kFirstWaitSec << doublings);
}

void SegmentDelivery::waitAfterFailure(const QString& problem)
{
    ++m_failures;
    m_retryAt = m_clock.now().addSecs(backoffSec(m_failures));
    m_problem = problem;
}

QCoro::Task<void> SegmentDelivery::drain()
{
    if (m_draining || (m_retryAt && m_clock.now() < *m_retryAt))
        co_return;
    m_draining = true;
    try {
        const std::optional<QString> token = m_token();
        while (const std::optional<QueuedSegment> segment = m_queue.next()) {
            if (!token) {
                m_problem = QStringLiteral("没有 focus-probe 的登录凭据：请运行 focus-probe sign-in；片段先存在本地");
                break;
            }
            const DeliveryOutcome outcome = co_await m_poster.post(*segment, *token);
            switch (outcome.kind) {
            case DeliveryOutcome::Kind::delivered:
                m_queue.markDelivered(segment->clientKey);
                m_failures = 0;
                m_retryAt.reset();
                m_problem.clear();
                continue;
            case DeliveryOutcome::Kind::refused:
                m_queue.markRefused(segment->clientKey, outcome.detail);
                qWarning().noquote() << "[FocusProbe] lumen-api refused a segment:" << outcome.detail;
                continue;
            case DeliveryOutcome::Kind::unauthorized:
                m_queue.markAttempt(segment->clientKey, outcome.detail);
                waitAfterFailure(QStringLiteral("lumen-api 不接受 focus-probe 的凭据：请重新运行 focus-probe sign-in"));
                break;
            case DeliveryOutcome::Kind::retryLater:
                m_queue.markAttempt(segment->clientKey, outcome.detail);
                waitAfterFailure(QStringLiteral("无法送达 lumen-api（%1），稍后重试").arg(outcome.detail));
                break;
            }
            break;
        }
        if (!m_queue.next())
            m_problem.clear();
    } catch (const std::exception& error) {
        waitAfterFailure(QStringLiteral("本地片段队列出错：%1").arg(QString::fromStdString(error.what())));
    }
    m_draining = false;
}

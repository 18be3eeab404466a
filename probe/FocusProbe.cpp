#include "FocusProbe.h"

#include "ForegroundSource.h"
#include "HealthWriter.h"
#include "ProbeClock.h"
#include "SegmentDelivery.h"
#include "SegmentQueue.h"

#include "time/TimeDomainModels.h"

#include <QDebug>

#include <cstdio>
#include <cstdlib>

namespace {

// How stale the kept copy of the open segment may get: what a crash can cost at most.
constexpr int kKeepOpenEverySec = 60;

// Problems go to stderr when they appear or change, not every few seconds.
void announce(const QStringList& before, const QStringList& now)
{
    for (const QString& problem : now) {
        if (!before.contains(problem))
            std::fprintf(stderr, "[focus-probe] %s\n", qUtf8Printable(problem));
    }
    if (!before.isEmpty() && now.isEmpty())
        std::fprintf(stderr, "[focus-probe] 采集恢复正常\n");
}

QCoro::Task<void> drainDetached(SegmentDelivery& delivery)
{
    co_await delivery.drain();
}

} // namespace

FocusProbe::FocusProbe(ForegroundSource& source, SegmentQueue& queue, SegmentDelivery& delivery, HealthWriter& health,
    const ProbeClock& clock, ProblemSource credentialProblem, FocusProbeConfig config)
    : m_source(source)
    , m_queue(queue)
    , m_delivery(delivery)
    , m_health(health)
    , m_clock(clock)
    , m_credentialProblem(std::move(credentialProblem))
    , m_config(std::move(config))
    , m_segmenter(m_config.segmenter)
{
    m_timer.setInterval(m_config.sampleIntervalMs);
    m_timer.setTimerType(Qt::CoarseTimer);
    connect(&m_timer, &QTimer::timeout, this, &FocusProbe::tick);
}

void FocusProbe::start()
{
    try {
        if (m_queue.recoverOpen())
            std::fprintf(stderr, "[focus-probe] 上次没有正常退出：已补记当时未结束的片段\n");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "[focus-probe] 未能补记上次未结束的片段：%s\n", error.what());
    }
    tick();
    m_timer.start();
}

void FocusProbe::tick()
{
    const ProbeSample sample = m_source.sample();
    record(m_segmenter.observe(m_clock.now(), sample), false);
    writeHealth(sample);
    drainDetached(m_delivery);
}

void FocusProbe::stop()
{
    m_timer.stop();
    record(m_segmenter.closeAll(), true);
    writeHealth(ProbeSample {});
}

void FocusProbe::record(const std::vector<Segment>& closed, bool closing)
{
    const QDateTime now = m_clock.now();
    const bool due = !m_openKeptAt || std::abs(m_openKeptAt->secsTo(now)) >= kKeepOpenEverySec;
    if (closed.empty() && m_unsaved.empty() && !closing && !due)
        return;
    std::vector<wire::TimeManualRequest> requests = std::move(m_unsaved);
    m_unsaved.clear();
    for (const Segment& segment : closed)
        requests.push_back(segmentRequest(segment, m_config.zone));
    std::optional<wire::TimeManualRequest> open;
    if (const std::optional<Segment> live = m_segmenter.live();
        !closing && live && live->lengthSec() >= m_segmenter.config().minimumSec)
        open = segmentRequest(*live, m_config.zone);
    try {
        m_queue.record(requests, open);
        m_openKeptAt = now;
    } catch (const std::exception& error) {
        // Held in memory and offered again at the next look, when the disk may have room.
        m_unsaved = std::move(requests);
        std::fprintf(stderr, "[focus-probe] 片段未能写入本地队列，下次再试：%s\n", error.what());
    }
}

void FocusProbe::writeHealth(const ProbeSample& sample)
{
    const SourceState state = m_source.state();
    HealthReport report;
    report.updatedAt = m_clock.now();
    report.window = sample.window;
    report.windowReadable = state.windowReadable;
    report.titleReadable = state.titleReadable;
    report.idleReadable = state.idleReadable;
    report.idleSec = sample.idleSec;
    report.sampleIntervalSec = m_config.sampleIntervalMs / 1000.0;
    report.liveSegment = m_segmenter.live();
    try {
        report.waitingSegments = m_queue.waitingCount();
        report.refusedSegments = m_queue.refusedCount();
    } catch (const std::exception& error) {
        report.problems << QStringLiteral("本地片段队列出错：%1").arg(QString::fromUtf8(error.what()));
    }
    report.problems << state.problems;
    if (const QString credentials = m_credentialProblem ? m_credentialProblem() : QString(); !credentials.isEmpty())
        report.problems << credentials;
    else if (!m_delivery.problem().isEmpty())
        report.problems << m_delivery.problem();
    if (!m_health.write(report))
        report.problems << m_health.problem();
    announce(m_problems, report.problems);
    m_problems = report.problems;
}

#include "Segmenter.h"

#include <algorithm>

Segmenter::Segmenter(SegmenterConfig config)
    : m_config(config)
{
    m_config.minimumSec = std::max(60, m_config.minimumSec);
    m_config.idleThresholdSec = std::max(m_config.minimumSec, m_config.idleThresholdSec);
    m_config.maximumSec = std::max(m_config.minimumSec * 2, m_config.maximumSec);
}

Segmenter::Activity Segmenter::activityOf(const ProbeSample& sample, int idleThresholdSec)
{
    if (sample.idleSec && *sample.idleSec >= idleThresholdSec)
        return Activity { {}, {}, true, false };
    if (sample.window)
        return Activity { sample.window->appName, sample.window->title, false, false };
    return Activity { {}, {}, false, true };
}

std::vector<Segment> Segmenter::observe(const QDateTime& at, const ProbeSample& sample)
{
    std::vector<Segment> closed;
    const Activity now = activityOf(sample, m_config.idleThresholdSec);

    if (m_lastAt) {
        const qint64 gapMs = m_lastAt->msecsTo(at);
        if (gapMs < 0 || gapMs > qint64(m_config.maxGapSec) * 1000) {
            // Asleep or the clock was set: what was open ends at the last look that saw it.
            absorbPending();
            closeOpenAt(*m_lastAt, closed);
            m_lastAt.reset();
            m_lastActivity.reset();
        } else {
            credit(gapMs);
        }
    }

    // Idle and return are known to the second from the idle counter, so they cut at once.
    const bool wasOffscreen = m_open && m_open->activity.offscreen;
    const bool isOffscreen = now.offscreen;
    if (m_open && wasOffscreen != isOffscreen) {
        const QDateTime inputAt = at.addSecs(-sample.idleSec.value_or(0));
        const QDateTime cut = std::clamp(inputAt, m_open->start, at);
        absorbPending();
        closeOpenAt(cut, closed);
        if (!now.none)
            openAt(now, cut);
    } else if (!m_open) {
        m_pending.reset();
        if (!now.none) {
            // Idle that began before the previous look, or before the sensor ran, is not claimed.
            const QDateTime inputAt = isOffscreen ? at.addSecs(-sample.idleSec.value_or(0)) : at;
            openAt(now, m_lastAt ? std::clamp(inputAt, *m_lastAt, at) : at);
        }
    } else if (now == m_open->activity) {
        absorbPending();
    } else if (m_pending && now == m_pending->activity) {
        if (m_pending->start.secsTo(at) >= m_config.minimumSec) {
            Open next = std::move(*m_pending);
            m_pending.reset();
            if (m_open->start.secsTo(next.start) < m_config.minimumSec) {
                // A short start folds into what the user then stayed with.
                for (const auto& [app, ms] : m_open->appMs)
                    next.appMs[app] += ms;
                next.start = m_open->start;
                m_open.reset();
            } else {
                closeOpenAt(next.start, closed);
            }
            if (!now.none)
                m_open = std::move(next);
        }
    } else {
        absorbPending();
        m_pending = Open { now, at, {} };
    }

    if (m_open && m_open->start.secsTo(at) >= m_config.maximumSec) {
        const QDateTime cut = m_open->start.addSecs(m_config.maximumSec);
        const Activity same = m_open->activity;
        absorbPending();
        closeOpenAt(cut, closed);
        openAt(same, cut);
    }

    m_lastAt = at;
    m_lastActivity = now;
    return closed;
}

std::vector<Segment> Segmenter::closeAll()
{
    std::vector<Segment> closed;
    if (m_lastAt) {
        absorbPending();
        closeOpenAt(*m_lastAt, closed);
    }
    m_lastAt.reset();
    m_lastActivity.reset();
    return closed;
}

std::optional<Segment> Segmenter::live() const
{
    if (!m_open || !m_lastAt)
        return std::nullopt;
    Segment segment { m_open->start, *m_lastAt, m_open->activity.appName, m_open->activity.title,
        m_open->activity.offscreen, m_open->appMs };
    return segment;
}

void Segmenter::credit(qint64 ms)
{
    if (!m_lastActivity || m_lastActivity->offscreen || m_lastActivity->none)
        return;
    Open* target = m_pending ? &*m_pending : (m_open ? &*m_open : nullptr);
    if (target)
        target->appMs[m_lastActivity->appName] += ms;
}

void Segmenter::absorbPending()
{
    if (!m_pending)
        return;
    if (m_open) {
        for (const auto& [app, ms] : m_pending->appMs)
            m_open->appMs[app] += ms;
    }
    m_pending.reset();
}

void Segmenter::closeOpenAt(const QDateTime& at, std::vector<Segment>& closed)
{
    if (!m_open)
        return;
    Segment segment { m_open->start, std::max(at, m_open->start), m_open->activity.appName, m_open->activity.title,
        m_open->activity.offscreen, std::move(m_open->appMs) };
    m_open.reset();
    // Below a minute the ledger cannot hold it; the neighbours' shares already count it.
    if (segment.lengthSec() >= m_config.minimumSec)
        closed.push_back(std::move(segment));
}

void Segmenter::openAt(const Activity& activity, const QDateTime& at)
{
    m_open = Open { activity, at, {} };
    m_pending.reset();
}

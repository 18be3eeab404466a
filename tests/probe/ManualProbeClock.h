#pragma once

#include "ProbeClock.h"

// The sensor's clock, moved by the test.
class ManualProbeClock final : public ProbeClock {
public:
    explicit ManualProbeClock(QDateTime start)
        : m_now(std::move(start))
    {
    }
    QDateTime now() const override { return m_now; }
    void advance(qint64 seconds) { m_now = m_now.addSecs(seconds); }

private:
    QDateTime m_now;
};

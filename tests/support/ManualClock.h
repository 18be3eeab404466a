#pragma once

#include "session/Clock.h"

#include <QTimeZone>

// A clock that only moves when the test says so.
class ManualClock final : public Clock {
public:
    explicit ManualClock(QDateTime start = QDateTime(QDate(2026, 11, 21), QTime(9, 30), Qt::UTC))
        : m_now(std::move(start))
    {
    }
    QDateTime now() const override { return m_now; }
    void set(QDateTime value) { m_now = std::move(value); }
    void advance(qint64 seconds) { m_now = m_now.addSecs(seconds); }

private:
    QDateTime m_now;
};

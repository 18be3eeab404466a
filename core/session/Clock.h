#pragma once

#include <QDateTime>

#include <memory>

// Where "now" comes from; tests pass a clock they can move.
class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
};

class SystemClock final : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTime(); }
    static std::shared_ptr<const Clock> shared()
    {
        static const auto clock = std::make_shared<SystemClock>();
        return clock;
    }
};

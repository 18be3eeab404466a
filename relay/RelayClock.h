#pragma once

#include <QDateTime>

#include <memory>

namespace mintbridge {

// Where the relay's "now" comes from: the default reference time of a sentence and the
// 24-hour window of model calls. Tests pass one they can move.
class RelayClock {
public:
    virtual ~RelayClock() = default;
    virtual QDateTime now() const = 0;
};

class SystemRelayClock final : public RelayClock {
public:
    QDateTime now() const override { return QDateTime::currentDateTimeUtc(); }
    static std::shared_ptr<const RelayClock> shared()
    {
        static const auto clock = std::make_shared<SystemRelayClock>();
        return clock;
    }
};

} // namespace mintbridge

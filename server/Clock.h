#pragma once

#include <QDateTime>

#include <memory>

namespace lumen {

// Where the server's "now" comes from; tests pass one they can move so time-based rules
// (the login slow-down, token bookkeeping) are checked without sleeping.
class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;

    qint64 nowSecs() const { return now().toSecsSinceEpoch(); }
};

class SystemClock final : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTimeUtc(); }
};

} // namespace lumen

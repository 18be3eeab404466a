#pragma once

#include <QDateTime>

// Wall-clock time for the sensor; tests move it by hand so gaps and back-off need no sleeping.
class ProbeClock {
public:
    virtual ~ProbeClock() = default;
    virtual QDateTime now() const = 0;
};

class SystemProbeClock final : public ProbeClock {
public:
    QDateTime now() const override { return QDateTime::currentDateTimeUtc(); }
};

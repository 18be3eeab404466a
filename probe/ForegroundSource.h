#pragma once

#include "ProbeSample.h"

#include <QStringList>

// What a source can see now, and in the user's words what it cannot.
struct SourceState {
    bool windowReadable = false;
    bool titleReadable = false;
    bool idleReadable = false;
    QStringList problems;

    bool operator==(const SourceState&) const = default;
};

// The desktop the sensor looks at; the X11 one in the program, others in tests or later.
class ForegroundSource {
public:
    virtual ~ForegroundSource() = default;
    // One look; a source that lost its display tries to reach it again here.
    virtual ProbeSample sample() = 0;
    virtual SourceState state() const = 0;
};

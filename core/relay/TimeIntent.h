#pragma once

#include "relay/RelayModels.h"

#include <optional>

// What a time sentence asks for, read from the relay's "time" answer.
struct TimeIntent {
    enum class Action { start, stop, manual, unknown };

    Action action = Action::unknown;
    std::optional<QString> activity;
    std::optional<QString> date; // yyyy-MM-dd
    std::optional<QString> startTime; // HH:MM
    std::optional<QString> endTime;
    std::optional<double> durationMin;
    std::optional<double> confidence;
    std::optional<QString> error;

    bool operator==(const TimeIntent&) const = default;

    // Nothing without a `parsed` object. A key holding another type counts as missing; an
    // action that is none of start, stop, manual is `unknown`.
    static std::optional<TimeIntent> fromResponse(const wire::RelayIntentResponse& response);
};

#pragma once

#include <QString>

#include <optional>

// The window that has the user's attention, as the display server tells it.
struct ForegroundWindow {
    QString appName; // what the user would call the program
    QString appClass; // the window's class, the closest thing to a bundle identifier
    QString title;
    qint64 pid = 0;

    bool operator==(const ForegroundWindow&) const = default;
};

// One look at the desktop. No window means nothing can be said about the foreground; no idle
// means no source for it, not that the user is active.
struct ProbeSample {
    std::optional<ForegroundWindow> window;
    std::optional<int> idleSec;

    bool operator==(const ProbeSample&) const = default;
};

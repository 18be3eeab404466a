#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <map>
#include <string>

namespace mintbridge {

// One run of a shell command line: `input` on its standard input, both outputs collected,
// the whole process group killed when it outlives `timeout`. Blocking; safe on any thread.
class CommandRunner {
public:
    struct Outcome {
        enum class Status { Exited, Signalled, TimedOut, NotStarted };
        Status status = Status::NotStarted;
        int exitCode = -1; // for Exited; the signal number for Signalled
        QByteArray out;
        QByteArray err;
        std::chrono::milliseconds elapsed { 0 };
        QString startError; // for NotStarted
    };

    // Output beyond this is read and dropped, so a runaway command cannot fill memory.
    static constexpr qsizetype maxOutputBytes = 4 * 1024 * 1024;

    static Outcome run(const QString& commandLine, const QByteArray& input,
        const std::map<std::string, std::string>& extraEnvironment, std::chrono::milliseconds timeout);
};

} // namespace mintbridge

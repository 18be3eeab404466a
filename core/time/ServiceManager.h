#pragma once

#include <QString>
#include <QStringList>

#include <qcoro/qcorotask.h>

// Asks the platform's service manager to restart the capture sensor.
class ServiceManager {
public:
    virtual ~ServiceManager() = default;
    // True when the request ran and the service manager reported success.
    virtual QCoro::Task<bool> restartFocusProbe() = 0;
};

// The real one: a child process of systemctl (Linux) or launchctl (macOS).
class SystemServiceManager final : public ServiceManager {
public:
    struct Command {
        QString program;
        QStringList arguments;

        bool operator==(const Command&) const = default;
    };

    // `systemctl --user restart focus-probe`, or on macOS
    // `launchctl kickstart -k gui/{uid}/com.velmar.focus-probe`.
    static Command restartCommand();

    explicit SystemServiceManager(Command command = restartCommand());

    const Command& command() const { return m_command; }
    // Starts the command and waits for it; a command that cannot start is a failure.
    QCoro::Task<bool> restartFocusProbe() override;

private:
    Command m_command;
};

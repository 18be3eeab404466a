#include "ServiceManager.h"

#include <QProcess>

#include <qcoro/qcoroprocess.h>

#include <chrono>

#ifdef Q_OS_MACOS
#include <unistd.h>
#endif

SystemServiceManager::Command SystemServiceManager::restartCommand()
{
#ifdef Q_OS_MACOS
    return { QStringLiteral("/bin/launchctl"),
        { QStringLiteral("kickstart"), QStringLiteral("-k"),
            QStringLiteral("gui/%1/com.velmar.focus-probe").arg(static_cast<qulonglong>(getuid())) } };
#else
    return { QStringLiteral("systemctl"),
        { QStringLiteral("--user"), QStringLiteral("restart"), QStringLiteral("focus-probe") } };
#endif
}

SystemServiceManager::SystemServiceManager(Command command)
    : m_command(std::move(command))
{
}

QCoro::Task<bool> SystemServiceManager::restartFocusProbe()
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    const bool started = co_await qCoro(process).start(
        m_command.program, m_command.arguments, QIODevice::ReadOnly, std::chrono::seconds(5));
    if (!started)
        co_return false;
    const bool finished = co_await qCoro(process).waitForFinished(std::chrono::seconds(30));
    if (!finished) {
        process.kill();
        process.waitForFinished(1000);
        co_return false;
    }
    co_return process.exitStatus() == QProcess::NormalExit&& process.exitCode() == 0;
}

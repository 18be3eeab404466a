#pragma once

#include "RelayClock.h"

#include <QString>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

namespace mintbridge {

// Every knob of the relay, so a test can start one on port 0 that never touches the real
// home folder.
struct RelayConfig {
    using Environment = std::function<QString(const char*)>;

    QString host = QStringLiteral("127.0.0.1");
    int port = 8788; // 0: the system picks a free port
    int workerThreads = 8; // a running model command holds one for up to modelTimeout

    QString token; // empty: read from tokenFilePath, made there on first start
    QString tokenFilePath;

    QString modelCommand; // empty: the built-in understanding answers every section
    QString defaultModel = QStringLiteral("haiku"); // when a request names none
    bool preferBuiltin = false; // the household's choice: built-in even with a command set
    std::chrono::milliseconds modelTimeout { 55000 };
    int dailyLimit = 200; // model-command calls in any 24 hours; the built-in path is free

    std::shared_ptr<const RelayClock> clock; // empty: the system clock
    QString killSwitchPath; // while this file exists only /health answers; empty: none
    QString usageLedgerPath; // the window of model calls, kept across restarts; empty: memory only
    QString zone = QStringLiteral("Australia/Melbourne"); // the household's days and clocks
    std::size_t maxBodyBytes = 64 * 1024;

    // The standard places under `home` (~/.config/mintbridge/bearer, usage.json beside it,
    // ~/.mintbridge-disable) and the MINTBRIDGE_* variables: TOKEN, MODEL_COMMAND, MODEL,
    // PREFER_BUILTIN, ZONE.
    static RelayConfig standard(const QString& home, const Environment& environment);
    static Environment processEnvironment();
};

} // namespace mintbridge

// mintbridge: the sentence relay.
//   mintbridge serve [--listen HOST:PORT] [--workers N]
//   mintbridge token      prints the bearer token to paste into the client

#include "RelayConfig.h"
#include "RelayServer.h"
#include "RelayToken.h"

#include <QCoreApplication>
#include <QDir>

#include <csignal>
#include <iostream>
#include <map>
#include <optional>
#include <string>

#include <pthread.h>

namespace {

constexpr int kUsageError = 2;

const char* const kUsage = R"(usage:
  mintbridge serve [--listen HOST:PORT] [--workers N]
  mintbridge token
  mintbridge --version
defaults: --listen 127.0.0.1:8788
environment:
  MINTBRIDGE_TOKEN           the bearer token (else ~/.config/mintbridge/bearer, made on first start)
  MINTBRIDGE_MODEL_COMMAND   a language-model command line: the prompt on its standard input, JSON
                             on its standard output, "{model}" replaced by the model's name
  MINTBRIDGE_MODEL           the model when a request names none (default haiku)
  MINTBRIDGE_PREFER_BUILTIN  1: answer with the built-in understanding even with a command set
  MINTBRIDGE_ZONE            the household's time zone (default Australia/Melbourne)
files:
  ~/.mintbridge-disable      while it exists, everything but /health answers 503
  ~/.config/mintbridge/usage.json   model calls of the last 24 hours (at most 200)
)";

struct UsageError {
    std::string message;
};

std::map<QString, QString> parseOptions(const QStringList& raw, const QStringList& known)
{
    std::map<QString, QString> options;
    for (qsizetype i = 0; i < raw.size(); ++i) {
        const QString arg = raw.at(i);
        if (!arg.startsWith(QStringLiteral("--")))
            throw UsageError { "unexpected argument " + arg.toStdString() };
        QString name = arg.mid(2);
        QString value;
        const qsizetype equals = name.indexOf(QLatin1Char('='));
        if (equals >= 0) {
            value = name.mid(equals + 1);
            name = name.left(equals);
        } else if (i + 1 < raw.size()) {
            value = raw.at(++i);
        } else {
            throw UsageError { "option --" + name.toStdString() + " needs a value" };
        }
        if (!known.contains(name))
            throw UsageError { "unknown option --" + name.toStdString() };
        options[name] = value;
    }
    return options;
}

mintbridge::RelayConfig standardConfig()
{
    return mintbridge::RelayConfig::standard(QDir::homePath(), mintbridge::RelayConfig::processEnvironment());
}

int serve(const std::map<QString, QString>& options)
{
    mintbridge::RelayConfig config = standardConfig();
    if (const auto it = options.find(QStringLiteral("listen")); it != options.end()) {
        const QString listen = it->second;
        const qsizetype colon = listen.lastIndexOf(QLatin1Char(':'));
        bool ok = false;
        const int port = colon >= 0 ? listen.mid(colon + 1).toInt(&ok) : 0;
        if (!ok || port < 0 || port > 65535)
            throw UsageError { "--listen wants HOST:PORT" };
        QString host = listen.left(colon);
        if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
            host = host.mid(1, host.size() - 2);
        config.host = host.isEmpty() ? QStringLiteral("127.0.0.1") : host;
        config.port = port;
    }
    if (const auto it = options.find(QStringLiteral("workers")); it != options.end()) {
        bool ok = false;
        config.workerThreads = it->second.toInt(&ok);
        if (!ok || config.workerThreads < 1)
            throw UsageError { "--workers wants a positive number" };
    }

    // Stop signals are taken synchronously by this thread; every server thread inherits the mask.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    mintbridge::RelayServer server(config);
    server.start();
    const bool builtinOnly = config.modelCommand.isEmpty() || config.preferBuiltin;
    std::cout << QStringLiteral("mintbridge listening on %1 (understanding: %2; token: %3)")
                     .arg(server.baseUrl(),
                         builtinOnly ? QStringLiteral("built-in")
                                     : QStringLiteral("model command, built-in on request"),
                         config.token.isEmpty() ? config.tokenFilePath : QStringLiteral("MINTBRIDGE_TOKEN"))
                     .toStdString()
              << std::endl;

    int received = 0;
    sigwait(&stopSignals, &received);
    std::cout << "mintbridge stopping (" << (received == SIGINT ? "SIGINT" : "SIGTERM") << ")" << std::endl;
    server.stop();
    return 0;
}

int printToken()
{
    const mintbridge::RelayConfig config = standardConfig();
    const QString token
        = config.token.isEmpty() ? mintbridge::RelayToken::loadOrCreate(config.tokenFilePath) : config.token;
    std::cout << token.toStdString() << std::endl;
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("mintbridge"));
    const QStringList raw = QCoreApplication::arguments().mid(1);
    if (raw.isEmpty() || raw.first() == QLatin1String("--help") || raw.first() == QLatin1String("-h")) {
        std::cout << kUsage;
        return raw.isEmpty() ? kUsageError : 0;
    }
    if (raw.first() == QLatin1String("--version")) {
        std::cout << "mintbridge " << VELMAROS_VERSION << '\n';
        return 0;
    }
    const QString command = raw.first();
    try {
        if (command == QLatin1String("serve"))
            return serve(parseOptions(raw.mid(1), { QStringLiteral("listen"), QStringLiteral("workers") }));
        if (command == QLatin1String("token")) {
            if (raw.size() != 1)
                throw UsageError { "usage: mintbridge token" };
            return printToken();
        }
        throw UsageError { "unknown command " + command.toStdString() };
    } catch (const UsageError& error) {
        std::cerr << "mintbridge: " << error.message << '\n' << kUsage;
        return kUsageError;
    } catch (const std::exception& error) {
        std::cerr << "mintbridge: " << error.what() << '\n';
        return 1;
    }
}

// lumen-api: the household backend.
//   lumen-api serve [--data-dir DIR] [--listen HOST:PORT] [--workers N]
//   lumen-api user add NAME [--display-name X] [--data-dir DIR]   (password on standard input)
//   lumen-api seed-demo [--data-dir DIR] [--password P]

#include "Backend.h"
#include "LumenServer.h"
#include "services/ApiError.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

#include <csignal>
#include <cstdio>
#include <iostream>
#include <map>
#include <optional>
#include <string>

#include <pthread.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr int kUsageError = 2;

const char* const kUsage = R"(usage:
  lumen-api serve [--data-dir DIR] [--listen HOST:PORT] [--workers N]
  lumen-api user add NAME [--display-name X] [--data-dir DIR]   (password on standard input)
  lumen-api seed-demo [--data-dir DIR] [--password P]
  lumen-api --version
defaults: --data-dir ~/.local/share/lumen-api, --listen 127.0.0.1:8787
)";

struct UsageError {
    std::string message;
};

// Positional words and --name value / --name=value options.
struct Arguments {
    QStringList words;
    std::map<QString, QString> options;

    std::optional<QString> option(const QString& name) const
    {
        const auto it = options.find(name);
        return it == options.end() ? std::nullopt : std::optional<QString>(it->second);
    }
};

Arguments parse(const QStringList& raw, const QStringList& known)
{
    Arguments out;
    for (qsizetype i = 0; i < raw.size(); ++i) {
        const QString arg = raw.at(i);
        if (!arg.startsWith(QStringLiteral("--"))) {
            out.words.append(arg);
            continue;
        }
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
        out.options[name] = value;
    }
    return out;
}

QString dataDirOf(const Arguments& args)
{
    if (const auto dir = args.option(QStringLiteral("data-dir")))
        return QDir(*dir).absolutePath();
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/lumen-api");
}

void printLine(const QString& text)
{
    std::cout << text.toStdString() << '\n';
}

int serve(const Arguments& args)
{
    lumen::ServerConfig config;
    config.dataDir = dataDirOf(args);
    if (const auto listen = args.option(QStringLiteral("listen"))) {
        const qsizetype colon = listen->lastIndexOf(QLatin1Char(':'));
        bool ok = false;
        const int port = colon >= 0 ? listen->mid(colon + 1).toInt(&ok) : 0;
        if (!ok || port < 0 || port > 65535)
            throw UsageError { "--listen wants HOST:PORT" };
        QString host = listen->left(colon);
        if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
            host = host.mid(1, host.size() - 2);
        config.host = host.isEmpty() ? QStringLiteral("127.0.0.1") : host;
        config.port = port;
    }
    if (const auto workers = args.option(QStringLiteral("workers"))) {
        bool ok = false;
        config.workerThreads = workers->toInt(&ok);
        if (!ok || config.workerThreads < 1)
            throw UsageError { "--workers wants a positive number" };
    }

    // Signals are taken synchronously by this thread; every server thread inherits the mask.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    // A client that goes away mid-answer must not end the process.
    std::signal(SIGPIPE, SIG_IGN);

    lumen::LumenServer server(config);
    server.start();
    printLine(QStringLiteral("lumen-api listening on %1 (data: %2)").arg(server.baseUrl(), config.dataDir));
    std::cout.flush();

    int received = 0;
    sigwait(&stopSignals, &received);
    printLine(QStringLiteral("lumen-api stopping (%1)").arg(received == SIGINT ? "SIGINT" : "SIGTERM"));
    server.stop();
    return 0;
}

QString readPassword(const QString& username)
{
    const bool terminal = isatty(STDIN_FILENO);
    termios saved {};
    if (terminal) {
        std::cerr << "Password for " << username.toStdString() << ": " << std::flush;
        tcgetattr(STDIN_FILENO, &saved);
        termios quiet = saved;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    std::string line;
    std::getline(std::cin, line);
    if (terminal) {
        tcsetattr(STDIN_FILENO, TCSANOW, &saved);
        std::cerr << '\n';
    }
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.pop_back();
    return QString::fromStdString(line);
}

int userAdd(const Arguments& args)
{
    if (args.words.size() != 3 || args.words.at(1) != QLatin1String("add"))
        throw UsageError { "usage: lumen-api user add NAME [--display-name X] [--data-dir DIR]" };
    const QString name = args.words.at(2);
    const QString password = readPassword(name);
    if (password.isEmpty()) {
        std::cerr << "lumen-api: no password given on standard input\n";
        return 1;
    }
    lumen::Backend backend(dataDirOf(args), lumen::PasswordCost::Interactive, nullptr);
    const lumen::UserRecord user = backend.accounts().createUser(
        name, password, args.option(QStringLiteral("display-name")).value_or(QString()));
    printLine(QStringLiteral("created user %1 (%2), id %3, in %4")
                  .arg(user.username, user.displayName)
                  .arg(user.id)
                  .arg(backend.dataDir()));
    return 0;
}

int seedDemo(const Arguments& args)
{
    if (args.words.size() != 1)
        throw UsageError { "usage: lumen-api seed-demo [--data-dir DIR] [--password P]" };
    const auto password = args.option(QStringLiteral("password"));
    if (password && password->isEmpty())
        throw UsageError { "--password must not be empty" };
    lumen::Backend backend(dataDirOf(args), lumen::PasswordCost::Interactive, nullptr);
    const lumen::SeedResult result = backend.seeder().seed(password);
    if (result.alreadySeeded) {
        printLine(QStringLiteral("%1 already holds the demo household (or one of its names); nothing was changed.")
                      .arg(backend.dataDir()));
        return 0;
    }
    printLine(QStringLiteral("Seeded the demo household in %1").arg(backend.dataDir()));
    for (const lumen::DemoAccount& account : result.accounts) {
        printLine(QStringLiteral("  %1  %2 (%3)  password: %4")
                      .arg(account.role.leftJustified(6), account.username.leftJustified(6), account.displayName,
                          account.password));
    }
    if (!password)
        printLine(QStringLiteral("These passwords were generated now and are not shown again."));
    printLine(
        QStringLiteral("Ledgers: %1 confirmed time blocks, %2 captured entries waiting for review, %3 finance lines, "
                       "%4 finance lines waiting for review.")
            .arg(result.ledgers.confirmedBlocks)
            .arg(result.ledgers.capturedEntries)
            .arg(result.finance.lines)
            .arg(result.finance.pending));
    if (!result.notesWritten.isEmpty())
        printLine(QStringLiteral("Asset notes written: %1").arg(result.notesWritten.join(QStringLiteral(", "))));
    printLine(QStringLiteral("To sign in: run `lumen-api serve --data-dir %1`, then log in to VelmarOS as velmar "
                             "or sefa with the password above.")
                  .arg(backend.dataDir()));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("lumen-api"));
    const QStringList raw = QCoreApplication::arguments().mid(1);
    if (raw.isEmpty() || raw.first() == QLatin1String("--help") || raw.first() == QLatin1String("-h")) {
        std::cout << kUsage;
        return raw.isEmpty() ? kUsageError : 0;
    }
    if (raw.first() == QLatin1String("--version")) {
        std::cout << "lumen-api " << VELMAROS_VERSION << '\n';
        return 0;
    }
    const QString command = raw.first();
    try {
        if (command == QLatin1String("serve"))
            return serve(
                parse(raw.mid(1), { QStringLiteral("data-dir"), QStringLiteral("listen"), QStringLiteral("workers") }));
        if (command == QLatin1String("user"))
            return userAdd(parse(raw, { QStringLiteral("data-dir"), QStringLiteral("display-name") }));
        if (command == QLatin1String("seed-demo"))
            return seedDemo(parse(raw, { QStringLiteral("data-dir"), QStringLiteral("password") }));
        throw UsageError { "unknown command " + command.toStdString() };
    } catch (const UsageError& error) {
        std::cerr << "lumen-api: " << error.message << '\n' << kUsage;
        return kUsageError;
    } catch (const lumen::ApiError& error) {
        std::cerr << "lumen-api: " << error.detail().toStdString() << '\n';
        return 1;
    } catch (const std::exception& error) {
        std::cerr << "lumen-api: " << error.what() << '\n';
        return 1;
    }
}

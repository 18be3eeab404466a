// focus-probe: the foreground-window sensor of VelmarOS.
//   focus-probe [run] [--api URL] [--interval SEC] [--display NAME]
//   focus-probe sign-in --user NAME [--api URL]     (the password is read from standard input)
#include "FocusProbe.h"
#include "HealthWriter.h"
#include "ProbeClock.h"
#include "ProbeCredentials.h"
#include "SegmentDelivery.h"
#include "SegmentPoster.h"
#include "SegmentQueue.h"
#include "X11ForegroundSource.h"

#include "session/SessionModels.h"
#include "json/JsonCoding.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTextStream>

#include <qcoro/qcoronetworkreply.h>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

int signalPipe[2] = { -1, -1 };

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(signalPipe[1], &byte, 1);
}

void fail(const QString& message)
{
    std::fprintf(stderr, "focus-probe: %s\n", qUtf8Printable(message));
}

struct Options {
    QString command = QStringLiteral("run");
    QUrl api = QUrl(QStringLiteral(VELMAROS_API_BASE));
    int intervalSec = 5;
    QByteArray display;
    QString user;
};

std::optional<Options> parse(const QStringList& args)
{
    Options options;
    for (int i = 1; i < args.size(); ++i) {
        const QString& arg = args[i];
        const bool hasValue = i + 1 < args.size();
        if (arg == QStringLiteral("run") || arg == QStringLiteral("sign-in")) {
            options.command = arg;
        } else if (arg == QStringLiteral("--api") && hasValue) {
            options.api = QUrl(args[++i]);
        } else if (arg == QStringLiteral("--interval") && hasValue) {
            options.intervalSec = args[++i].toInt();
        } else if (arg == QStringLiteral("--display") && hasValue) {
            options.display = args[++i].toLocal8Bit();
        } else if (arg == QStringLiteral("--user") && hasValue) {
            options.user = args[++i];
        } else {
            return std::nullopt;
        }
    }
    if (options.intervalSec < 1 || options.intervalSec > 60 || !options.api.isValid())
        return std::nullopt;
    if (options.command == QStringLiteral("sign-in") && options.user.isEmpty())
        return std::nullopt;
    return options;
}

QCoro::Task<int> signIn(QNetworkAccessManager& network, Options options)
{
    QTextStream in(stdin);
    const QString password = in.readLine();
    QUrl url = options.api;
    url.setPath(url.path() + QStringLiteral("/auth/login"));
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setTransferTimeout(20000);
    const QByteArray body = wire::toBytes(wire::LoginRequest { options.user, password });
    std::unique_ptr<QNetworkReply> reply(network.post(request, body));
    co_await reply.get();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QByteArray answer = reply->readAll();
    if (status != 200) {
        const QString detail = QJsonDocument::fromJson(answer).object().value(QStringLiteral("detail")).toString();
        fail(QStringLiteral("登录失败：%1").arg(detail.isEmpty() ? reply->errorString() : detail));
        co_return 1;
    }
    ProbeCredentials credentials(ProbeCredentials::defaultPath());
    try {
        if (!credentials.write(wire::fromBytes<wire::LoginResponse>(answer).token)) {
            fail(credentials.problem());
            co_return 1;
        }
    } catch (const std::exception& error) {
        fail(QStringLiteral("lumen-api 的回答无法读取：%1").arg(QString::fromUtf8(error.what())));
        co_return 1;
    }
    std::printf(
        "focus-probe: 已登录 %s，凭据写入 %s\n", qUtf8Printable(options.user), qUtf8Printable(credentials.path()));
    co_return 0;
}

int run(QCoreApplication& app, QNetworkAccessManager& network, const Options& options)
{
    const QString queuePath = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/focus-probe/queue.sqlite");
    std::unique_ptr<SegmentQueue> queue;
    try {
        queue = std::make_unique<SegmentQueue>(queuePath);
    } catch (const std::exception& error) {
        // Without its queue the sensor would lose what it captures; better not to pretend.
        fail(QString::fromUtf8(error.what()));
        return 1;
    }
    SystemProbeClock clock;
    ProbeCredentials credentials(ProbeCredentials::defaultPath());
    SegmentPoster poster(network, options.api);
    SegmentDelivery delivery(*queue, poster, clock, [&credentials] { return credentials.read(); });
    HealthWriter health(HealthWriter::defaultPath(QDir::homePath()));
    X11ForegroundSource source(options.display);
    FocusProbeConfig config;
    config.sampleIntervalMs = options.intervalSec * 1000;
    config.segmenter.maxGapSec = std::max(60, options.intervalSec * 6);
    // Read at every heartbeat, so a missing or fixed token shows before any segment waits.
    auto credentialProblem = [&credentials] {
        credentials.read();
        return credentials.problem();
    };
    FocusProbe probe(source, *queue, delivery, health, clock, credentialProblem, config);

    if (::pipe(signalPipe) == 0) {
        std::signal(SIGTERM, onSignal);
        std::signal(SIGINT, onSignal);
    }
    QSocketNotifier notifier(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &app, &QCoreApplication::quit);

    std::fprintf(stderr, "[focus-probe] 开始采集：每 %d 秒一次，写入 %s\n", options.intervalSec,
        qUtf8Printable(options.api.toString()));
    probe.start();
    const int status = app.exec();
    probe.stop();
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("focus-probe"));
    const std::optional<Options> options = parse(app.arguments());
    if (!options) {
        std::fprintf(stderr,
            "usage: focus-probe [run] [--api URL] [--interval 1-60] [--display NAME]\n"
            "       focus-probe sign-in --user NAME [--api URL]   (password on standard input)\n");
        return 2;
    }
    QNetworkAccessManager network;
    if (options->command == QStringLiteral("sign-in"))
        return QCoro::waitFor(signIn(network, *options));
    return run(app, network, *options);
}

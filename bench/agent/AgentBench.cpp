// Prints how long a booking sentence takes from the POST of /agent/chat to its pending_card
// event (the card the user confirms), and to the end of the turn: median, p99 and mean over
// N turns (default 1000) of "今天午餐 50", one after another over a keep-alive connection to
// lumen-api in-process on loopback, with a fresh data folder and no turn limit.
//   bench-agent [turns]

#include "LumenServer.h"

#include <httplib.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Timing {
    double toCardMs = -1;
    double toEndMs = -1;
};

double percentile(std::vector<double> values, double p)
{
    std::sort(values.begin(), values.end());
    const std::size_t index = std::min(values.size() - 1, std::size_t(p * double(values.size() - 1) + 0.5));
    return values[index];
}

void report(const char* label, const std::vector<double>& values)
{
    double sum = 0;
    for (double v : values)
        sum += v;
    std::printf("%-28s median %7.3f ms   p99 %7.3f ms   mean %7.3f ms   max %7.3f ms\n", label, percentile(values, 0.5),
        percentile(values, 0.99), sum / double(values.size()), percentile(values, 1.0));
}

Timing turn(httplib::Client& client, const std::string& token)
{
    static const std::string body = R"({"message":"今天午餐 50","chat_session_id":"bench"})";
    static const std::string marker = "event: pending_card\n";
    std::string received;
    Timing timing;
    const auto start = Clock::now();
    httplib::Request request;
    request.method = "POST";
    request.path = "/agent/chat";
    request.set_header("Authorization", "Bearer " + token);
    request.set_header("Accept", "text/event-stream");
    request.body = body;
    request.set_header("Content-Type", "application/json");
    request.content_receiver = [&](const char* data, size_t length, uint64_t, uint64_t) {
        received.append(data, length);
        if (timing.toCardMs < 0 && received.find(marker) != std::string::npos)
            timing.toCardMs = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        return true;
    };
    const httplib::Result result = client.send(request);
    timing.toEndMs = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    if (!result || result->status != 200 || received.find("data: [DONE]") == std::string::npos)
        timing.toCardMs = -1;
    return timing;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int turns = argc > 1 ? std::max(1, std::atoi(argv[1])) : 1000;

    QTemporaryDir dataDir;
    lumen::ServerConfig config;
    config.dataDir = dataDir.path();
    config.port = 0;
    config.passwordCost = lumen::PasswordCost::Minimum;
    config.agentTurnsPerMinute = 0;
    lumen::LumenServer server(config);
    server.start();
    const auto user
        = server.accounts().createUser(QStringLiteral("bench"), QStringLiteral("bench"), QStringLiteral("Velmar"));
    const std::string token = server.accounts().issueToken(user.id).toStdString();

    httplib::Client client("127.0.0.1", server.port());
    client.set_tcp_nodelay(true);
    client.set_keep_alive(true);
    client.set_read_timeout(10);

    for (int i = 0; i < 20; ++i)
        turn(client, token);

    std::vector<double> toCard;
    std::vector<double> toEnd;
    toCard.reserve(size_t(turns));
    int failed = 0;
    const auto started = Clock::now();
    for (int i = 0; i < turns; ++i) {
        const Timing timing = turn(client, token);
        if (timing.toCardMs < 0) {
            ++failed;
            continue;
        }
        toCard.push_back(timing.toCardMs);
        toEnd.push_back(timing.toEndMs);
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
    client.stop();
    server.stop();
    if (toCard.empty()) {
        std::printf("no turn produced a pending_card (%d failed)\n", failed);
        return 1;
    }
    std::printf("bench-agent: %zu turns of \"今天午餐 50\" on loopback (%d failed), %.0f turns/s\n", toCard.size(),
        failed, double(toCard.size()) / seconds);
    report("POST → pending_card", toCard);
    report("POST → end of turn", toEnd);
    return failed == 0 ? 0 : 1;
}

// Prints what the client adds to an agent turn.
// 1. Turns of "今天午餐 50" through AgentClient against lumen-api in-process on loopback (no
//    turn limit): time to the pending_card event and to the end of the stream, median and p99.
// 2. Reading: one answer of many text_delta events from a scripted peer, drained with next():
//    events per second and megabytes per second.
//   bench-agent-client [turns] [events]

#include "AwaitTask.h"
#include "ClientHarness.h"
#include "ScriptedPeer.h"
#include "TestServer.h"

#include "chat/AgentClient.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

double percentile(std::vector<double> values, double p)
{
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, std::size_t(p * double(values.size() - 1) + 0.5))];
}

void report(const char* label, const std::vector<double>& values)
{
    std::printf("%-26s median %7.3f ms   p99 %7.3f ms   max %7.3f ms\n", label, percentile(values, 0.5),
        percentile(values, 0.99), percentile(values, 1.0));
}

struct TurnTiming {
    double toCardMs = -1;
    double toEndMs = -1;
};

QCoro::Task<TurnTiming> turn(AgentClient* agent)
{
    QElapsedTimer timer;
    timer.start();
    TurnTiming timing;
    auto stream = agent->streamAgentChat("今天午餐 50", std::nullopt, std::nullopt, {}, QStringLiteral("bench"));
    while (auto event = co_await stream->next()) {
        if (event->kind() == AgentEvent::Kind::PendingCard)
            timing.toCardMs = double(timer.nsecsElapsed()) / 1e6;
    }
    timing.toEndMs = double(timer.nsecsElapsed()) / 1e6;
    co_return timing;
}

QCoro::Task<int> drain(AgentStream* stream)
{
    int count = 0;
    while (co_await stream->next())
        ++count;
    co_return count;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int turns = argc > 1 ? std::max(1, std::atoi(argv[1])) : 300;
    const int events = argc > 2 ? std::max(1, std::atoi(argv[2])) : 50000;

    {
        TestServer::Options options;
        options.agentTurnsPerMinute = 0;
        TestServer server(options);
        server.seedDemo("bench-pass-1");
        ClientHarness client(
            server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken("velmar")));
        AgentClient agent(server.baseUrl(), &client.keychain());
        awaitTask(turn(&agent)); // opens the connection
        std::vector<double> toCard;
        std::vector<double> toEnd;
        for (int i = 0; i < turns; ++i) {
            const TurnTiming timing = awaitTask(turn(&agent));
            if (timing.toCardMs < 0) {
                std::fprintf(stderr, "turn %d brought no pending_card\n", i);
                return 1;
            }
            toCard.push_back(timing.toCardMs);
            toEnd.push_back(timing.toEndMs);
        }
        std::printf("%d turns of \"今天午餐 50\" through AgentClient (loopback, in-process lumen-api)\n", turns);
        report("to pending_card", toCard);
        report("to end of stream", toEnd);
        agent.networkAccessManager()->clearConnectionCache();
    }

    {
        QByteArray body;
        for (int i = 0; i < events; ++i)
            body += "event: text_delta\ndata: {\"text\":\"第" + QByteArray::number(i) + "段回答文字\"}\n\n";
        body += "data: [DONE]\n\n";
        ScriptedPeer peer;
        peer.enqueue({ ScriptedPeer::write(ScriptedPeer::head(200, "text/event-stream", body.size()) + body) });
        ClientHarness client(peer.baseUrl(), ClientHarness::Options::bearerInEnvironment("bench"));
        AgentClient agent(peer.baseUrl(), &client.keychain());
        QElapsedTimer timer;
        timer.start();
        auto stream = agent.streamAgentChat("bench");
        const int received = awaitTask(drain(stream.get()));
        const double seconds = double(timer.nsecsElapsed()) / 1e9;
        std::printf("one answer of %d events (%.1f MB) read in %.3f s: %.0f events/s, %.1f MB/s\n", received,
            double(body.size()) / 1e6, seconds, double(received) / seconds, double(body.size()) / 1e6 / seconds);
        agent.networkAccessManager()->clearConnectionCache();
    }
    return 0;
}

// Prints what the chat's 8-second rhythm costs on the client, against lumen-api in-process
// on loopback with a session of 400 messages (the merge's window):
//   - a tick where nothing changed (GET of the window, merge, signature compare);
//   - a tick after one new message (the same plus a rebuild of every event);
//   - opening a session from a local log of N lines (default 2000) with no server copy.
// Median, p99 and mean over R rounds (default 200).
//   bench-chat-sync [rounds] [log-lines]

#include "AwaitTask.h"
#include "ClientHarness.h"
#include "TestServer.h"

#include "chat/AgentClient.h"
#include "chat/ChatSyncEncoding.h"
#include "chat/VelmarOSChatStore.h"
#include "time/TimeCache.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

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
    std::printf("%-34s median %8.3f ms   p99 %8.3f ms   mean %8.3f ms\n", label, percentile(values, 0.5),
        percentile(values, 0.99), sum / double(values.size()));
}

wire::ChatMessageCreate message(int index, const QDateTime& at)
{
    const bool user = index % 2 == 0;
    const QString kind = user ? QStringLiteral("user_message") : QStringLiteral("assistant_text");
    const QString id = ChatSyncEncoding::uuidText(QUuid::createUuid());
    const QString ts = ChatSyncEncoding::timestamp(at.addSecs(index));
    const QJsonObject record { { "id", id }, { "ts", ts }, { "type", kind },
        { "text",
            user ? QStringLiteral("今天午餐 %1").arg(index) : QStringLiteral("好的，记一笔餐饮 A$%1").arg(index) } };
    return { id, ChatSyncEncoding::roleFor(kind), kind, ChatSyncEncoding::canonicalJSON(record), ts };
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 200;
    const int logLines = argc > 2 ? std::max(1, std::atoi(argv[2])) : 2000;

    TestServer server;
    server.seedDemo(QStringLiteral("bench-pass-1"));
    ClientHarness device(
        server.baseUrl(), ClientHarness::Options::bearerInEnvironment(server.issueToken(QStringLiteral("velmar"))));
    AgentClient agent(server.baseUrl(), &device.keychain());
    QTemporaryDir defaults;
    QSettings settings(defaults.filePath(QStringLiteral("defaults.ini")), QSettings::IniFormat);
    TimeCache cache(&device.api(), device.sharedClock());
    const ChatStoreContext context { device.storeContext(), &agent, &settings, &cache };

    try {
        const wire::ChatSessionCreate create { QStringLiteral("bench"), std::nullopt, QStringLiteral("sonnet") };
        awaitTask(device.api().chatCreateSession(create));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "the server keeps no chat sessions: %s\n", error.what());
        return 1;
    }
    const QDateTime start(QDate(2026, 11, 1), QTime(8, 0), Qt::UTC);
    int posted = 0;
    for (; posted < VelmarOSChatStore::serverHistoryLimit; ++posted)
        awaitTask(device.api().chatPostMessage(QStringLiteral("bench"), message(posted, start)));

    VelmarOSChatStore store(context, QStringLiteral("bench"));
    awaitTask(store.replayFromServer());
    std::printf("session of %zu events on screen\n", store.events().size());

    std::vector<double> unchanged;
    std::vector<double> rebuilt;
    QElapsedTimer timer;
    for (int round = 0; round < rounds; ++round) {
        timer.start();
        awaitTask(store.replayFromServer());
        unchanged.push_back(double(timer.nsecsElapsed()) / 1e6);

        awaitTask(device.api().chatPostMessage(QStringLiteral("bench"), message(posted++, start)));
        timer.start();
        awaitTask(store.replayFromServer());
        rebuilt.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    report("tick, nothing new", unchanged);
    report("tick, one new message (rebuild)", rebuilt);

    std::vector<double> opened;
    for (int round = 0; round < std::max(1, rounds / 10); ++round) {
        const QString id = QStringLiteral("LOCAL-%1").arg(round);
        SessionJSONLWriter writer(device.paths(), id, device.sharedClock());
        for (int line = 0; line < logLines; ++line) {
            const wire::ChatMessageCreate m = message(line, start);
            writer.appendRaw(m.content);
        }
        writer.close();
        timer.start();
        VelmarOSChatStore local(context, id, true);
        while (local.historyDidLoad() == 0)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        opened.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::printf("open from a log of %d lines:\n", logLines);
    report("replay (server has no copy)", opened);
    device.api().networkAccessManager()->clearConnectionCache();
    agent.networkAccessManager()->clearConnectionCache();
    return 0;
}

#include "ChatHarness.h"

#include "session/WidgetCache.h"

namespace {

QStringList idsOf(const std::vector<ChatSession>& sessions)
{
    QStringList ids;
    for (const auto& session : sessions)
        ids << session.id;
    return ids;
}

bool settled(const SessionsStore& sessions)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 15000) {
        if (sessions.backgroundWrites() == 0)
            return true;
        QTest::qWait(5);
    }
    return false;
}

std::optional<wire::ChatSessionDTO> onServer(ChatDevice& device, const QString& id)
{
    for (const auto& dto : awaitTask(device.api().chatSessions())) {
        if (dto.id == id)
            return dto;
    }
    return std::nullopt;
}

void writeLog(ChatDevice& device, const QString& sessionId, const QStringList& lines)
{
    QDir().mkpath(device.client().paths().sessionsDir());
    QFile file(SessionJSONLWriter::urlFor(device.client().paths(), sessionId));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write((lines.join('\n') + '\n').toUtf8());
}

} // namespace

// The session list: on this machine, and merged with the server's.
class ChatSessionsTest : public QObject {
    Q_OBJECT

private slots:
    void listStandsOnThisMachine()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        SessionsStore sessions(device.context());
        QCOMPARE(idsOf(sessions.sessions()), QStringList { "default" });
        QCOMPARE(sessions.activeSession().model, ChatModel::sonnet());

        device.clock().advance(60);
        const QString work = sessions.create(ChatModel::opus());
        QCOMPARE(sessions.activeSessionId(), work);
        QCOMPARE(work, work.toUpper());
        device.clock().advance(60);
        const QString pinned = sessions.create(ChatModel::haiku());
        sessions.togglePin("default");
        device.clock().advance(60);
        const QString archived = sessions.create(ChatModel::sonnet());
        sessions.archive(archived, true);
        sessions.rename(work, "工作");

        // Pinned first, then newest first; archived ones apart.
        QCOMPARE(idsOf(sessions.visibleSessions()), (QStringList { "default", pinned, work }));
        QCOMPARE(idsOf(sessions.archivedSessions()), QStringList { archived });
        QCOMPARE(sessions.sessions().size(), std::size_t(4));

        // Speaking in a session names it and moves it up.
        sessions.switchTo(pinned);
        device.clock().advance(60);
        sessions.store(pinned)->submit("  买\n咖啡  ");
        QCOMPARE(sessions.activeSession().title, QStringLiteral("买 咖啡"));
        QCOMPARE(sessions.activeSession().lastActiveAt, device.clock().now());
        QCOMPARE(idsOf(sessions.visibleSessions()), (QStringList { "default", pinned, work }));
        sessions.togglePin("default");
        QCOMPARE(idsOf(sessions.visibleSessions()), (QStringList { pinned, work, "default" }));
        QVERIFY(settle(*sessions.store(pinned)));

        // Another start of the app finds the same list and the same open session.
        SessionsStore again(device.context());
        QCOMPARE(again.sessions(), sessions.sessions());
        QCOMPARE(again.activeSessionId(), pinned);

        // Deleting the open session opens the first visible one; its log and resume id go.
        const QString log = SessionJSONLWriter::urlFor(device.client().paths(), pinned);
        QVERIFY(QFile::exists(log));
        device.settings().setValue(VelmarOSChatStore::cliSessionIdKey(pinned), "resume-1");
        sessions.deleteSession(pinned);
        QCOMPARE(sessions.activeSessionId(), work);
        QVERIFY(!QFile::exists(log));
        QVERIFY(!device.settings().contains(VelmarOSChatStore::cliSessionIdKey(pinned)));
        QVERIFY(!sessions.hasCachedStore(pinned));

        // Never an empty list: the last one deleted leaves a fresh, untitled one.
        for (const ChatSession& session : std::vector<ChatSession>(sessions.sessions()))
            sessions.deleteSession(session.id);
        QCOMPARE(sessions.sessions().size(), std::size_t(1));
        QCOMPARE(sessions.activeSession().title, QString());
        QVERIFY(settled(sessions));
    }

    void serverListIsMerged()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice device(server, "velmar");
        // Made on another machine: one plain, one with a model this client does not know.
        const wire::ChatSessionCreate plain { "AAAA-1", QStringLiteral("周末计划"), QStringLiteral("opus") };
        awaitTask(device.api().chatCreateSession(plain));
        wire::ChatSessionPatch patch;
        patch.is_pinned = true;
        patch.cli_session_id = QStringLiteral("resume-77");
        patch.last_active_at = QStringLiteral("2026-11-20T08:00:00.000Z");
        awaitTask(device.api().chatUpdateSession("AAAA-1", patch));
        const wire::ChatSessionCreate odd { "BBBB-2", std::nullopt, QStringLiteral("gpt") };
        awaitTask(device.api().chatCreateSession(odd));

        SessionsStore sessions(device.context());
        sessions.setModel(ChatModel::haiku(), "default");
        awaitTask(sessions.refreshFromServer());
        QVERIFY(settled(sessions));

        const auto find = [&](const QString& id) {
            return *std::find_if(sessions.sessions().begin(), sessions.sessions().end(),
                [&](const ChatSession& session) { return session.id == id; });
        };
        QCOMPARE(find("AAAA-1").title, QStringLiteral("周末计划"));
        QCOMPARE(find("AAAA-1").model, ChatModel::opus());
        QVERIFY(find("AAAA-1").isPinned);
        QCOMPARE(find("AAAA-1").lastActiveAt, QDateTime(QDate(2026, 11, 20), QTime(8, 0), Qt::UTC));
        QCOMPARE(find("BBBB-2").model, ChatModel::sonnet());
        QCOMPARE(sessions.serverCliSessionId("AAAA-1"), std::optional<QString>("resume-77"));
        QCOMPARE(sessions.store("AAAA-1")->seededResumeCliSessionId(), std::optional<QString>("resume-77"));

        // The local-only "default" went up with its model; the server's "gpt" stays its own.
        const auto moved = onServer(device, "default");
        QVERIFY(moved);
        QCOMPARE(moved->model, std::optional<QString>("haiku"));
        QCOMPARE(device.settings().value(SessionsStore::migratedSessionsKey).toStringList(), QStringList { "default" });
        QStringList known = device.settings().value(SessionsStore::knownSessionsKey).toStringList();
        known.sort();
        QCOMPARE(known, (QStringList { "AAAA-1", "BBBB-2" }));
        awaitTask(sessions.refreshFromServer());
        known = device.settings().value(SessionsStore::knownSessionsKey).toStringList();
        QCOMPARE(known, (QStringList { "AAAA-1", "BBBB-2", "default" }));
    }

    void sessionDeletedElsewhereGoesAndOneNeverSeenGoesUp()
    {
        TestServer server;
        server.seedDemo(chatPassword);
        ChatDevice first(server, "velmar");
        ChatDevice second(server, "velmar");
        SessionsStore here(first.context());
        SessionsStore there(second.context());
        const QString shared = here.create(ChatModel::sonnet());
        QVERIFY(settled(here));
        awaitTask(there.refreshFromServer());
        QVERIFY(idsOf(there.sessions()).contains(shared));
        there.switchTo(shared);
        there.store(shared)->writer().append({ { "type", "user_message" }, { "text", "在那台机器上" } });

        // A session only the second machine has, with history written before any sync.
        first.clock().advance(60);
        second.clock().advance(60);
        writeLog(second, "LOCAL-ONLY",
            { R"({"id":"L1","text":"很久以前","ts":"2026-11-01T08:00:00.000Z","type":"user_message"})",
                R"({"tool":"x","ts":"2026-11-01T08:00:01.000Z","type":"tool_call"})",
                R"({"text":"没有 id 的旧行","ts":"2026-11-01T08:00:02.000Z","type":"assistant_text"})", R"(torn)" });
        here.deleteSession(shared);
        QVERIFY(settled(here));
        // The second machine starts again, now also holding an old session of its own.
        std::vector<ChatSession> sessions = there.sessions();
        const QDateTime old(QDate(2026, 11, 1), QTime(8, 0), Qt::UTC);
        sessions.push_back({ "LOCAL-ONLY", "旧的", ChatModel::opus(), old, old, true, false });
        WidgetCache::saveSync(SessionsStore::indexSnapshotKey,
            SessionsIndex { sessions, QStringLiteral("LOCAL-ONLY"), 1 }, second.client().paths().widgetCacheDir());
        SessionsStore third(second.context());
        QCOMPARE(third.activeSessionId(), QStringLiteral("LOCAL-ONLY"));
        awaitTask(third.refreshFromServer());

        // Deleted on the first machine: gone here too, log and all.
        QVERIFY(!idsOf(third.sessions()).contains(shared));
        QVERIFY(!QFile::exists(SessionJSONLWriter::urlFor(second.client().paths(), shared)));
        // Never held by the server: moved up, with its history once, in file order.
        const auto up = onServer(first, "LOCAL-ONLY");
        QVERIFY(up);
        QCOMPARE(up->title, std::optional<QString>("旧的"));
        QVERIFY(up->is_pinned);
        const auto messages = awaitTask(first.api().chatMessages("LOCAL-ONLY", 400));
        QCOMPARE(messages.size(), std::size_t(2));
        QCOMPARE(messages[0].id, QStringLiteral("L1"));
        QVERIFY(messages[1].id.startsWith("mig-"));
        // A second push carries the same ids: nothing doubles.
        QVERIFY(awaitTask(third.pushLocalHistory("LOCAL-ONLY")));
        awaitTask(third.refreshFromServer());
        QCOMPARE(awaitTask(first.api().chatMessages("LOCAL-ONLY", 400)).size(), std::size_t(2));
    }
};

QTEST_GUILESS_MAIN(ChatSessionsTest)
#include "ChatSessionsTest.moc"

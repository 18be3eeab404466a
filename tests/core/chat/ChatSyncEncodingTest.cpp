#include "ManualClock.h"

#include "chat/ChatSyncEncoding.h"
#include "chat/SessionJSONLWriter.h"

#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

using namespace ChatSyncEncoding;

// The log format and the encodings between log, server and screen. The fixed vectors were
// worked out from the algorithm by hand (FNV-1a 64: "" is the offset basis, "a" is
// 0xaf63dc4c8601ec8c), not by running this code.
class ChatSyncEncodingTest : public QObject {
    Q_OBJECT

private slots:
    void stableIdIsTheSameEverywhere_data()
    {
        QTest::addColumn<QString>("sessionId");
        QTest::addColumn<QString>("content");
        QTest::addColumn<QString>("ts");
        QTest::addColumn<QString>("expected");
        QTest::newRow("short") << "s"
                               << "c"
                               << "t"
                               << "mig-4aaccc0165b20ab3";
        QTest::newRow("empty parts, no zero padding") << ""
                                                      << ""
                                                      << ""
                                                      << "mig-82f2307b4e88e77";
    }

    void stableIdIsTheSameEverywhere()
    {
        QFETCH(QString, sessionId);
        QFETCH(QString, content);
        QFETCH(QString, ts);
        QFETCH(QString, expected);
        QCOMPARE(stableId(sessionId, content, ts), expected);
    }

    void uuidForStableStringLaysBothHashesLittleEndian_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        // Nothing hashed: the two seeds themselves, byte-reversed.
        QTest::newRow("empty") << ""
                               << "25232284-E49C-F2CB-E49C-F2CB25232284";
        QTest::newRow("migrated id") << "mig-1"
                                     << "E668438C-62F1-5C34-D185-430381ACA711";
        QTest::newRow("uuid id") << "3F2504E0-4F89-41D3-9A0C-0305E82C3301"
                                 << "B1C1087B-A306-8163-58A1-C4539AE0581C";
    }

    void uuidForStableStringLaysBothHashesLittleEndian()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(uuidText(uuidForStableString(text)), expected);
    }

    void logLineBecomesServerMessage_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("id"); // empty: no message
        QTest::addColumn<QString>("role");
        QTest::addColumn<QString>("ts");

        const QString noId = R"({"text":"买咖啡","ts":"2026-11-21T09:30:00.000Z","type":"user_message"})";
        QTest::newRow("user line keeps its id")
            << R"({"id":"A1","text":"hi","ts":"2026-11-21T09:30:00.000Z","type":"user_message"})"
            << "A1"
            << "user"
            << "2026-11-21T09:30:00.000Z";
        QTest::newRow("line without id gets the stable one") << noId << "mig-989bc753672f7321"
                                                             << "user"
                                                             << "2026-11-21T09:30:00.000Z";
        QTest::newRow("empty id counts as none")
            << R"({"id":"","message":"x","ts":"t","type":"error"})"
            << stableId("S1", R"({"id":"","message":"x","ts":"t","type":"error"})", "t") << "assistant"
            << "t";
        QTest::newRow("missing ts is now") << R"({"id":"Q","summary":"","type":"query_result"})"
                                           << "Q"
                                           << "assistant"
                                           << "2026-11-21T09:30:00.000Z";
        QTest::newRow("tool call stays local") << R"({"id":"T","tool":"x","ts":"t","type":"tool_call"})"
                                               << ""
                                               << ""
                                               << "";
        QTest::newRow("damaged line") << "{\"id\":\"X\",\"text\":\"hi\",\"ty"
                                      << ""
                                      << ""
                                      << "";
    }

    void logLineBecomesServerMessage()
    {
        QFETCH(QString, line);
        QFETCH(QString, id);
        QFETCH(QString, role);
        QFETCH(QString, ts);
        const ManualClock clock;
        const auto message = messageFromJSONLLine(line, QStringLiteral("S1"), clock.now());
        QCOMPARE(message.has_value(), !id.isEmpty());
        if (!message)
            return;
        QCOMPARE(message->id, id);
        QCOMPARE(message->role, role);
        QCOMPARE(message->ts, ts);
        // The content is the whole line, re-serialised with sorted keys.
        QCOMPARE(message->content, canonicalJSON(QJsonDocument::fromJson(line.toUtf8()).object()));
        QCOMPARE(message->kind, QJsonDocument::fromJson(line.toUtf8()).object().value("type").toString());
    }

    void serverMessageBecomesEvent_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("content");
        QTest::addColumn<int>("eventKind"); // -1: no event
        QTest::addColumn<QString>("text");
        QTest::newRow("user") << "user_message"
                              << R"({"text":"今天午餐 50"})" << int(ChatEvent::Kind::UserMessage) << "今天午餐 50";
        QTest::newRow("content that is not JSON") << "user_message"
                                                  << "not json" << int(ChatEvent::Kind::UserMessage) << "";
        QTest::newRow("query with defaults")
            << "query_result"
            << R"({"row_count":"3"})" << int(ChatEvent::Kind::QueryResult) << "查询结果";
        QTest::newRow("card needs its item") << "pending_emitted"
                                             << R"({"pending_id":"4"})" << -1 << "";
    }

    void serverMessageBecomesEvent()
    {
        QFETCH(QString, kind);
        QFETCH(QString, content);
        QFETCH(int, eventKind);
        QFETCH(QString, text);
        const wire::ChatMessageDTO message { "mig-1", 3, roleFor(kind), kind, content, "2026-11-21T10:15:00.000Z" };
        const QDateTime fallback(QDate(2000, 1, 1), QTime(0, 0), Qt::UTC);
        const auto event = ChatSyncEncoding::event(message, fallback);
        QCOMPARE(event.has_value(), eventKind >= 0);
        // Only a card names a pending item.
        QCOMPARE(pendingId(message), kind == "pending_emitted" ? std::optional<QString>("4") : std::nullopt);
        if (!event)
            return;
        QCOMPARE(int(event->kind()), eventKind);
        QCOMPARE(uuidText(event->id()), QStringLiteral("E668438C-62F1-5C34-D185-430381ACA711"));
        QCOMPARE(event->timestamp(), QDateTime(QDate(2026, 11, 21), QTime(10, 15), Qt::UTC));
        const QVariantMap view = event->toVariantMap();
        const QString shown = view.value("text", view.value("message", view.value("title"))).toString();
        QCOMPARE(shown, text);
    }

    void writerWritesSortedLinesWithTheirTime()
    {
        QTemporaryDir home;
        auto clock = std::make_shared<ManualClock>();
        SessionJSONLWriter writer(ClientPaths::under(home.path()), "3F2504E0-4F89-41D3-9A0C-0305E82C3301", clock);
        QCOMPARE(writer.fileURL(), home.path() + "/VelmarOS/sessions/3F2504E0-4F89-41D3-9A0C-0305E82C3301.jsonl");
        writer.append({ { "type", "user_message" }, { "text", "今天午餐 50" }, { "id", "B" } });
        writer.append({ { "ts", "kept" }, { "type", "error" }, { "message", "x" } });
        writer.appendRaw("raw line");

        QFile file(writer.fileURL());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()),
            QStringLiteral(R"({"id":"B","text":"今天午餐 50","ts":"2026-11-21T09:30:00.000Z","type":"user_message"})"
                           "\n"
                           R"({"message":"x","ts":"kept","type":"error"})"
                           "\n"
                           "raw line\n"));
        QCOMPARE(writer.readLines().size(), 3);

        writer.clearAndReset();
        QVERIFY(QFile::exists(writer.fileURL()));
        QVERIFY(writer.readLines().isEmpty());
        writer.append({ { "type", "assistant_text" }, { "text", "again" } });
        QCOMPARE(writer.readLines().size(), 1);
    }

    // A write cut short by a full disk closes the file; the next append opens it again and
    // the damage stays on the one line that was lost.
    void failedWriteReopensOnTheNextAppend()
    {
        QTemporaryDir home;
        auto clock = std::make_shared<ManualClock>();
        SessionJSONLWriter writer(ClientPaths::under(home.path()), "S", clock);
        writer.append({ { "type", "user_message" }, { "text", "first" }, { "id", "1" } });
        QVERIFY(writer.isOpen());

        const qint64 size = QFileInfo(writer.fileURL()).size();
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit previous {};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &previous), 0);
        rlimit capped = previous;
        capped.rlim_cur = rlim_t(size + 10);
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &capped), 0);
        writer.append({ { "type", "assistant_text" }, { "text", QString(200, QChar('x')) }, { "id", "2" } });
        const bool closed = !writer.isOpen();
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &previous), 0);
        QVERIFY(closed);

        writer.append({ { "type", "assistant_text" }, { "text", "third" }, { "id", "3" } });
        QVERIFY(writer.isOpen());
        const QStringList lines = writer.readLines();
        QCOMPARE(lines.size(), 3);
        QVERIFY(lines[0].contains("first"));
        QVERIFY(!QJsonDocument::fromJson(lines[1].toUtf8()).isObject()); // the torn line
        QVERIFY(QJsonDocument::fromJson(lines[2].toUtf8()).object().value("text") == "third");
    }
};

QTEST_GUILESS_MAIN(ChatSyncEncodingTest)
#include "ChatSyncEncodingTest.moc"

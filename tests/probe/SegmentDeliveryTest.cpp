#include "SegmentDelivery.h"
#include "FocusProbe.h"
#include "ForegroundSource.h"
#include "HealthWriter.h"
#include "ManualProbeClock.h"
#include "SegmentPoster.h"
#include "SegmentQueue.h"

#include "AwaitTask.h"
#include "TestServer.h"

#include "time/TimeDomainModels.h"
#include "json/JsonCoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryDir>
#include <QTest>

#include <qcoro/qcoronetworkreply.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

wire::TimeManualRequest captured(const QString& start, const QString& end, const QString& activity)
{
    wire::TimeManualRequest request;
    request.date = u"2026-11-21"_s;
    request.start_time = start;
    request.end_time = end;
    request.activity = activity;
    request.source = u"mac-sensor"_s;
    request.raw_note = u"{\"Code\":100}"_s;
    return request;
}

// A desktop that always shows the same window.
class SteadySource final : public ForegroundSource {
public:
    ProbeSample sample() override { return { ForegroundWindow { u"Code"_s, u"code"_s, u"main.cpp"_s, 7 }, 0 }; }
    SourceState state() const override { return { true, true, true, {} }; }
};

} // namespace

// Segments leave the sensor through a file on disk and reach the real lumen-api exactly once,
// whether the backend is up, down, restarted or answering the same segment twice.
class SegmentDeliveryTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_server = std::make_unique<TestServer>();
        m_server->createUser(u"velmar"_s, u"pw"_s, u"Velmar"_s);
        m_server->createUser(u"sefa"_s, u"pw"_s, u"Sefa"_s);
        m_token = m_server->issueToken(u"velmar"_s);
        m_dir = std::make_unique<QTemporaryDir>();
        m_queue = std::make_unique<SegmentQueue>(queuePath());
        m_network = std::make_unique<QNetworkAccessManager>();
        m_poster = std::make_unique<SegmentPoster>(*m_network, m_server->baseUrl());
        m_clock = std::make_unique<ManualProbeClock>(QDateTime(QDate(2026, 11, 21), QTime(9, 0), Qt::UTC));
        m_delivery = std::make_unique<SegmentDelivery>(
            *m_queue, *m_poster, *m_clock, [this]() -> std::optional<QString> { return m_token; });
    }
    void cleanup()
    {
        m_delivery.reset();
        m_poster.reset();
        m_network.reset();
        m_queue.reset();
        m_server.reset();
        m_dir.reset();
    }

    void deliversOldestFirstAsUnconfirmedCaptures()
    {
        m_queue->enqueue(captured(u"09:00"_s, u"09:30"_s, u"Code · main.cpp"_s));
        m_queue->enqueue(captured(u"09:30"_s, u"10:00"_s, u"离屏"_s));
        awaitTask(m_delivery->drain());

        QCOMPARE(m_queue->waitingCount(), 0);
        QVERIFY(m_delivery->problem().isEmpty());
        const QJsonArray entries = unconfirmed(m_token);
        QCOMPARE(entries.size(), 2);
        QStringList activities;
        for (const QJsonValue& entry : entries) {
            QCOMPARE(entry[u"source"_s].toString(), u"mac-sensor"_s);
            QCOMPARE(entry[u"confirmed"_s].toInt(), 0);
            activities << entry[u"activity"_s].toString();
        }
        activities.sort();
        QCOMPARE(activities, (QStringList { u"Code · main.cpp"_s, u"离屏"_s }));
    }

    // The backend goes away with segments waiting: nothing is lost while it is down, the waits
    // grow, and once it is back every segment is booked once.
    void backendDownThenBackLosesAndDoublesNothing()
    {
        m_server->stop();
        m_queue->enqueue(captured(u"09:00"_s, u"09:30"_s, u"Code"_s));
        m_queue->enqueue(captured(u"09:30"_s, u"09:45"_s, u"Firefox"_s));

        awaitTask(m_delivery->drain());
        QCOMPARE(m_queue->waitingCount(), 2);
        QCOMPARE(m_queue->next()->attempts, 1);
        QCOMPARE(m_delivery->retryAt(), m_clock->now().addSecs(2));
        QVERIFY(m_delivery->problem().contains(u"无法送达 lumen-api"_s));

        awaitTask(m_delivery->drain()); // still waiting: no attempt
        QCOMPARE(m_queue->next()->attempts, 1);

        m_clock->advance(2);
        awaitTask(m_delivery->drain());
        QCOMPARE(m_queue->next()->attempts, 2);
        QCOMPARE(m_delivery->retryAt(), m_clock->now().addSecs(4));

        m_server->start();
        m_network->clearConnectionCache();
        m_clock->advance(4);
        awaitTask(m_delivery->drain());
        QCOMPARE(m_queue->waitingCount(), 0);
        QVERIFY(m_delivery->problem().isEmpty());
        QVERIFY(!m_delivery->retryAt());
        QCOMPARE(unconfirmed(m_token).size(), 2);
    }

    // The answer to a post can be lost after the server booked it; the resend must not book it
    // again, not even after the user deleted the entry in between.
    void aResentSegmentIsBookedOnce()
    {
        const QString key = m_queue->enqueue(captured(u"09:00"_s, u"09:30"_s, u"Code"_s));
        const QueuedSegment segment = *m_queue->next();
        QCOMPARE(segment.clientKey, key);
        QCOMPARE(awaitTask(m_poster->post(segment, m_token)).kind, DeliveryOutcome::Kind::delivered);
        QCOMPARE(awaitTask(m_poster->post(segment, m_token)).kind, DeliveryOutcome::Kind::delivered);
        const QJsonArray entries = unconfirmed(m_token);
        QCOMPARE(entries.size(), 1);

        send("DELETE", u"/time/%1"_s.arg(entries[0][u"id"_s].toInt()), m_token);
        QCOMPARE(awaitTask(m_poster->post(segment, m_token)).kind, DeliveryOutcome::Kind::delivered);
        QCOMPARE(unconfirmed(m_token).size(), 0);

        // Keys are per user: another user's segment with the same key is their own.
        const QString sefa = m_server->issueToken(u"sefa"_s);
        QCOMPARE(awaitTask(m_poster->post(segment, sefa)).kind, DeliveryOutcome::Kind::delivered);
        QCOMPARE(unconfirmed(sefa).size(), 1);
    }

    void outcomes_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("date");
        QTest::addColumn<bool>("validToken");
        QTest::addColumn<int>("kind");
        QTest::newRow("a malformed key is refused")
            << u"no spaces allowed"_s << u"2026-11-21"_s << true << int(DeliveryOutcome::Kind::refused);
        QTest::newRow("a record the ledger cannot hold is refused")
            << u"k1"_s << u"21/11/2026"_s << true << int(DeliveryOutcome::Kind::refused);
        QTest::newRow("a revoked token is unauthorized")
            << u"k1"_s << u"2026-11-21"_s << false << int(DeliveryOutcome::Kind::unauthorized);
    }
    void outcomes()
    {
        QFETCH(QString, key);
        QFETCH(QString, date);
        QFETCH(bool, validToken);
        QFETCH(int, kind);
        wire::TimeManualRequest request = captured(u"09:00"_s, u"09:30"_s, u"Code"_s);
        request.date = date;
        const DeliveryOutcome outcome = awaitTask(
            m_poster->post(QueuedSegment { key, wire::toBytes(request), 0 }, validToken ? m_token : u"nope"_s));
        QCOMPARE(int(outcome.kind), kind);
        QVERIFY(!outcome.detail.isEmpty());
        QCOMPARE(unconfirmed(m_token).size(), 0);
    }

    // A segment the backend will never take is set aside, so the ones behind it still go.
    void aRefusedSegmentDoesNotBlockTheRest()
    {
        wire::TimeManualRequest bad = captured(u"09:00"_s, u"09:30"_s, u"Code"_s);
        bad.date = u"not a day"_s;
        m_queue->enqueue(bad);
        m_queue->enqueue(captured(u"09:30"_s, u"10:00"_s, u"Firefox"_s));
        awaitTask(m_delivery->drain());
        QCOMPARE(m_queue->waitingCount(), 0);
        QCOMPARE(m_queue->refusedCount(), 1);
        QCOMPARE(unconfirmed(m_token).size(), 1);
    }

    void withoutATokenSegmentsWaitOnDisk()
    {
        SegmentDelivery delivery(*m_queue, *m_poster, *m_clock, [] { return std::optional<QString>(); });
        m_queue->enqueue(captured(u"09:00"_s, u"09:30"_s, u"Code"_s));
        awaitTask(delivery.drain());
        QCOMPARE(m_queue->waitingCount(), 1);
        QVERIFY(delivery.problem().contains(u"focus-probe sign-in"_s));
    }

    void aQueueKeepsItsSegmentsAndKeysAcrossARestart()
    {
        const QString key = m_queue->enqueue(captured(u"09:00"_s, u"09:30"_s, u"Code"_s));
        m_delivery.reset();
        m_queue.reset();
        SegmentQueue reopened(queuePath());
        QCOMPARE(reopened.waitingCount(), 1);
        QCOMPARE(reopened.next()->clientKey, key);
        QCOMPARE(QFile(queuePath()).permissions() & (QFileDevice::ReadGroup | QFileDevice::ReadOther), 0);
    }

    // The copy of the open segment goes with the closed ones in one step: a crash at any
    // point leaves each segment exactly once in the file.
    void theOpenSegmentSurvivesACrashOnce()
    {
        m_queue->record({}, captured(u"09:00"_s, u"09:05"_s, u"Code"_s));
        m_queue->record(
            { captured(u"09:00"_s, u"09:10"_s, u"Code"_s) }, captured(u"09:10"_s, u"09:12"_s, u"Firefox"_s));
        m_delivery.reset();
        m_queue.reset();

        SegmentQueue reopened(queuePath());
        QVERIFY(reopened.recoverOpen());
        QVERIFY(!reopened.recoverOpen());
        QCOMPARE(reopened.waitingCount(), 2);
        QCOMPARE(wire::fromBytes<wire::TimeManualRequest>(reopened.next()->body).end_time, u"09:10"_s);

        reopened.record({}, captured(u"09:12"_s, u"09:20"_s, u"Firefox"_s));
        reopened.record({ captured(u"09:12"_s, u"09:25"_s, u"Firefox"_s) }, std::nullopt);
        QVERIFY(!reopened.recoverOpen());
        QCOMPARE(reopened.waitingCount(), 3);
    }

    // The sensor killed without its orderly stop loses at most the last minute of what it saw.
    void aKilledSensorBooksItsOpenSegmentAtTheNextStart()
    {
        SteadySource source;
        HealthWriter health(HealthWriter::defaultPath(m_dir->path()));
        SegmentDelivery offline(*m_queue, *m_poster, *m_clock, [] { return std::optional<QString>(); });
        {
            FocusProbe probe(source, *m_queue, offline, health, *m_clock, {});
            for (int t = 0; t < 200; t += 5) {
                probe.tick();
                m_clock->advance(5);
            }
            QCOMPARE(m_queue->waitingCount(), 0);
        } // gone without stop()
        FocusProbe next(source, *m_queue, offline, health, *m_clock, {});
        next.start();
        next.stop(); // one look: nothing of its own to book
        QCOMPARE(m_queue->waitingCount(), 1);
        // 09:00 UTC is 20:00 in Melbourne; the copy was last kept at 180 s.
        const auto recovered = wire::fromBytes<wire::TimeManualRequest>(m_queue->next()->body);
        QCOMPARE(recovered.start_time + u"-"_s + recovered.end_time, u"20:00-20:03"_s);
        QCOMPARE(recovered.activity, u"Code · main.cpp"_s);
    }

private:
    QString queuePath() const { return m_dir->filePath(u"queue.sqlite"_s); }

    QByteArray send(const QByteArray& method, const QString& path, const QString& token)
    {
        QNetworkRequest request(QUrl(m_server->baseUrl().toString() + path));
        request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
        std::unique_ptr<QNetworkReply> reply(m_network->sendCustomRequest(request, method));
        awaitTask([](QNetworkReply* r) -> QCoro::Task<bool> {
            co_await r;
            co_return true;
        }(reply.get()));
        return reply->readAll();
    }
    QJsonArray unconfirmed(const QString& token)
    {
        return QJsonDocument::fromJson(send("GET", u"/time/list?confirmed=0&limit=200"_s, token)).array();
    }

    std::unique_ptr<TestServer> m_server;
    QString m_token;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<SegmentQueue> m_queue;
    std::unique_ptr<QNetworkAccessManager> m_network;
    std::unique_ptr<SegmentPoster> m_poster;
    std::unique_ptr<ManualProbeClock> m_clock;
    std::unique_ptr<SegmentDelivery> m_delivery;
};

QTEST_GUILESS_MAIN(SegmentDeliveryTest)
#include "SegmentDeliveryTest.moc"

#include "FocusProbe.h"
#include "HealthWriter.h"
#include "ManualProbeClock.h"
#include "SegmentDelivery.h"
#include "SegmentPoster.h"
#include "SegmentQueue.h"
#include "X11ForegroundSource.h"

#include "AwaitTask.h"
#include "TestServer.h"
#include "time/TimeCaptureHealth.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <qcoro/qcoronetworkreply.h>

#include <xcb/xcb.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// Waits for a line of a child's standard output, pumping events; empty when it ends first.
QByteArray readLine(QProcess& process, int timeoutMs = 30000)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!process.canReadLine()) {
        if (process.state() == QProcess::NotRunning || deadline.hasExpired()
            || !process.waitForReadyRead(int(std::max<qint64>(1, deadline.remainingTime()))))
            return {};
    }
    return process.readLine().trimmed();
}

// A display of its own, on a number the server picks, with no window manager.
class Display {
public:
    bool start(const QStringList& extraArguments = {})
    {
        m_server.setProgram(u"Xvfb"_s);
        m_server.setArguments(
            QStringList { u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"640x480x24"_s, u"-nolisten"_s, u"tcp"_s }
            + extraArguments);
        m_server.setStandardErrorFile(QProcess::nullDevice());
        m_server.start();
        const QByteArray number = readLine(m_server);
        if (number.isEmpty())
            return false;
        m_name = ":" + number;
        m_xcb = xcb_connect(m_name.constData(), nullptr);
        if (xcb_connection_has_error(m_xcb))
            return false;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_xcb)).data->root;
        return true;
    }
    ~Display()
    {
        for (auto& window : m_windows) {
            window->kill();
            window->waitForFinished();
        }
        if (m_xcb)
            xcb_disconnect(m_xcb);
        m_server.terminate();
        m_server.waitForFinished();
    }

    const QByteArray& name() const { return m_name; }

    // A window of a program of its own; its id, or 0.
    xcb_window_t open(const QString& appName, const QString& title)
    {
        auto window = std::make_unique<QProcess>();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"DISPLAY"_s, QString::fromLatin1(m_name));
        env.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        window->setProcessEnvironment(env);
        window->setStandardErrorFile(QProcess::nullDevice());
        window->start(QStringLiteral(PROBE_TEST_WINDOW), { appName, title });
        const QByteArray ready = readLine(*window);
        m_windows.push_back(std::move(window));
        return ready.startsWith("ready ") ? xcb_window_t(ready.mid(6).toULongLong()) : 0;
    }
    qint64 lastPid() const { return m_windows.back()->processId(); }
    void closeLast()
    {
        m_windows.back()->kill();
        m_windows.back()->waitForFinished();
    }

    // What a window manager does when the user picks a window; without one, the focus alone.
    void activate(xcb_window_t window, bool asWindowManager)
    {
        if (asWindowManager) {
            const char* name = "_NET_ACTIVE_WINDOW";
            xcb_intern_atom_reply_t* atom
                = xcb_intern_atom_reply(m_xcb, xcb_intern_atom(m_xcb, 0, uint16_t(strlen(name)), name), nullptr);
            xcb_change_property(m_xcb, XCB_PROP_MODE_REPLACE, m_root, atom->atom, XCB_ATOM_WINDOW, 32, 1, &window);
            free(atom);
        } else {
            xcb_set_input_focus(m_xcb, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
        }
        // A round trip: the display has done it before anyone looks.
        free(xcb_get_input_focus_reply(m_xcb, xcb_get_input_focus(m_xcb), nullptr));
    }

private:
    QProcess m_server;
    QByteArray m_name;
    xcb_connection_t* m_xcb = nullptr;
    xcb_window_t m_root = 0;
    std::vector<std::unique_ptr<QProcess>> m_windows;
};

} // namespace

// The sensor against a real X display: it reads what a real toolkit writes, sees the user
// switch windows, and books the switch in the real lumen-api.
class ForegroundX11Test : public QObject {
    Q_OBJECT

private slots:
    void anUnreachableDisplayIsReportedAndTriedAgain()
    {
        X11ForegroundSource source(":4093"); // nobody serves it
        const ProbeSample first = source.sample();
        const ProbeSample second = source.sample(); // tries again, still nothing
        QVERIFY(!first.window && !second.window && !second.idleSec);
        QVERIFY(!source.state().windowReadable);
        QCOMPARE(
            source.state().problems, QStringList { u"无法连接图形显示 :4093：无法读取前台窗口，也无法判断离屏"_s });

        // The heartbeat still goes out, and the client reads it as "cannot see windows".
        QTemporaryDir home;
        HealthWriter writer(HealthWriter::defaultPath(home.path()));
        HealthReport report;
        report.updatedAt = QDateTime(QDate(2026, 11, 21), QTime(9, 0), Qt::UTC);
        report.problems = source.state().problems;
        QVERIFY(writer.write(report));
        const auto health = TimeCaptureHealth::load(home.path());
        QVERIFY(health);
        QVERIFY(!health->accessibilityTrusted);
        QVERIFY(health->isFresh(report.updatedAt));
    }

    // A display without the screen-saver extension: windows are still read, idle is not, and
    // the sensor says which half is missing.
    void aDisplayWithoutAnIdleSourceStillReadsWindows()
    {
        if (QStandardPaths::findExecutable(u"Xvfb"_s).isEmpty())
            QSKIP("Xvfb is not installed (scripts/setup installs it)");
        Display display;
        QVERIFY(display.start({ u"-extension"_s, u"MIT-SCREEN-SAVER"_s }));
        X11ForegroundSource source(display.name());
        QVERIFY(source.state().windowReadable);
        QVERIFY(!source.state().idleReadable);
        QCOMPARE(source.state().problems.size(), 1);
        QVERIFY(source.state().problems.first().contains(u"MIT-SCREEN-SAVER"_s));

        const xcb_window_t window = display.open(u"probe-notes"_s, u"草稿甲"_s);
        QVERIFY(window);
        display.activate(window, false);
        const ProbeSample seen = source.sample();
        QVERIFY(seen.window);
        QCOMPARE(seen.window->title, u"草稿甲"_s);
        QVERIFY(!seen.idleSec);
    }

    void recordsASwitchBetweenTwoWindows_data()
    {
        QTest::addColumn<bool>("asWindowManager");
        QTest::newRow("input focus, no window manager") << false;
        QTest::newRow("_NET_ACTIVE_WINDOW of a window manager") << true;
    }
    void recordsASwitchBetweenTwoWindows()
    {
        QFETCH(bool, asWindowManager);
        if (QStandardPaths::findExecutable(u"Xvfb"_s).isEmpty())
            QSKIP("Xvfb is not installed (scripts/setup installs it)");
        Display display;
        QVERIFY(display.start());

        X11ForegroundSource source(display.name());
        QVERIFY(source.state().windowReadable);
        QVERIFY2(source.state().idleReadable, qPrintable(source.state().problems.join(u'\n')));
        QVERIFY(!source.sample().window);

        TestServer server;
        server.createUser(u"velmar"_s, u"pw"_s);
        const QString token = server.issueToken(u"velmar"_s);
        QTemporaryDir home;
        SegmentQueue queue(home.filePath(u"queue.sqlite"_s));
        QNetworkAccessManager network;
        SegmentPoster poster(network, server.baseUrl());
        ManualProbeClock clock(QDateTime(QDate(2026, 11, 21), QTime(9, 0), Qt::UTC));
        SegmentDelivery delivery(queue, poster, clock, [&] { return std::optional<QString>(token); });
        HealthWriter health(HealthWriter::defaultPath(home.path()));
        FocusProbe probe(source, queue, delivery, health, clock, {});

        const xcb_window_t draft = display.open(u"probe-notes"_s, u"草稿甲"_s);
        QVERIFY(draft);
        const qint64 draftPid = display.lastPid();
        display.activate(draft, asWindowManager);
        const ProbeSample seen = source.sample();
        QVERIFY(seen.window);
        QCOMPARE(seen.window->title, u"草稿甲"_s);
        QCOMPARE(seen.window->pid, draftPid);
        QVERIFY2(seen.window->appName.contains(u"notes"_s, Qt::CaseInsensitive), qPrintable(seen.window->appName));
        const QString draftApp = seen.window->appName;

        auto lookFor = [&](int seconds) {
            for (int t = 0; t < seconds; t += 5) {
                probe.tick();
                clock.advance(5);
            }
        };
        lookFor(120);
        const auto live = TimeCaptureHealth::load(home.path());
        QVERIFY(live && live->liveSegment);
        QCOMPARE(live->appName, draftApp);
        QCOMPARE(live->liveSegment->windowTitle, u"草稿甲"_s);
        QVERIFY(live->accessibilityTrusted && live->windowTitleAvailable);

        const xcb_window_t mail = display.open(u"probe-mail"_s, u"收件箱"_s);
        QVERIFY(mail);
        display.activate(mail, asWindowManager);
        lookFor(120);
        probe.stop();
        // The drain the last look started is still under way and takes the stop's segment too.
        QTRY_COMPARE_WITH_TIMEOUT(queue.waitingCount(), 0, 20000);
        QNetworkRequest request(QUrl(server.baseUrl().toString() + u"/time/list?confirmed=0&limit=200"_s));
        request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
        std::unique_ptr<QNetworkReply> reply(network.get(request));
        awaitTask([](QNetworkReply* r) -> QCoro::Task<bool> {
            co_await r;
            co_return true;
        }(reply.get()));
        QStringList booked;
        for (const QJsonValue& entry : QJsonDocument::fromJson(reply->readAll()).array()) {
            QCOMPARE(entry[u"source"_s].toString(), u"mac-sensor"_s);
            booked << u"%1-%2 %3"_s.arg(
                entry[u"start_time"_s].toString(), entry[u"end_time"_s].toString(), entry[u"activity"_s].toString());
        }
        booked.sort();
        // 09:00 UTC is 20:00 in Melbourne.
        QCOMPARE(booked.size(), 2);
        QCOMPARE(booked[0], u"20:00-20:02 %1 · 草稿甲"_s.arg(draftApp));
        QVERIFY2(booked[1].startsWith(u"20:02-20:04 "_s) && booked[1].endsWith(u" · 收件箱"_s), qPrintable(booked[1]));

        // The active window goes away: no window, no stale name, and the display still answers.
        display.closeLast();
        for (int look = 0; look < 3; ++look)
            QVERIFY(!source.sample().window);
        QVERIFY(source.state().windowReadable);
    }
};

QTEST_GUILESS_MAIN(ForegroundX11Test)
#include "ForegroundX11Test.moc"

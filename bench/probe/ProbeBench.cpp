// Measures what the sensor costs while it samples: the CPU time of one look, and what that
// makes of one core at the 5-second period. Starts Xvfb with one focused window unless
// --display NAME is given.
//   bench-probe [--looks N] [--display NAME]
#include "FocusProbe.h"
#include "ForegroundSource.h"
#include "HealthWriter.h"
#include "ProbeClock.h"
#include "SegmentDelivery.h"
#include "SegmentPoster.h"
#include "SegmentQueue.h"
#include "X11ForegroundSource.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QProcess>
#include <QTemporaryDir>

#include <xcb/xcb.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace {

class SteppedClock final : public ProbeClock {
public:
    QDateTime now() const override { return m_now; }
    void advance(qint64 seconds) { m_now = m_now.addSecs(seconds); }

private:
    QDateTime m_now = QDateTime::currentDateTimeUtc();
};

double cpuMs()
{
    timespec ts {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1000.0 + double(ts.tv_nsec) / 1e6;
}

void setText(xcb_connection_t* x, xcb_window_t window, xcb_atom_t name, xcb_atom_t type, const QByteArray& value)
{
    xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, name, type, 8, uint32_t(value.size()), value.constData());
}

xcb_atom_t atom(xcb_connection_t* x, const char* name)
{
    xcb_intern_atom_reply_t* reply
        = xcb_intern_atom_reply(x, xcb_intern_atom(x, 0, uint16_t(strlen(name)), name), nullptr);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    free(reply);
    return value;
}

// A window as a toolkit would describe it, with the input focus.
void openFocusedWindow(const QByteArray& display)
{
    xcb_connection_t* x = xcb_connect(display.constData(), nullptr);
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(x)).data;
    const xcb_window_t window = xcb_generate_id(x);
    xcb_create_window(x, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 200, 100, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
        screen->root_visual, 0, nullptr);
    setText(x, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, QByteArray("code\0Code\0", 10));
    setText(x, window, atom(x, "_NET_WM_NAME"), atom(x, "UTF8_STRING"), "ProbeBench.cpp — velmaros");
    const uint32_t pid = uint32_t(getpid());
    xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, atom(x, "_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1, &pid);
    xcb_map_window(x, window);
    xcb_set_input_focus(x, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    free(xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
    // The connection stays open: its window lives as long as the bench.
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    int looks = 2000;
    QByteArray display;
    const QStringList args = app.arguments();
    for (int i = 1; i + 1 < args.size(); i += 2) {
        if (args[i] == QStringLiteral("--looks"))
            looks = std::max(1, args[i + 1].toInt());
        else if (args[i] == QStringLiteral("--display"))
            display = args[i + 1].toLocal8Bit();
    }

    QProcess xvfb;
    if (display.isEmpty()) {
        xvfb.start(QStringLiteral("Xvfb"),
            { QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-nolisten"), QStringLiteral("tcp") });
        while (!xvfb.canReadLine() && xvfb.waitForReadyRead(30000)) { }
        const QByteArray number = xvfb.readLine().trimmed();
        if (number.isEmpty()) {
            std::fprintf(stderr, "bench-probe: Xvfb did not start (scripts/setup installs it)\n");
            return 1;
        }
        display = ":" + number;
        openFocusedWindow(display);
    }

    QTemporaryDir home;
    SegmentQueue queue(home.filePath(QStringLiteral("queue.sqlite")));
    QNetworkAccessManager network;
    SegmentPoster poster(network, QUrl(QStringLiteral("http://127.0.0.1:9")));
    SteppedClock clock;
    SegmentDelivery delivery(queue, poster, clock, [] { return std::optional<QString>(); });
    HealthWriter health(HealthWriter::defaultPath(home.path()));
    X11ForegroundSource source(display);
    FocusProbe probe(source, queue, delivery, health, clock, {});
    if (!source.sample().window)
        std::fprintf(stderr, "bench-probe: no focused window on %s; measuring the empty look\n", display.constData());

    probe.tick(); // warm: connection, atoms, files
    const double start = cpuMs();
    for (int i = 0; i < looks; ++i) {
        clock.advance(5);
        probe.tick();
    }
    const double perLook = (cpuMs() - start) / looks;
    std::printf("focus-probe: %d looks on %s, %.3f ms CPU per look; at one look per 5 s that is %.4f %% of one core\n",
        looks, display.constData(), perLook, perLook / 5000.0 * 100.0);
    xvfb.terminate();
    xvfb.waitForFinished();
    return 0;
}

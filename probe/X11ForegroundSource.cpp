#include "X11ForegroundSource.h"

#include "ApplicationName.h"

#include <QFile>

#include <xcb/screensaver.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace {

template<class T> struct FreeDeleter {
    void operator()(T* p) const { std::free(p); }
};
template<class T> using Reply = std::unique_ptr<T, FreeDeleter<T>>;

QString processName(qint64 pid)
{
    if (pid <= 0)
        return {};
    QFile comm(QStringLiteral("/proc/%1/comm").arg(pid));
    if (!comm.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(comm.readAll()).trimmed();
}

} // namespace

struct X11ForegroundSource::Connection {
    xcb_connection_t* xcb = nullptr;
    xcb_window_t root = 0;
    xcb_atom_t activeWindow = XCB_ATOM_NONE;
    xcb_atom_t wmName = XCB_ATOM_NONE;
    xcb_atom_t utf8 = XCB_ATOM_NONE;
    xcb_atom_t wmPid = XCB_ATOM_NONE;
    bool screensaver = false;

    ~Connection()
    {
        if (xcb)
            xcb_disconnect(xcb);
    }

    xcb_atom_t atom(const char* name)
    {
        const auto cookie = xcb_intern_atom(xcb, 0, uint16_t(strlen(name)), name);
        Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(xcb, cookie, nullptr));
        return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }

    QByteArray property(xcb_window_t window, xcb_atom_t name, xcb_atom_t type, uint32_t maxLongs = 1024)
    {
        if (name == XCB_ATOM_NONE)
            return {};
        const auto cookie = xcb_get_property(xcb, 0, window, name, type, 0, maxLongs);
        Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(xcb, cookie, nullptr));
        if (!reply || reply->type == XCB_ATOM_NONE)
            return {};
        return QByteArray(
            static_cast<const char*>(xcb_get_property_value(reply.get())), xcb_get_property_value_length(reply.get()));
    }

    std::optional<uint32_t> cardinal(xcb_window_t window, xcb_atom_t name, xcb_atom_t type)
    {
        const QByteArray value = property(window, name, type, 1);
        if (value.size() < 4)
            return std::nullopt;
        uint32_t number = 0;
        memcpy(&number, value.constData(), 4);
        return number;
    }

    // The focused window is often a child of the program's window; the one with WM_CLASS
    // is the program's.
    xcb_window_t topLevelOf(xcb_window_t window)
    {
        for (int depth = 0; depth < 16 && window != XCB_WINDOW_NONE && window != root; ++depth) {
            if (!property(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 64).isEmpty())
                return window;
            Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(xcb, xcb_query_tree(xcb, window), nullptr));
            if (!tree)
                return XCB_WINDOW_NONE;
            window = tree->parent;
        }
        return XCB_WINDOW_NONE;
    }

    xcb_window_t active()
    {
        if (const auto net = cardinal(root, activeWindow, XCB_ATOM_WINDOW); net && *net != XCB_WINDOW_NONE)
            return *net;
        // No window manager keeps _NET_ACTIVE_WINDOW: the input focus says the same.
        Reply<xcb_get_input_focus_reply_t> focus(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
        if (!focus || focus->focus == XCB_WINDOW_NONE || focus->focus == XCB_INPUT_FOCUS_POINTER_ROOT)
            return XCB_WINDOW_NONE;
        return topLevelOf(focus->focus);
    }
};

X11ForegroundSource::X11ForegroundSource(QByteArray displayName)
    : m_displayName(std::move(displayName))
{
    connect();
}

X11ForegroundSource::~X11ForegroundSource() = default;

bool X11ForegroundSource::connect()
{
    m_connection.reset();
    m_state = SourceState {};
    const QByteArray name = m_displayName.isEmpty() ? qgetenv("DISPLAY") : m_displayName;
    if (name.isEmpty()) {
        m_state.problems << QStringLiteral("没有图形显示（DISPLAY 未设置）：无法读取前台窗口，也无法判断离屏");
        return false;
    }
    auto connection = std::make_unique<Connection>();
    int screenNumber = 0;
    connection->xcb = xcb_connect(name.constData(), &screenNumber);
    if (xcb_connection_has_error(connection->xcb)) {
        m_state.problems << QStringLiteral("无法连接图形显示 %1：无法读取前台窗口，也无法判断离屏")
                                .arg(QString::fromLocal8Bit(name));
        return false;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection->xcb));
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    connection->root = screens.data->root;
    connection->activeWindow = connection->atom("_NET_ACTIVE_WINDOW");
    connection->wmName = connection->atom("_NET_WM_NAME");
    connection->utf8 = connection->atom("UTF8_STRING");
    connection->wmPid = connection->atom("_NET_WM_PID");
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection->xcb, &xcb_screensaver_id);
    connection->screensaver = extension && extension->present;

    m_state.windowReadable = true;
    m_state.titleReadable = true;
    m_state.idleReadable = connection->screensaver;
    if (!connection->screensaver) {
        m_state.problems << QStringLiteral(
            "图形显示 %1 没有屏保扩展（MIT-SCREEN-SAVER）：读不到空闲时间，离屏不会被识别")
                                .arg(QString::fromLocal8Bit(name));
    }
    m_connection = std::move(connection);
    return true;
}

ProbeSample X11ForegroundSource::sample()
{
    if (!m_connection && !connect())
        return {};
    Connection& x = *m_connection;
    ProbeSample sample;
    if (x.screensaver) {
        Reply<xcb_screensaver_query_info_reply_t> info(
            xcb_screensaver_query_info_reply(x.xcb, xcb_screensaver_query_info(x.xcb, x.root), nullptr));
        if (info)
            sample.idleSec = int(info->ms_since_user_input / 1000);
    }
    if (const xcb_window_t window = x.active(); window != XCB_WINDOW_NONE) {
        ForegroundWindow foreground;
        QByteArray title = x.property(window, x.wmName, x.utf8);
        if (title.isEmpty())
            title = x.property(window, XCB_ATOM_WM_NAME, XCB_ATOM_ANY);
        foreground.title = QString::fromUtf8(title).trimmed();
        // WM_CLASS holds two strings, instance then class, each ending in a zero byte.
        const QList<QByteArray> wmClass = x.property(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 64).split('\0');
        const QString instance = wmClass.size() > 0 ? QString::fromLocal8Bit(wmClass[0]) : QString();
        const QString className = wmClass.size() > 1 ? QString::fromLocal8Bit(wmClass[1]) : QString();
        foreground.appClass = className.isEmpty() ? instance : className;
        foreground.pid = x.cardinal(window, x.wmPid, XCB_ATOM_CARDINAL).value_or(0);
        const QString process = processName(foreground.pid);
        foreground.appName = applicationName(foreground.appClass, process);
        if (isOwnProgram(process))
            foreground.title.clear(); // the review skips the system's own time by its bare name
        if (!foreground.appName.isEmpty() || !foreground.title.isEmpty())
            sample.window = foreground;
    }
    // Errors of replies asked without an error slot (a window closed mid-look) arrive as
    // events; nobody else reads them, so they are dropped here before they pile up.
    while (xcb_generic_event_t* event = xcb_poll_for_event(x.xcb))
        std::free(event);
    if (xcb_connection_has_error(x.xcb)) {
        // The display went away mid-look: say so now, reach for it again at the next look.
        m_connection.reset();
        m_state = SourceState {};
        m_state.problems << QStringLiteral("与图形显示的连接已断开：下次采样时重连");
        return {};
    }
    return sample;
}

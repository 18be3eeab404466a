// The process entry: one runtime, one window, one start-up task.
#include "MainWindowKeeper.h"

#include "session/QuillonAppRuntime.h"

#include <QFont>
#include <QGuiApplication>
#include <QLocalServer>
#include <QLocalSocket>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QSettings>
#include <QTimer>

#include <iostream>

#include "ImportQmlModules.h"

namespace {

QString instanceName()
{
    return QStringLiteral("velmaros-") + qEnvironmentVariable("USER", QStringLiteral("user"));
}

// A second launch hands over to the running one, which brings its window back.
bool handOverToRunningInstance()
{
    QLocalSocket socket;
    socket.connectToServer(instanceName());
    if (!socket.waitForConnected(300))
        return false;
    socket.write("show\n");
    socket.waitForBytesWritten(300);
    return true;
}

// --version and --help answer before any window system is touched, so they work in a shell
// without a display and in the install checks.
int answerCommandLine(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray word(argv[i]);
        if (word == "--version") {
            std::cout << "velmaros " << VELMAROS_VERSION << '\n';
            return 0;
        }
        if (word == "--help" || word == "-h") {
            std::cout << "用法：velmaros [--version] [--help]\n"
                         "启动 Velmar OS 桌面客户端。已在运行时，把已有窗口带回前台。\n"
                         "后端 lumen-api：" VELMAROS_API_BASE "\n"
                         "中继 mintbridge：" VELMAROS_RELAY_BASE "\n";
            return 0;
        }
    }
    return -1;
}

} // namespace

int main(int argc, char* argv[])
{
    if (const int code = answerCommandLine(argc, argv); code >= 0)
        return code;

    QGuiApplication app(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("VelmarOS"));
    QGuiApplication::setApplicationName(QStringLiteral("VelmarOS"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Velmar OS"));
    QGuiApplication::setApplicationVersion(QStringLiteral("1.3"));
    // Ties the window to its menu entry and icon on Wayland and in task switchers.
    QGuiApplication::setDesktopFileName(QStringLiteral("com.velmar.VelmarOS"));
    QGuiApplication::setFont(QFont(QStringLiteral("Noto Sans CJK SC"), 10));
    QQuickStyle::setStyle(QStringLiteral("Basic"));

    if (handOverToRunningInstance())
        return 0;

    QuillonAppRuntime& runtime = QuillonAppRuntime::shared();
    QQmlApplicationEngine engine;
    // Our QML modules live in the resources; Qt 6.4 does not look there by itself.
    engine.addImportPath(QStringLiteral("qrc:/"));
    engine.setInitialProperties({ { QStringLiteral("appState"), QVariant::fromValue(runtime.appState()) } });
    engine.load(QUrl(QStringLiteral("qrc:/VelmarOS/Shell/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;

    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
    QSettings settings;
    MainWindowKeeper keeper(window, &settings);
    keeper.restoreFrame();

    // A window the platform restored beside ours goes once start-up has settled.
    QTimer::singleShot(
        1500, &keeper, [] { MainWindowKeeper::closeDuplicateMainWindows(QGuiApplication::topLevelWindows()); });

    QLocalServer::removeServer(instanceName());
    QLocalServer instanceServer;
    instanceServer.listen(instanceName());
    QObject::connect(&instanceServer, &QLocalServer::newConnection, &keeper, [&] {
        while (QLocalSocket* peer = instanceServer.nextPendingConnection())
            peer->deleteLater();
        keeper.bringBack();
    });

    [](QuillonAppRuntime* target) -> QCoro::Task<void> {
        try {
            co_await target->bootstrapOnce();
        } catch (...) {
        }
    }(&runtime);

    return app.exec();
}

#include "MainWindowKeeper.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <QScreen>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <vector>

// The one main window: duplicates closed, the frame kept across runs, brought back on re-open.
class WindowRulesTest : public QObject {
    Q_OBJECT

private slots:
    void duplicatesCloseAndTheActiveOneStays()
    {
        std::vector<std::unique_ptr<QQuickWindow>> windows;
        auto make = [&](const QString& title) {
            auto window = std::make_unique<QQuickWindow>();
            window->setTitle(title);
            window->resize(300, 200);
            window->show();
            windows.push_back(std::move(window));
            return windows.back().get();
        };
        QQuickWindow* oldest = make("Velmar OS");
        QQuickWindow* active = make("Velmar OS");
        QQuickWindow* third = make("Velmar OS");
        QQuickWindow* other = make("Velmar OS — 报告");
        QQuickWindow* minimised = make("Velmar OS");
        minimised->setWindowStates(Qt::WindowMinimized);
        active->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(active));

        QList<QWindow*> list;
        for (const auto& window : windows)
            list << window.get();
        QCOMPARE(MainWindowKeeper::closeDuplicateMainWindows(list), 2);
        QVERIFY(active->isVisible());
        QVERIFY(!oldest->isVisible());
        QVERIFY(!third->isVisible());
        QVERIFY(other->isVisible());
        // A single main window is left alone.
        QCOMPARE(MainWindowKeeper::closeDuplicateMainWindows(list), 0);
    }

    void frameIsKeptAndRestored_data()
    {
        QTest::addColumn<bool>("onScreen");
        QTest::newRow("saved on this screen") << true;
        QTest::newRow("saved on a screen that is gone") << false;
    }
    void frameIsKeptAndRestored()
    {
        QFETCH(bool, onScreen);
        QTemporaryDir dir;
        QSettings settings(dir.filePath("settings.ini"), QSettings::IniFormat);
        const QRect available = QGuiApplication::primaryScreen()->availableVirtualGeometry();
        const QRect saved = onScreen ? QRect(available.topLeft() + QPoint(40, 30), QSize(700, 500))
                                     : QRect(available.right() + 5000, 0, 700, 500);
        settings.setValue(MainWindowKeeper::frameKey, saved);

        QQuickWindow window;
        window.setTitle(MainWindowKeeper::windowTitle);
        window.resize(1100, 720);
        MainWindowKeeper keeper(&window, &settings);
        keeper.restoreFrame();
        QCOMPARE(window.geometry() == saved, onScreen);

        // Closing keeps the frame; re-opening brings the window back, un-minimised.
        window.show();
        window.setGeometry(QRect(available.topLeft() + QPoint(10, 10), QSize(820, 600)));
        QTRY_COMPARE(window.geometry().size(), QSize(820, 600));
        window.close();
        QCOMPARE(settings.value(MainWindowKeeper::frameKey).toRect().size(), QSize(820, 600));
        window.setWindowStates(Qt::WindowMinimized);
        keeper.bringBack();
        QVERIFY(window.isVisible());
        QVERIFY(!(window.windowStates() & Qt::WindowMinimized));
    }
};

QTEST_MAIN(WindowRulesTest)
#include "WindowRulesTest.moc"

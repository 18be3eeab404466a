#include "MainWindowKeeper.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <QScreen>
#include <QSettings>

MainWindowKeeper::MainWindowKeeper(QQuickWindow* window, QSettings* settings, QObject* parent)
    : QObject(parent)
    , m_window(window)
    , m_settings(settings)
{
    if (!m_window)
        return;
    connect(m_window, &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible)
            saveFrame();
    });
    connect(qGuiApp, &QGuiApplication::aboutToQuit, this, &MainWindowKeeper::saveFrame);
}

void MainWindowKeeper::restoreFrame()
{
    if (!m_window)
        return;
    const QRect saved = m_settings->value(frameKey).toRect();
    const QScreen* screen = m_window->screen();
    // A frame saved on a screen that is gone would open the window out of sight.
    if (saved.isValid() && screen && screen->availableVirtualGeometry().intersects(saved))
        m_window->setGeometry(saved);
}

void MainWindowKeeper::saveFrame() const
{
    if (m_window && m_window->windowState() == Qt::WindowNoState)
        m_settings->setValue(frameKey, m_window->geometry());
}

int MainWindowKeeper::closeDuplicateMainWindows(const QList<QWindow*>& windows)
{
    QList<QWindow*> main;
    for (QWindow* window : windows) {
        if (window->title() == windowTitle && window->isVisible() && !(window->windowStates() & Qt::WindowMinimized))
            main << window;
    }
    if (main.size() < 2)
        return 0;
    // The active window wins; otherwise the oldest, as the list keeps creation order.
    std::stable_sort(main.begin(), main.end(), [](QWindow* a, QWindow* b) { return a->isActive() && !b->isActive(); });
    for (QWindow* extra : main.mid(1))
        extra->close();
    return int(main.size() - 1);
}

void MainWindowKeeper::bringBack()
{
    if (!m_window)
        return;
    if (m_window->windowStates() & Qt::WindowMinimized)
        m_window->setWindowStates(m_window->windowStates() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->requestActivate();
}

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

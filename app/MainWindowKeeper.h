#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class QQuickWindow;
class QWindow;
class QSettings;

// Keeps the one main window: restores its frame from the settings, saves it when it moves
// or closes, and brings it back when asked (a second launch, a re-open).
class MainWindowKeeper : public QObject {
    Q_OBJECT

public:
    static inline const QString frameKey = QStringLiteral("VelmarOSMainWindow");
    static inline const QString windowTitle = QStringLiteral("Velmar OS");

    MainWindowKeeper(QQuickWindow* window, QSettings* settings, QObject* parent = nullptr);

    void restoreFrame();
    void saveFrame() const;
    // Shows the window again, un-minimised and in front.
    Q_INVOKABLE void bringBack();

    // Of the visible, not minimised windows titled "Velmar OS", keeps one (the active one,
    // else the oldest) and closes the rest. Returns how many it closed.
    static int closeDuplicateMainWindows(const QList<QWindow*>& windows);

private:
    QPointer<QQuickWindow> m_window;
    QSettings* m_settings;
};

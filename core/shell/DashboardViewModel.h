#pragma once

#include "Rhythm.h"

#include "session/Clock.h"

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <memory>

class AppState;

// The home screen's words and targets: the greeting of the hour, the quick cards and the
// report reminders. The greeting follows the clock, checked once a minute.
class DashboardViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppState* appState READ appState WRITE setAppState NOTIFY appStateChanged)
    Q_PROPERTY(QString welcomeSubtitle READ welcomeSubtitle NOTIFY welcomeSubtitleChanged)
    Q_PROPERTY(QVariantList quickCards READ quickCards CONSTANT)
    Q_PROPERTY(QVariantList reminders READ reminders CONSTANT)

public:
    explicit DashboardViewModel(QObject* parent = nullptr);
    DashboardViewModel(RhythmFactory rhythms, QObject* parent = nullptr);

    AppState* appState() const { return m_appState; }
    void setAppState(AppState* appState);
    const QString& welcomeSubtitle() const { return m_welcomeSubtitle; }
    QVariantList quickCards() const;
    QVariantList reminders() const;
    Rhythm* greetingRhythm() const { return m_greetingRhythm; }

    // The greeting for an hour of the local day, 0 to 23.
    static QString welcomeSubtitleFor(int hour);

    // Re-reads the clock.
    Q_INVOKABLE void refreshGreeting();
    // A reminder row: the report viewer of its period, through a navigation request.
    Q_INVOKABLE void openReminder(int index);

signals:
    void appStateChanged();
    void welcomeSubtitleChanged();

private:
    QPointer<AppState> m_appState;
    Rhythm* m_greetingRhythm;
    QString m_welcomeSubtitle;
};

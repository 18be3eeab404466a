#pragma once

#include "Rhythm.h"

#include "time/ServiceManager.h"
#include "time/TimeCaptureHealth.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

class AppState;

// The strip above every screen: the running activity with its clock and stop button, or,
// when nothing runs, how automatic capture is doing. It also holds the sensor's health for
// the banners, and restarts the sensor on request. Rhythms: the running activity every 8 s,
// the health file every 15 s, the clock every second.
class GlobalActivityBarModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppState* appState READ appState WRITE setAppState NOTIFY appStateChanged)
    Q_PROPERTY(QString homeDir READ homeDir WRITE setHomeDir NOTIFY homeDirChanged)
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY activityChanged)
    Q_PROPERTY(QString activityTitle READ activityTitle NOTIFY activityChanged)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY activityChanged)
    Q_PROPERTY(QString elapsedText READ elapsedText NOTIFY elapsedTextChanged)
    Q_PROPERTY(bool healthLoaded READ healthLoaded NOTIFY statusChanged)
    Q_PROPERTY(QString statusTitle READ statusTitle NOTIFY statusChanged)
    Q_PROPERTY(QString statusDetail READ statusDetail NOTIFY statusChanged)
    Q_PROPERTY(QString statusSymbol READ statusSymbol NOTIFY statusChanged)
    Q_PROPERTY(QString statusTone READ statusTone NOTIFY statusChanged)
    Q_PROPERTY(QString issue READ issueName NOTIFY statusChanged)
    Q_PROPERTY(bool hasIssue READ hasIssue NOTIFY statusChanged)
    Q_PROPERTY(QString issueTitle READ issueTitle NOTIFY statusChanged)
    Q_PROPERTY(QString issueText READ issueText NOTIFY statusChanged)
    Q_PROPERTY(QString issueShortText READ issueShortText NOTIFY statusChanged)
    Q_PROPERTY(bool isRestartingAgent READ isRestartingAgent NOTIFY isRestartingAgentChanged)

public:
    static constexpr std::chrono::seconds currentInterval { 8 };
    static constexpr std::chrono::seconds healthInterval { 15 };

    explicit GlobalActivityBarModel(QObject* parent = nullptr);
    GlobalActivityBarModel(RhythmFactory rhythms, std::shared_ptr<ServiceManager> services, QObject* parent = nullptr);

    AppState* appState() const { return m_appState; }
    void setAppState(AppState* appState);
    const QString& homeDir() const { return m_homeDir; }
    void setHomeDir(const QString& value);

    bool isRunning() const;
    QString activityTitle() const;
    QString subtitle() const;
    const QString& elapsedText() const { return m_elapsedText; }

    bool healthLoaded() const { return m_healthLoaded; }
    const std::optional<TimeCaptureHealth>& health() const { return m_health; }
    const PassiveCaptureStatus& status() const { return m_status; }
    QString statusTitle() const { return m_status.title; }
    QString statusDetail() const { return m_status.detail; }
    QString statusSymbol() const { return m_status.symbol; }
    QString statusTone() const;
    TimeCaptureHealthIssue issue() const { return m_issue; }
    QString issueName() const;
    bool hasIssue() const { return m_issue != TimeCaptureHealthIssue::none; }
    QString issueTitle() const { return captureIssueWords(m_issue).title; }
    QString issueText() const { return captureIssueWords(m_issue).text; }
    QString issueShortText() const { return captureIssueWords(m_issue).shortText; }
    bool isRestartingAgent() const { return m_isRestartingAgent; }

    Rhythm* currentRhythm() const { return m_currentRhythm; }
    Rhythm* healthRhythm() const { return m_healthRhythm; }
    Rhythm* clockRhythm() const { return m_clockRhythm; }

    // "{category} · 起 {HH:mm}", "起 {HH:mm}" without a category, "—" for an unreadable start.
    static QString activitySubtitle(const std::optional<QString>& category, const std::optional<QString>& startTime);
    // "m:ss" under an hour, "h:mm:ss" from there on.
    static QString elapsedClock(qint64 seconds);

    Q_INVOKABLE void stop();
    Q_INVOKABLE void reloadHealth();
    Q_INVOKABLE void restartAgent();
    QCoro::Task<void> restartAgentAsync();

signals:
    void appStateChanged();
    void homeDirChanged();
    void activityChanged();
    void elapsedTextChanged();
    void statusChanged();
    void isRestartingAgentChanged();

private:
    void refreshCurrent();
    void updateElapsed();
    void updateStatus();
    std::optional<QDateTime> startInstant() const;
    QDateTime now() const;

    QPointer<AppState> m_appState;
    QMetaObject::Connection m_currentConnection;
    std::shared_ptr<ServiceManager> m_services;
    QString m_homeDir;
    Rhythm* m_currentRhythm;
    Rhythm* m_healthRhythm;
    Rhythm* m_clockRhythm;
    QString m_elapsedText;
    bool m_healthLoaded = false;
    std::optional<TimeCaptureHealth> m_health;
    PassiveCaptureStatus m_status;
    TimeCaptureHealthIssue m_issue = TimeCaptureHealthIssue::none;
    bool m_isRestartingAgent = false;
};

#include "GlobalActivityBarModel.h"

#include "session/AppState.h"
#include "time/TimeStore.h"

#include <QDir>
#include <QLocale>

GlobalActivityBarModel::GlobalActivityBarModel(QObject* parent)
    : GlobalActivityBarModel(timerRhythms(), std::make_shared<SystemServiceManager>(), parent)
{
}

GlobalActivityBarModel::GlobalActivityBarModel(
    RhythmFactory rhythms, std::shared_ptr<ServiceManager> services, QObject* parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_homeDir(QDir::homePath())
    , m_currentRhythm(rhythms(this))
    , m_healthRhythm(rhythms(this))
    , m_clockRhythm(rhythms(this))
{
    m_status = passiveCaptureStatus(false, std::nullopt, QDateTime::currentDateTime());
    connect(m_currentRhythm, &Rhythm::tick, this, &GlobalActivityBarModel::refreshCurrent);
    connect(m_healthRhythm, &Rhythm::tick, this, &GlobalActivityBarModel::reloadHealth);
    connect(m_clockRhythm, &Rhythm::tick, this, &GlobalActivityBarModel::updateElapsed);
    m_currentRhythm->start(currentInterval);
    m_healthRhythm->start(healthInterval);
    m_clockRhythm->start(std::chrono::seconds(1));
}

void GlobalActivityBarModel::setAppState(AppState* appState)
{
    if (m_appState == appState)
        return;
    if (m_currentConnection)
        disconnect(m_currentConnection);
    m_appState = appState;
    if (m_appState) {
        m_currentConnection = connect(m_appState->time(), &TimeStore::currentChanged, this, [this] {
            emit activityChanged();
            updateElapsed();
        });
    }
    emit appStateChanged();
    emit activityChanged();
    updateElapsed();
    reloadHealth();
}

void GlobalActivityBarModel::setHomeDir(const QString& value)
{
    if (m_homeDir == value)
        return;
    m_homeDir = value;
    emit homeDirChanged();
    reloadHealth();
}

QDateTime GlobalActivityBarModel::now() const
{
    return m_appState ? m_appState->deps().clock->now() : QDateTime::currentDateTime();
}

bool GlobalActivityBarModel::isRunning() const
{
    return m_appState && m_appState->time()->isRunning();
}

QString GlobalActivityBarModel::activityTitle() const
{
    if (!isRunning())
        return {};
    const QString activity = m_appState->time()->current()->activity.value_or(QString()).trimmed();
    return activity.isEmpty() ? QStringLiteral("进行中") : activity;
}

QString GlobalActivityBarModel::subtitle() const
{
    if (!isRunning())
        return {};
    const wire::TimeCurrent& current = *m_appState->time()->current();
    const auto category = m_appState->time()->category(current.category_id);
    return activitySubtitle(category ? std::optional<QString>(category->name) : std::nullopt, current.start_time);
}

namespace {

std::optional<QDateTime> parseInstant(const std::optional<QString>& text)
{
    if (!text || text->isEmpty())
        return std::nullopt;
    QDateTime parsed = QDateTime::fromString(*text, Qt::ISODateWithMs);
    if (!parsed.isValid())
        parsed = QDateTime::fromString(*text, Qt::ISODate);
    if (!parsed.isValid())
        return std::nullopt;
    return parsed;
}

} // namespace

QString GlobalActivityBarModel::activitySubtitle(
    const std::optional<QString>& category, const std::optional<QString>& startTime)
{
    const auto start = parseInstant(startTime);
    const QString clock
        = start ? QLocale::c().toString(start->toLocalTime(), QStringLiteral("HH:mm")) : QStringLiteral("—");
    if (category && !category->isEmpty())
        return QStringLiteral("%1 · 起 %2").arg(*category, clock);
    return QStringLiteral("起 %1").arg(clock);
}

QString GlobalActivityBarModel::elapsedClock(qint64 seconds)
{
    const qint64 total = std::max<qint64>(0, seconds);
    if (total < 3600)
        return QStringLiteral("%1:%2").arg(total / 60).arg(total % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1:%2:%3")
        .arg(total / 3600)
        .arg((total % 3600) / 60, 2, 10, QLatin1Char('0'))
        .arg(total % 60, 2, 10, QLatin1Char('0'));
}

std::optional<QDateTime> GlobalActivityBarModel::startInstant() const
{
    if (!isRunning())
        return std::nullopt;
    return parseInstant(m_appState->time()->current()->start_time);
}

void GlobalActivityBarModel::updateElapsed()
{
    const auto start = startInstant();
    QString value;
    if (isRunning())
        value = start ? elapsedClock(start->secsTo(now())) : QStringLiteral("—");
    if (m_elapsedText == value)
        return;
    m_elapsedText = value;
    emit elapsedTextChanged();
}

void GlobalActivityBarModel::refreshCurrent()
{
    if (!m_appState)
        return;
    [](QPointer<AppState> appState) -> QCoro::Task<void> {
        try {
            if (appState)
                co_await appState->time()->refreshCurrent();
        } catch (...) {
        }
    }(m_appState);
}

void GlobalActivityBarModel::stop()
{
    if (m_appState && isRunning())
        m_appState->time()->stop(std::nullopt);
}

void GlobalActivityBarModel::reloadHealth()
{
    std::optional<TimeCaptureHealth> loaded = TimeCaptureHealth::load(m_homeDir);
    const bool changed = !m_healthLoaded || loaded != m_health;
    m_healthLoaded = true;
    if (changed)
        m_health = std::move(loaded);
    // Freshness moves with the clock even when the record stays the same.
    updateStatus();
}

void GlobalActivityBarModel::updateStatus()
{
    const QDateTime at = now();
    PassiveCaptureStatus status = passiveCaptureStatus(m_healthLoaded, m_health, at);
    const TimeCaptureHealthIssue issue
        = m_healthLoaded ? captureHealthIssue(m_health, at) : TimeCaptureHealthIssue::none;
    if (status == m_status && issue == m_issue)
        return;
    m_status = std::move(status);
    m_issue = issue;
    emit statusChanged();
}

QString GlobalActivityBarModel::statusTone() const
{
    switch (m_status.tone) {
    case PassiveCaptureStatus::Tone::gray400:
        return QStringLiteral("gray400");
    case PassiveCaptureStatus::Tone::warning:
        return QStringLiteral("warning");
    case PassiveCaptureStatus::Tone::gray500:
        return QStringLiteral("gray500");
    case PassiveCaptureStatus::Tone::income:
        break;
    }
    return QStringLiteral("income");
}

QString GlobalActivityBarModel::issueName() const
{
    switch (m_issue) {
    case TimeCaptureHealthIssue::none:
        return QStringLiteral("none");
    case TimeCaptureHealthIssue::notConnected:
        return QStringLiteral("notConnected");
    case TimeCaptureHealthIssue::notRefreshed:
        return QStringLiteral("notRefreshed");
    case TimeCaptureHealthIssue::permissionMissing:
        break;
    }
    return QStringLiteral("permissionMissing");
}

void GlobalActivityBarModel::restartAgent()
{
    [](QPointer<GlobalActivityBarModel> self) -> QCoro::Task<void> {
        try {
            if (self)
                co_await self->restartAgentAsync();
        } catch (...) {
        }
    }(this);
}

QCoro::Task<void> GlobalActivityBarModel::restartAgentAsync()
{
    if (m_isRestartingAgent || !m_services)
        co_return;
    QPointer<GlobalActivityBarModel> self(this);
    std::shared_ptr<ServiceManager> services = m_services;
    m_isRestartingAgent = true;
    emit isRestartingAgentChanged();
    // A failed restart shows only as a reading that stays bad.
    co_await services->restartFocusProbe();
    if (!self)
        co_return;
    m_isRestartingAgent = false;
    emit isRestartingAgentChanged();
    reloadHealth();
}

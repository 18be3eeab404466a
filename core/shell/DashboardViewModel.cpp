#include "DashboardViewModel.h"

#include "session/AppState.h"

#include <chrono>

namespace {

struct Reminder {
    QString title;
    QString subtitle;
    QString sub;
};

QList<Reminder> reminderRows()
{
    return {
        { QStringLiteral("看昨天的日报"), QStringLiteral("每日复盘 · 昨天的时间与花钱"), QStringLiteral("viewer") },
        { QStringLiteral("看上周的周报"), QStringLiteral("周一复盘 · 上一整周总览"), QStringLiteral("viewer-weekly") },
        { QStringLiteral("看上月的月报"), QStringLiteral("月初复盘 · 上一整月总览"), QStringLiteral("viewer-monthly") },
    };
}

QVariantMap card(const QString& icon, const QString& title, const QString& subtitle, const QString& target,
    const QString& organ = {})
{
    return { { QStringLiteral("icon"), icon }, { QStringLiteral("title"), title },
        { QStringLiteral("subtitle"), subtitle }, { QStringLiteral("target"), target },
        { QStringLiteral("organ"), organ } };
}

} // namespace

DashboardViewModel::DashboardViewModel(QObject* parent)
    : DashboardViewModel(timerRhythms(), parent)
{
}

DashboardViewModel::DashboardViewModel(RhythmFactory rhythms, QObject* parent)
    : QObject(parent)
    , m_greetingRhythm(rhythms(this))
{
    connect(m_greetingRhythm, &Rhythm::tick, this, &DashboardViewModel::refreshGreeting);
    m_greetingRhythm->start(std::chrono::minutes(1));
    refreshGreeting();
}

void DashboardViewModel::setAppState(AppState* appState)
{
    if (m_appState == appState)
        return;
    m_appState = appState;
    emit appStateChanged();
    refreshGreeting();
}

QString DashboardViewModel::welcomeSubtitleFor(int hour)
{
    if (hour >= 5 && hour <= 10)
        return QStringLiteral("早上好 ☀️ — 从底部 chatbar 录一笔，或点侧栏切板块");
    if (hour >= 11 && hour <= 13)
        return QStringLiteral("中午好 — 想记账还是看 dashboard？");
    if (hour >= 14 && hour <= 17)
        return QStringLiteral("下午好 — 继续干");
    if (hour >= 18 && hour <= 22)
        return QStringLiteral("晚上好 🌙 — 今天的数据");
    return QStringLiteral("深夜好 — 早点睡");
}

void DashboardViewModel::refreshGreeting()
{
    const QDateTime now = m_appState ? m_appState->deps().clock->now() : QDateTime::currentDateTime();
    const QString value = welcomeSubtitleFor(now.toLocalTime().time().hour());
    if (m_welcomeSubtitle == value)
        return;
    m_welcomeSubtitle = value;
    emit welcomeSubtitleChanged();
}

QVariantList DashboardViewModel::quickCards() const
{
    return {
        card(QStringLiteral("💬"), QStringLiteral("进入会话"), QStringLiteral("用 chat 录一笔"),
            QStringLiteral("conversation")),
        card(QStringLiteral("💰"), QStringLiteral("财务"), QStringLiteral("账户 / 资产 / 报表"), QStringLiteral("organ"),
            QStringLiteral("finance")),
        card(QStringLiteral("⏱️"), QStringLiteral("时间"), QStringLiteral("日 / 周 / 月 看板"),
            QStringLiteral("organ"), QStringLiteral("time")),
        card(QStringLiteral("🖥️"), QStringLiteral("服务器"), QStringLiteral("Rook1 / Pawn1 / Pawn2"),
            QStringLiteral("organ"), QStringLiteral("servers")),
    };
}

QVariantList DashboardViewModel::reminders() const
{
    QVariantList out;
    for (const Reminder& reminder : reminderRows())
        out << QVariantMap { { QStringLiteral("title"), reminder.title },
            { QStringLiteral("subtitle"), reminder.subtitle }, { QStringLiteral("sub"), reminder.sub } };
    return out;
}

void DashboardViewModel::openReminder(int index)
{
    const QList<Reminder> rows = reminderRows();
    if (!m_appState || index < 0 || index >= rows.size())
        return;
    m_appState->navigate(QStringLiteral("reports"), rows[index].sub);
}

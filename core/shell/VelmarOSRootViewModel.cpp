#include "VelmarOSRootViewModel.h"

#include "chat/SessionsStore.h"
#include "chat/VelmarOSChatStore.h"
#include "relay/MintbridgeTokenSetup.h"
#include "session/AppState.h"
#include "time/TimeStore.h"

namespace {

QVariantMap row(const QString& kind, const QString& id, const QString& title, const QString& icon, bool selected)
{
    return { { QStringLiteral("kind"), kind }, { QStringLiteral("id"), id }, { QStringLiteral("title"), title },
        { QStringLiteral("icon"), icon }, { QStringLiteral("selected"), selected } };
}

} // namespace

VelmarOSRootViewModel::VelmarOSRootViewModel(QObject* parent)
    : QObject(parent)
{
}

VelmarOSRootViewModel::~VelmarOSRootViewModel() = default;

void VelmarOSRootViewModel::setAppState(AppState* appState)
{
    if (m_appState == appState)
        return;
    if (m_navConnection)
        disconnect(m_navConnection);
    m_appState = appState;
    delete m_tokenSetup;
    m_tokenSetup = nullptr;
    if (m_appState) {
        m_navConnection
            = connect(m_appState, &AppState::navIntentChanged, this, &VelmarOSRootViewModel::answerNavIntent);
        m_tokenSetup = new MintbridgeTokenSetup(m_appState->deps().relay, this);
        // The chat boots with the shell: stores wired, the 8-second sync running.
        m_appState->bootChatAgent();
    }
    emit appStateChanged();
    // A request made before the shell was there still moves it.
    answerNavIntent();
}

void VelmarOSRootViewModel::answerNavIntent()
{
    if (!m_appState || !m_appState->hasNavIntent())
        return;
    const NavIntent intent = m_appState->navIntentValue();
    if (const auto organ = organs::fromRaw(intent.organRaw))
        setRoute(VelmarOSRoute::organRoute(*organ, intent.sub));
    // Cleared whether it moved or not, so the same request can fire again.
    m_appState->clearNavIntent();
}

void VelmarOSRootViewModel::setRoute(VelmarOSRoute route)
{
    if (m_route == route)
        return;
    m_route = std::move(route);
    emit routeChanged();
}

QString VelmarOSRootViewModel::organRaw() const
{
    return m_route.kind == VelmarOSRoute::Kind::organ ? organs::rawValue(m_route.organ) : QString();
}

bool VelmarOSRootViewModel::sidebarInOrgan() const
{
    return m_route.kind == VelmarOSRoute::Kind::organ && !organs::subScreens(m_route.organ).isEmpty();
}

QVariantList VelmarOSRootViewModel::sidebarRows() const
{
    QVariantList rows;
    if (sidebarInOrgan()) {
        rows << row(
            QStringLiteral("back"), QString(), QStringLiteral("返回主菜单"), QStringLiteral("chevron.left"), false);
        const auto current = organs::subScreen(m_route.organ, m_route.sub);
        for (const OrganSubScreen& screen : organs::subScreens(m_route.organ))
            rows << row(
                QStringLiteral("sub"), screen.id, screen.name, screen.systemImage, current && current->id == screen.id);
        return rows;
    }
    rows << row(QStringLiteral("home"), QStringLiteral("home"), QStringLiteral("首页"), QStringLiteral("house"),
        m_route.kind == VelmarOSRoute::Kind::home);
    rows << row(QStringLiteral("conversation"), QStringLiteral("conversation"), QStringLiteral("会话"),
        QStringLiteral("bubble.left.and.bubble.right"), m_route.kind == VelmarOSRoute::Kind::conversation);
    rows << row(QStringLiteral("section"), QString(), QStringLiteral("BOARDS"), QString(), false);
    for (const OrganID organ : organs::all())
        rows << row(QStringLiteral("organ"), organs::rawValue(organ), organs::title(organ), organs::icon(organ),
            m_route.kind == VelmarOSRoute::Kind::organ && m_route.organ == organ);
    return rows;
}

QVariantMap VelmarOSRootViewModel::placeholder() const
{
    if (m_route.kind != VelmarOSRoute::Kind::organ)
        return {};
    const OrganPlaceholder value = organs::placeholder(m_route.organ);
    return { { QStringLiteral("icon"), value.icon }, { QStringLiteral("title"), value.title },
        { QStringLiteral("message"), value.message } };
}

void VelmarOSRootViewModel::openOrgan(const QString& organRaw)
{
    if (const auto organ = organs::fromRaw(organRaw))
        setRoute(VelmarOSRoute::organRoute(*organ, QStringLiteral("overview")));
}

void VelmarOSRootViewModel::selectSub(const QString& sub)
{
    if (m_route.kind == VelmarOSRoute::Kind::organ)
        setRoute(VelmarOSRoute::organRoute(m_route.organ, sub));
}

void VelmarOSRootViewModel::activateRow(const QString& kind, const QString& id)
{
    if (kind == QStringLiteral("home") || kind == QStringLiteral("back"))
        goHome();
    else if (kind == QStringLiteral("conversation"))
        openConversation();
    else if (kind == QStringLiteral("organ"))
        openOrgan(id);
    else if (kind == QStringLiteral("sub"))
        selectSub(id);
}

void VelmarOSRootViewModel::setLeftCollapsed(bool value)
{
    if (m_leftCollapsed == value)
        return;
    m_leftCollapsed = value;
    emit leftCollapsedChanged();
}

void VelmarOSRootViewModel::setRightCollapsed(bool value)
{
    if (m_rightCollapsed == value)
        return;
    m_rightCollapsed = value;
    emit rightCollapsedChanged();
}

QString VelmarOSRootViewModel::rightPaneMode() const
{
    return m_rightPaneMode == RightPaneMode::dashboard ? QStringLiteral("dashboard") : QStringLiteral("conversation");
}

void VelmarOSRootViewModel::setRightPaneMode(const QString& mode)
{
    const RightPaneMode value
        = mode == QStringLiteral("conversation") ? RightPaneMode::conversation : RightPaneMode::dashboard;
    if (m_rightPaneMode == value)
        return;
    m_rightPaneMode = value;
    emit rightPaneModeChanged();
}

void VelmarOSRootViewModel::setShowAccountSwitcher(bool value)
{
    if (m_showAccountSwitcher == value)
        return;
    m_showAccountSwitcher = value;
    emit showAccountSwitcherChanged();
}

void VelmarOSRootViewModel::setRefreshingOnReturn(bool value)
{
    if (m_isRefreshingOnReturn == value)
        return;
    m_isRefreshingOnReturn = value;
    emit isRefreshingOnReturnChanged();
}

void VelmarOSRootViewModel::sceneBecameActive()
{
    if (m_isRefreshingOnReturn)
        return;
    [](QPointer<VelmarOSRootViewModel> self) -> QCoro::Task<void> {
        try {
            if (self)
                co_await self->refreshOnReturn();
        } catch (...) {
        }
    }(this);
}

namespace {

// The five refreshes in their order: each later one reads what the earlier one brought.
QCoro::Task<void> runReturnRefreshes(QPointer<AppState> appState)
{
    if (!appState)
        co_return;
    QPointer<SessionsStore> sessions = appState->chatSessions();
    co_await sessions->refreshFromServer();
    if (!appState || !sessions)
        co_return;
    QPointer<VelmarOSChatStore> chat = sessions->activeStore();
    co_await chat->syncMessagesIfChanged();
    if (!appState || !chat)
        co_return;
    co_await chat->refreshAggregated();
    if (!appState)
        co_return;
    // The finance ledger's refresh joins here once that organ is in.
    co_await appState->time()->refresh();
}

} // namespace

QCoro::Task<void> VelmarOSRootViewModel::refreshOnReturn()
{
    if (m_isRefreshingOnReturn || !m_appState)
        co_return;
    QPointer<VelmarOSRootViewModel> self(this);
    setRefreshingOnReturn(true);
    try {
        co_await runReturnRefreshes(m_appState);
    } catch (...) {
    }
    if (!self)
        co_return;
    setRefreshingOnReturn(false);
    emit refreshOnReturnFinished();
}

void VelmarOSRootViewModel::pendingPromptChanged()
{
    ++m_financeRefreshSignal;
    emit financeRefreshSignalChanged();
    ++m_timeRefreshSignal;
    emit timeRefreshSignalChanged();
    if (m_appState)
        m_appState->time()->reload();
}

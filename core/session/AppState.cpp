#include "AppState.h"

#include "KeychainStore.h"
#include "LoadError.h"
#include "LumenAPIClient.h"
#include "UnimelbStore.h"

#include "chat/ChatSyncLoop.h"
#include "chat/SessionsStore.h"
#include "chat/VelmarOSChatStore.h"
#include "finance/AssetsStore.h"
#include "relay/ConversationStore.h"
#include "time/TimeCache.h"
#include "time/TimeStore.h"

#include <QDebug>
#include <QPointer>
#include <QSettings>

AppState::AppState(AppStateDeps deps, QObject* parent)
    : QObject(parent)
    , m_deps(std::move(deps))
{
    const StoreContext context { m_deps.api, m_deps.paths, m_deps.clock };
    m_assets = new AssetsStore(context, this);
    m_unimelb = new UnimelbStore(context, this);
    m_timeCache = new TimeCache(m_deps.api, m_deps.clock, this);
    m_time = new TimeStore(context, m_timeCache, this);
    m_time->relayClient = m_deps.relay;
    // Loads nothing at start: it fills as the user talks.
    m_conversation = new ConversationStore(context, m_deps.relay, this);
    m_settings = m_deps.settings ? m_deps.settings : new QSettings(this);
    m_chatSessions = new SessionsStore(ChatStoreContext { context, m_deps.agent, m_settings, m_timeCache }, this);
    m_chatSync = new ChatSyncLoop(m_chatSessions, {}, this);

    QPointer<AppState> weakSelf(this);
    const auto onAuthFailure = [weakSelf] {
        if (weakSelf)
            weakSelf->handleAuthFailure();
    };
    for (DomainStore* store : stores())
        store->onAuthFailure = onAuthFailure;
}

AppState::~AppState() = default;

namespace {

QCoro::Task<void> refreshTime(QPointer<TimeStore> time)
{
    if (time)
        co_await time->refresh();
}

} // namespace

void AppState::configureChatStore(VelmarOSChatStore* store)
{
    if (!store)
        return;
    QPointer<AppState> self(this);
    QPointer<TimeStore> time(m_time);
    store->onTimeEffect = [time](const TimeActivityEffect& effect) {
        if (time)
            time->applyChatEffect(effect);
    };
    store->onTimeFullRefresh = [time]() { return refreshTime(time); };
    store->onAuthFailure = [self] {
        if (self)
            self->handleAuthFailure();
    };
}

void AppState::bootChatAgent()
{
    if (m_chatSync->running())
        return;
    QPointer<AppState> self(this);
    m_chatSync->storeConfigurator = [self](VelmarOSChatStore* store) {
        if (self)
            self->configureChatStore(store);
    };
    m_chatSync->start();
}

QList<DomainStore*> AppState::stores() const
{
    return { m_assets, m_unimelb, m_time, m_conversation };
}

QVariantMap AppState::currentUserData() const
{
    if (!m_currentUser)
        return {};
    return wire::toJson(*m_currentUser).toObject().toVariantMap();
}

// ---- guarded setters: a write of the same value wakes no screen ----

void AppState::setHasToken(bool value)
{
    if (m_hasToken == value)
        return;
    m_hasToken = value;
    emit hasTokenChanged();
}

void AppState::setCurrentUser(std::optional<wire::UserProfile> value)
{
    if (m_currentUser == value)
        return;
    m_currentUser = std::move(value);
    emit currentUserChanged();
}

void AppState::setKnownUsernames(QStringList value)
{
    if (m_knownUsernames == value)
        return;
    m_knownUsernames = std::move(value);
    emit knownUsernamesChanged();
}

void AppState::setAuthFailedAt(std::optional<QDateTime> value)
{
    if (m_authFailedAt == value)
        return;
    m_authFailedAt = std::move(value);
    emit authFailedAtChanged();
}

void AppState::setNavIntent(std::optional<NavIntent> value)
{
    if (m_navIntent == value)
        return;
    m_navIntent = std::move(value);
    emit navIntentChanged();
}

void AppState::setPendingAnalysisRange(std::optional<AnalysisRange> value)
{
    if (m_pendingAnalysisRange == value)
        return;
    m_pendingAnalysisRange = std::move(value);
    emit pendingAnalysisRangeChanged();
}

void AppState::setAnalysisReturn(std::optional<NavIntent> value)
{
    if (m_analysisReturn == value)
        return;
    m_analysisReturn = std::move(value);
    emit analysisReturnChanged();
}

// ---- session flows ----

QCoro::Task<QStringList> AppState::readKnownUsernames()
{
    try {
        co_return co_await m_deps.keychain->listKnownUsernames();
    } catch (...) {
    }
    co_return QStringList();
}

void AppState::clearRunningActivity()
{
    // The previous user's running activity must not stay on screen.
    m_time->clearCurrent();
}

QCoro::Task<void> AppState::bootstrap()
{
    QPointer<AppState> self(this);
    const bool tokenFound = co_await m_deps.keychain->hasToken();
    if (!self)
        co_return;
    setHasToken(tokenFound);
    if (!tokenFound)
        co_return;

    QStringList known = co_await readKnownUsernames();
    if (!self)
        co_return;
    setKnownUsernames(std::move(known));

    if (!m_currentUser && m_hasToken) {
        // An expired token is reported by the stores' own calls, not here.
        try {
            wire::UserProfile profile = co_await m_deps.api->me();
            if (!self)
                co_return;
            setCurrentUser(std::move(profile));
        } catch (...) {
        }
        if (!self)
            co_return;
    }

    // The stores load side by side; each turns its own failure into its LoadState.
    auto assets = m_assets->refresh();
    auto unimelb = m_unimelb->refresh();
    auto time = m_time->refresh();
    co_await assets;
    co_await unimelb;
    co_await time;
}

QCoro::Task<void> AppState::login(QString username, QString password)
{
    QPointer<AppState> self(this);
    const wire::LoginRequest request { username, password };
    const wire::LoginResponse response = co_await m_deps.api->login(request);
    // The name kept is the server's, whatever was typed.
    co_await m_deps.keychain->storeUser(response.username, response.token, response.display_name, true);
    wire::UserProfile profile = co_await m_deps.api->me();
    if (!self)
        co_return;
    setCurrentUser(std::move(profile));
    QStringList known = co_await readKnownUsernames();
    if (!self)
        co_return;
    setKnownUsernames(std::move(known));
    setHasToken(true);
    setAuthFailedAt(std::nullopt);
    co_await bootstrap();
}

QCoro::Task<void> AppState::saveToken(QString token)
{
    QPointer<AppState> self(this);
    co_await m_deps.keychain->writeKeychain(token);
    m_deps.keychain->writeFile(token);
    if (!self)
        co_return;
    setHasToken(true);
    setAuthFailedAt(std::nullopt);
    co_await bootstrap();
}

QCoro::Task<void> AppState::switchUser(QString username)
{
    QPointer<AppState> self(this);
    co_await m_deps.keychain->writeKeychainCustom(KeychainStore::currentUsernameKey, username);
    try {
        wire::UserProfile profile = co_await m_deps.api->me();
        if (self)
            setCurrentUser(std::move(profile));
    } catch (...) {
    }
    if (!self)
        co_return;
    clearRunningActivity();
    co_await bootstrap();
}

QCoro::Task<void> AppState::forgetUser(QString username)
{
    QPointer<AppState> self(this);
    bool wasCurrent = false;
    try {
        wasCurrent = (co_await m_deps.keychain->readKeychainCustom(KeychainStore::currentUsernameKey)) == username;
    } catch (...) {
    }
    co_await m_deps.keychain->removeUser(username);
    QStringList known = co_await readKnownUsernames();
    if (!self)
        co_return;
    setKnownUsernames(std::move(known));
    if (wasCurrent) {
        clearRunningActivity();
        setCurrentUser(std::nullopt);
        setHasToken(false);
    }
}

void AppState::handleAuthFailure()
{
    // The wipe starts first so that it holds the credential store before the login screen,
    // shown by the hasToken change below, asks it for the accounts left on the device.
    [](KeychainStore* keychain) -> QCoro::Task<void> {
        try {
            co_await keychain->clear();
        } catch (...) {
            qWarning().noquote() << QStringLiteral("[AppState] keychain clear failed: %1")
                                        .arg(formatLoadError(std::current_exception()).message);
        }
    }(m_deps.keychain);
    setAuthFailedAt(m_deps.clock->now());
    setHasToken(false);
}

void AppState::requestNav(
    const QString& organRaw, const QString& sub, std::optional<AnalysisRange> range, std::optional<NavIntent> returnTo)
{
    // The shell watches navIntent, so range and return target are in place before it fires.
    setPendingAnalysisRange(std::move(range));
    setAnalysisReturn(std::move(returnTo));
    setNavIntent(NavIntent { organRaw, sub });
}

void AppState::navigate(const QString& organRaw, const QString& sub)
{
    requestNav(organRaw, sub, std::nullopt, std::nullopt);
}

void AppState::signOutCurrentUser()
{
    const QString username = currentUsername();
    if (username.isEmpty())
        return;
    [](QPointer<AppState> self, QString name) -> QCoro::Task<void> {
        try {
            co_await self->forgetUser(name);
        } catch (...) {
            if (self)
                emit self->actionFailed(formatLoadError(std::current_exception()).message);
        }
    }(this, username);
}

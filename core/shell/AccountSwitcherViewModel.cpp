#include "AccountSwitcherViewModel.h"

#include "LoginViewModel.h"

#include "session/AppState.h"
#include "session/LoadError.h"

AccountSwitcherViewModel::AccountSwitcherViewModel(QObject* parent)
    : QObject(parent)
{
}

void AccountSwitcherViewModel::setAppState(AppState* appState)
{
    if (m_appState == appState)
        return;
    for (const auto& connection : m_connections)
        disconnect(connection);
    m_connections.clear();
    m_appState = appState;
    if (m_appState) {
        m_connections << connect(
            m_appState, &AppState::currentUserChanged, this, &AccountSwitcherViewModel::accountsChanged);
        m_connections << connect(
            m_appState, &AppState::knownUsernamesChanged, this, &AccountSwitcherViewModel::accountsChanged);
    }
    emit appStateChanged();
    emit accountsChanged();
}

QString AccountSwitcherViewModel::headerText() const
{
    if (!m_appState || !m_appState->hasProfile())
        return QStringLiteral("未登录");
    return QStringLiteral("当前 · %1 (@%2)").arg(m_appState->currentDisplayName(), m_appState->currentUsername());
}

QVariantList AccountSwitcherViewModel::accountRows() const
{
    QVariantList rows;
    if (!m_appState)
        return rows;
    const QString current = m_appState->currentUsername();
    for (const QString& name : m_appState->knownUsernames()) {
        const bool isCurrent = name == current;
        rows << QVariantMap { { QStringLiteral("username"), name }, { QStringLiteral("isCurrent"), isCurrent },
            { QStringLiteral("hint"), isCurrent ? QString() : QStringLiteral("点击切换") } };
    }
    return rows;
}

QString AccountSwitcherViewModel::signOutSubtitle() const
{
    const QString name = m_appState ? m_appState->currentUsername() : QString();
    return QStringLiteral("从设备移除 %1 的登录").arg(name);
}

bool AccountSwitcherViewModel::canSignOut() const
{
    return m_appState && m_appState->hasProfile() && m_busyUsername.isEmpty();
}

void AccountSwitcherViewModel::setActionError(const QString& value)
{
    if (m_actionError == value)
        return;
    m_actionError = value;
    emit actionErrorChanged();
}

void AccountSwitcherViewModel::setBusyUsername(const QString& value)
{
    if (m_busyUsername == value)
        return;
    m_busyUsername = value;
    emit busyUsernameChanged();
    emit accountsChanged();
}

void AccountSwitcherViewModel::setShowAddUser(bool value)
{
    if (m_showAddUser == value)
        return;
    m_showAddUser = value;
    // A fresh form each time the sheet opens.
    if (value) {
        m_addUsername.clear();
        m_addPassword.clear();
        m_addError.clear();
        emit addFormChanged();
    }
    emit showAddUserChanged();
}

void AccountSwitcherViewModel::setAddUsername(const QString& value)
{
    if (m_addUsername == value)
        return;
    m_addUsername = value;
    emit addFormChanged();
}

void AccountSwitcherViewModel::setAddPassword(const QString& value)
{
    if (m_addPassword == value)
        return;
    m_addPassword = value;
    emit addFormChanged();
}

bool AccountSwitcherViewModel::canAdd() const
{
    return !m_addUsername.trimmed().isEmpty() && !m_addPassword.isEmpty() && !m_isAddingUser;
}

void AccountSwitcherViewModel::setShowRelations(bool value)
{
    if (m_showRelations == value)
        return;
    m_showRelations = value;
    emit showRelationsChanged();
}

void AccountSwitcherViewModel::switchTo(const QString& username)
{
    [](QPointer<AccountSwitcherViewModel> self, QString name) -> QCoro::Task<void> {
        if (self)
            co_await self->switchToAsync(name);
    }(this, username);
}

QCoro::Task<void> AccountSwitcherViewModel::switchToAsync(QString username)
{
    if (!m_appState || !m_busyUsername.isEmpty() || username == m_appState->currentUsername())
        co_return;
    QPointer<AccountSwitcherViewModel> self(this);
    QPointer<AppState> appState = m_appState;
    setActionError(QString());
    setBusyUsername(username);
    std::exception_ptr failure;
    try {
        co_await appState->switchUser(username);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (failure)
        setActionError(QStringLiteral("切换失败：%1").arg(formatLoadError(failure).message));
    setBusyUsername(QString());
}

void AccountSwitcherViewModel::signOutCurrent()
{
    [](QPointer<AccountSwitcherViewModel> self) -> QCoro::Task<void> {
        if (self)
            co_await self->signOutCurrentAsync();
    }(this);
}

QCoro::Task<void> AccountSwitcherViewModel::signOutCurrentAsync()
{
    if (!canSignOut())
        co_return;
    QPointer<AccountSwitcherViewModel> self(this);
    QPointer<AppState> appState = m_appState;
    const QString username = appState->currentUsername();
    setActionError(QString());
    setBusyUsername(username);
    std::exception_ptr failure;
    try {
        co_await appState->forgetUser(username);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (failure)
        setActionError(QStringLiteral("退出失败：%1").arg(formatLoadError(failure).message));
    setBusyUsername(QString());
}

void AccountSwitcherViewModel::addAccount()
{
    [](QPointer<AccountSwitcherViewModel> self) -> QCoro::Task<void> {
        if (self)
            co_await self->addAccountAsync();
    }(this);
}

QCoro::Task<void> AccountSwitcherViewModel::addAccountAsync()
{
    if (!m_appState || !canAdd())
        co_return;
    QPointer<AccountSwitcherViewModel> self(this);
    QPointer<AppState> appState = m_appState;
    m_isAddingUser = true;
    m_addError.clear();
    emit addFormChanged();
    std::exception_ptr failure;
    try {
        co_await appState->login(LoginViewModel::normalizedUsername(m_addUsername), m_addPassword);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    m_isAddingUser = false;
    if (failure) {
        m_addError = LoginViewModel::loginErrorText(failure);
    } else {
        m_addPassword.clear();
        m_showAddUser = false;
        emit showAddUserChanged();
    }
    emit addFormChanged();
    if (!failure)
        emit accountAdded();
}

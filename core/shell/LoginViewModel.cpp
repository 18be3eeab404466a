#include "LoginViewModel.h"

#include "session/AppState.h"
#include "session/KeychainStore.h"
#include "session/LumenAPIError.h"

LoginViewModel::LoginViewModel(QObject* parent)
    : QObject(parent)
{
}

void LoginViewModel::setAppState(AppState* appState)
{
    if (m_appState == appState)
        return;
    m_appState = appState;
    emit appStateChanged();
    reloadKnownUsernames();
}

void LoginViewModel::setUsername(const QString& value)
{
    if (m_username == value)
        return;
    const bool couldSubmit = canSubmit();
    m_username = value;
    emit usernameChanged();
    if (couldSubmit != canSubmit())
        emit canSubmitChanged();
}

void LoginViewModel::setPassword(const QString& value)
{
    if (m_password == value)
        return;
    const bool couldSubmit = canSubmit();
    m_password = value;
    emit passwordChanged();
    if (couldSubmit != canSubmit())
        emit canSubmitChanged();
}

bool LoginViewModel::canSubmit() const
{
    return !m_username.trimmed().isEmpty() && !m_password.isEmpty();
}

void LoginViewModel::setLoginError(const QString& value)
{
    if (m_loginError == value)
        return;
    m_loginError = value;
    emit loginErrorChanged();
}

void LoginViewModel::setIsLoggingIn(bool value)
{
    if (m_isLoggingIn == value)
        return;
    const bool couldSubmit = canSubmit();
    m_isLoggingIn = value;
    emit isLoggingInChanged();
    if (couldSubmit != canSubmit())
        emit canSubmitChanged();
}

void LoginViewModel::setKnownUsernames(QStringList value)
{
    if (m_knownUsernames == value)
        return;
    m_knownUsernames = std::move(value);
    emit knownUsernamesChanged();
}

QString LoginViewModel::normalizedUsername(const QString& typed)
{
    return typed.trimmed().toLower();
}

QString LoginViewModel::loginErrorText(std::exception_ptr error)
{
    try {
        std::rethrow_exception(error);
    } catch (const LumenAPIError& apiError) {
        if (apiError.kind() == LumenAPIError::Kind::Unauthorized)
            return QStringLiteral("用户名或密码错误，请重新输入");
        return apiError.userMessage();
    } catch (const KeychainError& keychainError) {
        return QStringLiteral("登录失败：%1").arg(keychainError.description());
    } catch (const std::exception& other) {
        return QStringLiteral("登录失败：%1").arg(QString::fromUtf8(other.what()));
    } catch (...) {
        return QStringLiteral("登录失败：未知错误");
    }
}

void LoginViewModel::login()
{
    [](QPointer<LoginViewModel> self) -> QCoro::Task<void> {
        if (self)
            co_await self->loginAsync();
    }(this);
}

QCoro::Task<void> LoginViewModel::loginAsync()
{
    if (!canSubmit() || m_isLoggingIn || !m_appState)
        co_return;
    QPointer<LoginViewModel> self(this);
    QPointer<AppState> appState = m_appState;
    setIsLoggingIn(true);
    setLoginError(QString());
    std::exception_ptr failure;
    try {
        co_await appState->login(normalizedUsername(m_username), m_password);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (failure)
        setLoginError(loginErrorText(failure));
    else
        setPassword(QString());
    setIsLoggingIn(false);
    co_await reloadKnownUsernamesAsync();
}

void LoginViewModel::reloadKnownUsernames()
{
    [](QPointer<LoginViewModel> self) -> QCoro::Task<void> {
        if (self)
            co_await self->reloadKnownUsernamesAsync();
    }(this);
}

QCoro::Task<void> LoginViewModel::reloadKnownUsernamesAsync()
{
    if (!m_appState)
        co_return;
    QPointer<LoginViewModel> self(this);
    QStringList known;
    try {
        known = co_await m_appState->keychain().listKnownUsernames();
    } catch (...) {
    }
    if (self)
        setKnownUsernames(std::move(known));
}

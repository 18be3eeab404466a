#include "RelationManagementViewModel.h"

#include "session/AppState.h"
#include "session/LoadError.h"
#include "session/LumenAPIClient.h"

RelationManagementViewModel::RelationManagementViewModel(QObject* parent)
    : QObject(parent)
{
}

void RelationManagementViewModel::setAppState(AppState* appState)
{
    if (m_appState == appState)
        return;
    m_appState = appState;
    emit appStateChanged();
}

QString RelationManagementViewModel::roleName(const QString& role)
{
    if (role == QStringLiteral("admin"))
        return QStringLiteral("管理员");
    if (role == QStringLiteral("member"))
        return QStringLiteral("成员");
    return role;
}

QString RelationManagementViewModel::relationCaption(const wire::UserRelation& relation)
{
    if (relation.direction == QStringLiteral("outgoing"))
        return QStringLiteral("你绑定的 · %1").arg(roleName(relation.role));
    return QStringLiteral("TA 绑定你 · 你是 %1").arg(roleName(relation.role));
}

QVariantList RelationManagementViewModel::relationRows() const
{
    QVariantList rows;
    if (!m_profile || !m_profile->relations)
        return rows;
    for (const wire::UserRelation& relation : *m_profile->relations) {
        rows << QVariantMap { { QStringLiteral("id"), relation.id }, { QStringLiteral("username"), relation.username },
            { QStringLiteral("displayName"), relation.display_name },
            { QStringLiteral("caption"), relationCaption(relation) } };
    }
    return rows;
}

void RelationManagementViewModel::setProfile(std::optional<wire::UserProfile> value)
{
    if (m_profile == value)
        return;
    m_profile = std::move(value);
    emit profileChanged();
}

void RelationManagementViewModel::setLoading(bool value)
{
    if (m_isLoading == value)
        return;
    m_isLoading = value;
    emit isLoadingChanged();
}

void RelationManagementViewModel::setBindUsername(const QString& value)
{
    if (m_bindUsername == value)
        return;
    const bool could = canBind();
    m_bindUsername = value;
    emit bindUsernameChanged();
    if (could != canBind())
        emit canBindChanged();
}

void RelationManagementViewModel::setAddError(const QString& value)
{
    if (m_addError == value)
        return;
    m_addError = value;
    emit addErrorChanged();
}

void RelationManagementViewModel::setBinding(bool value)
{
    if (m_isBinding == value)
        return;
    const bool could = canBind();
    m_isBinding = value;
    emit isBindingChanged();
    if (could != canBind())
        emit canBindChanged();
}

void RelationManagementViewModel::loadProfile()
{
    [](QPointer<RelationManagementViewModel> self) -> QCoro::Task<void> {
        if (self)
            co_await self->loadProfileAsync();
    }(this);
}

QCoro::Task<void> RelationManagementViewModel::loadProfileAsync()
{
    if (!m_appState)
        co_return;
    QPointer<RelationManagementViewModel> self(this);
    QPointer<AppState> appState = m_appState;
    setLoading(true);
    std::optional<wire::UserProfile> loaded;
    std::exception_ptr failure;
    try {
        loaded = co_await appState->api().me();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (loaded)
        setProfile(std::move(loaded));
    else
        setAddError(QStringLiteral("加载失败：%1").arg(formatLoadError(failure).message));
    setLoading(false);
}

QCoro::Task<void> RelationManagementViewModel::runWrite(QString failurePrefix, std::function<QCoro::Task<void>()> write)
{
    QPointer<RelationManagementViewModel> self(this);
    setAddError(QString());
    std::exception_ptr failure;
    try {
        co_await write();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (failure) {
        setAddError(failurePrefix + formatLoadError(failure).message);
        co_return;
    }
    co_await loadProfileAsync();
}

void RelationManagementViewModel::bindMember()
{
    [](QPointer<RelationManagementViewModel> self) -> QCoro::Task<void> {
        if (self)
            co_await self->bindMemberAsync();
    }(this);
}

QCoro::Task<void> RelationManagementViewModel::bindMemberAsync()
{
    if (!m_appState || !canBind())
        co_return;
    QPointer<RelationManagementViewModel> self(this);
    QPointer<AppState> appState = m_appState;
    const wire::AddRelationRequest request { m_bindUsername.trimmed(), QStringLiteral("member") };
    setBinding(true);
    const std::function<QCoro::Task<void>()> write
        = [appState, request]() -> QCoro::Task<void> { co_await appState->api().addRelation(request); };
    const QString prefix = QStringLiteral("绑定失败：");
    co_await runWrite(prefix, write);
    if (!self)
        co_return;
    if (m_addError.isEmpty())
        setBindUsername(QString());
    setBinding(false);
}

void RelationManagementViewModel::transferOwnerTo(int memberID)
{
    [](QPointer<RelationManagementViewModel> self, int id) -> QCoro::Task<void> {
        if (self)
            co_await self->transferOwnerToAsync(id);
    }(this, memberID);
}

QCoro::Task<void> RelationManagementViewModel::transferOwnerToAsync(int memberID)
{
    if (!m_appState)
        co_return;
    QPointer<AppState> appState = m_appState;
    const wire::TransferOwnerRequest request { memberID };
    const std::function<QCoro::Task<void>()> write
        = [appState, request]() -> QCoro::Task<void> { co_await appState->api().transferOwner(request); };
    const QString prefix = QStringLiteral("移交失败：");
    co_await runWrite(prefix, write);
}

void RelationManagementViewModel::removeMember(int memberID)
{
    [](QPointer<RelationManagementViewModel> self, int id) -> QCoro::Task<void> {
        if (self)
            co_await self->removeMemberAsync(id);
    }(this, memberID);
}

QCoro::Task<void> RelationManagementViewModel::removeMemberAsync(int memberID)
{
    if (!m_appState)
        co_return;
    QPointer<AppState> appState = m_appState;
    const std::function<QCoro::Task<void>()> write
        = [appState, memberID]() -> QCoro::Task<void> { co_await appState->api().removeRelation(memberID); };
    const QString prefix = QStringLiteral("移除失败：");
    co_await runWrite(prefix, write);
}

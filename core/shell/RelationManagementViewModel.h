#pragma once

#include "session/SessionModels.h"

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <qcoro/qcorotask.h>

#include <optional>

class AppState;

// The relations screen: who is bound to whom, binding a member, handing over the admin role
// and removing a member. Errors stay on this screen and the next try clears them; nothing
// here ends the session.
class RelationManagementViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppState* appState READ appState WRITE setAppState NOTIFY appStateChanged)
    Q_PROPERTY(QVariantList relationRows READ relationRows NOTIFY profileChanged)
    Q_PROPERTY(bool hasProfile READ hasProfile NOTIFY profileChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(QString bindUsername READ bindUsername WRITE setBindUsername NOTIFY bindUsernameChanged)
    Q_PROPERTY(QString addError READ addError NOTIFY addErrorChanged)
    Q_PROPERTY(bool isBinding READ isBinding NOTIFY isBindingChanged)
    Q_PROPERTY(bool canBind READ canBind NOTIFY canBindChanged)

public:
    explicit RelationManagementViewModel(QObject* parent = nullptr);

    AppState* appState() const { return m_appState; }
    void setAppState(AppState* appState);
    const std::optional<wire::UserProfile>& profile() const { return m_profile; }
    bool hasProfile() const { return m_profile.has_value(); }
    QVariantList relationRows() const;
    bool isLoading() const { return m_isLoading; }
    const QString& bindUsername() const { return m_bindUsername; }
    void setBindUsername(const QString& value);
    const QString& addError() const { return m_addError; }
    bool isBinding() const { return m_isBinding; }
    bool canBind() const { return !m_bindUsername.trimmed().isEmpty() && !m_isBinding; }

    // "你绑定的 · 管理员" or "TA 绑定你 · 你是 成员".
    static QString relationCaption(const wire::UserRelation& relation);
    static QString roleName(const QString& role);

    Q_INVOKABLE void loadProfile();
    Q_INVOKABLE void bindMember();
    Q_INVOKABLE void transferOwnerTo(int memberID);
    Q_INVOKABLE void removeMember(int memberID);

    QCoro::Task<void> loadProfileAsync();
    QCoro::Task<void> bindMemberAsync();
    QCoro::Task<void> transferOwnerToAsync(int memberID);
    QCoro::Task<void> removeMemberAsync(int memberID);

signals:
    void appStateChanged();
    void profileChanged();
    void isLoadingChanged();
    void bindUsernameChanged();
    void addErrorChanged();
    void isBindingChanged();
    void canBindChanged();

private:
    void setProfile(std::optional<wire::UserProfile> value);
    void setLoading(bool value);
    void setAddError(const QString& value);
    void setBinding(bool value);
    // One write, then the profile again; a failure reads "{prefix}{reason}".
    QCoro::Task<void> runWrite(QString failurePrefix, std::function<QCoro::Task<void>()> write);

    QPointer<AppState> m_appState;
    std::optional<wire::UserProfile> m_profile;
    bool m_isLoading = false;
    QString m_bindUsername;
    QString m_addError;
    bool m_isBinding = false;
};

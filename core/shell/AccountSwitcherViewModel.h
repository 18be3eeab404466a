#pragma once

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <qcoro/qcorotask.h>

class AppState;

// The account sheet: who is signed in, the other accounts of this device, adding one,
// switching, and signing the current one out. The add-account form lives here too.
class AccountSwitcherViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppState* appState READ appState WRITE setAppState NOTIFY appStateChanged)
    Q_PROPERTY(QString headerText READ headerText NOTIFY accountsChanged)
    Q_PROPERTY(QVariantList accountRows READ accountRows NOTIFY accountsChanged)
    Q_PROPERTY(QString emptyText READ emptyText CONSTANT)
    Q_PROPERTY(QString signOutSubtitle READ signOutSubtitle NOTIFY accountsChanged)
    Q_PROPERTY(bool canSignOut READ canSignOut NOTIFY accountsChanged)
    Q_PROPERTY(QString actionError READ actionError NOTIFY actionErrorChanged)
    Q_PROPERTY(QString busyUsername READ busyUsername NOTIFY busyUsernameChanged)
    Q_PROPERTY(bool showAddUser READ showAddUser WRITE setShowAddUser NOTIFY showAddUserChanged)
    Q_PROPERTY(QString addUsername READ addUsername WRITE setAddUsername NOTIFY addFormChanged)
    Q_PROPERTY(QString addPassword READ addPassword WRITE setAddPassword NOTIFY addFormChanged)
    Q_PROPERTY(QString addError READ addError NOTIFY addFormChanged)
    Q_PROPERTY(bool isAddingUser READ isAddingUser NOTIFY addFormChanged)
    Q_PROPERTY(bool canAdd READ canAdd NOTIFY addFormChanged)
    Q_PROPERTY(bool showRelations READ showRelations WRITE setShowRelations NOTIFY showRelationsChanged)

public:
    explicit AccountSwitcherViewModel(QObject* parent = nullptr);

    AppState* appState() const { return m_appState; }
    void setAppState(AppState* appState);

    QString headerText() const;
    // One row per account of the device: name, whether it is the current one, its hint.
    QVariantList accountRows() const;
    QString emptyText() const { return QStringLiteral("尚无已登账号 — 用下方「添加账号」登录"); }
    QString signOutSubtitle() const;
    bool canSignOut() const;
    const QString& actionError() const { return m_actionError; }
    const QString& busyUsername() const { return m_busyUsername; }

    bool showAddUser() const { return m_showAddUser; }
    void setShowAddUser(bool value);
    const QString& addUsername() const { return m_addUsername; }
    void setAddUsername(const QString& value);
    const QString& addPassword() const { return m_addPassword; }
    void setAddPassword(const QString& value);
    const QString& addError() const { return m_addError; }
    bool isAddingUser() const { return m_isAddingUser; }
    bool canAdd() const;
    bool showRelations() const { return m_showRelations; }
    void setShowRelations(bool value);

    Q_INVOKABLE void switchTo(const QString& username);
    Q_INVOKABLE void signOutCurrent();
    Q_INVOKABLE void addAccount();

    QCoro::Task<void> switchToAsync(QString username);
    QCoro::Task<void> signOutCurrentAsync();
    QCoro::Task<void> addAccountAsync();

signals:
    void appStateChanged();
    void accountsChanged();
    void actionErrorChanged();
    void busyUsernameChanged();
    void showAddUserChanged();
    void addFormChanged();
    void showRelationsChanged();
    // The add sheet signed someone in; the sheets may close.
    void accountAdded();

private:
    void setActionError(const QString& value);
    void setBusyUsername(const QString& value);

    QPointer<AppState> m_appState;
    QList<QMetaObject::Connection> m_connections;
    QString m_actionError;
    QString m_busyUsername;
    bool m_showAddUser = false;
    QString m_addUsername;
    QString m_addPassword;
    QString m_addError;
    bool m_isAddingUser = false;
    bool m_showRelations = false;
};

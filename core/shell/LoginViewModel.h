#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <qcoro/qcorotask.h>

#include <exception>

class AppState;

// The rules of the login screen: what may be submitted, what is sent, and the words of a failure.
class LoginViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppState* appState READ appState WRITE setAppState NOTIFY appStateChanged)
    Q_PROPERTY(QString username READ username WRITE setUsername NOTIFY usernameChanged)
    Q_PROPERTY(QString password READ password WRITE setPassword NOTIFY passwordChanged)
    Q_PROPERTY(QString loginError READ loginError NOTIFY loginErrorChanged)
    Q_PROPERTY(bool isLoggingIn READ isLoggingIn NOTIFY isLoggingInChanged)
    Q_PROPERTY(bool canSubmit READ canSubmit NOTIFY canSubmitChanged)
    Q_PROPERTY(QStringList knownUsernames READ knownUsernames NOTIFY knownUsernamesChanged)

public:
    explicit LoginViewModel(QObject* parent = nullptr);

    AppState* appState() const { return m_appState; }
    void setAppState(AppState* appState);
    const QString& username() const { return m_username; }
    void setUsername(const QString& value);
    const QString& password() const { return m_password; }
    void setPassword(const QString& value);
    const QString& loginError() const { return m_loginError; }
    bool isLoggingIn() const { return m_isLoggingIn; }
    bool canSubmit() const;
    const QStringList& knownUsernames() const { return m_knownUsernames; }

    // Trimmed and lower-cased: "Velmar " signs in as "velmar".
    static QString normalizedUsername(const QString& typed);
    // The words a failed login shows.
    static QString loginErrorText(std::exception_ptr error);

    Q_INVOKABLE void login();
    Q_INVOKABLE void reloadKnownUsernames();
    Q_INVOKABLE void pickKnownUsername(const QString& name) { setUsername(name); }

    QCoro::Task<void> loginAsync();
    QCoro::Task<void> reloadKnownUsernamesAsync();

signals:
    void appStateChanged();
    void usernameChanged();
    void passwordChanged();
    void loginErrorChanged();
    void isLoggingInChanged();
    void canSubmitChanged();
    void knownUsernamesChanged();

private:
    void setLoginError(const QString& value);
    void setIsLoggingIn(bool value);
    void setKnownUsernames(QStringList value);

    QPointer<AppState> m_appState;
    QString m_username;
    QString m_password;
    QString m_loginError;
    bool m_isLoggingIn = false;
    QStringList m_knownUsernames;
};

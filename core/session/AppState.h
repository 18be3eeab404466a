#pragma once

#include "ClientPaths.h"
#include "Clock.h"
#include "NavIntent.h"

#include "session/SessionModels.h"

#include <QDateTime>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <qcoro/qcorotask.h>

#include <memory>
#include <optional>

class AgentClient;
class AssetsStore;
class ChatSyncLoop;
class ConversationStore;
class DomainStore;
class KeychainStore;
class LumenAPIClient;
class MintbridgeClient;
class QSettings;
class SessionsStore;
class TimeCache;
class TimeStore;
class UnimelbStore;
class VelmarOSChatStore;

struct AppStateDeps {
    LumenAPIClient* api = nullptr;
    KeychainStore* keychain = nullptr;
    ClientPaths paths;
    std::shared_ptr<const Clock> clock = SystemClock::shared();
    MintbridgeClient* relay = nullptr; // null: the process-wide relay client
    QSettings* settings = nullptr; // null: the app's own user defaults
    AgentClient* agent = nullptr; // null: the process-wide agent client
};

// The root of the client: the login state and one store per organ. Stores are built once
// and never replaced, not even when the user changes.
class AppState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by the runtime")
    Q_PROPERTY(bool hasToken READ hasToken NOTIFY hasTokenChanged)
    Q_PROPERTY(bool hasProfile READ hasProfile NOTIFY currentUserChanged)
    Q_PROPERTY(QString currentUsername READ currentUsername NOTIFY currentUserChanged)
    Q_PROPERTY(QString currentDisplayName READ currentDisplayName NOTIFY currentUserChanged)
    Q_PROPERTY(QVariantMap currentUserData READ currentUserData NOTIFY currentUserChanged)
    Q_PROPERTY(QStringList knownUsernames READ knownUsernames NOTIFY knownUsernamesChanged)
    Q_PROPERTY(QDateTime authFailedAt READ authFailedAtValue NOTIFY authFailedAtChanged)
    Q_PROPERTY(bool sessionExpired READ sessionExpired NOTIFY authFailedAtChanged)
    Q_PROPERTY(bool hasNavIntent READ hasNavIntent NOTIFY navIntentChanged)
    Q_PROPERTY(NavIntent navIntent READ navIntentValue NOTIFY navIntentChanged)
    Q_MOC_INCLUDE("finance/AssetsStore.h")
    Q_MOC_INCLUDE("session/UnimelbStore.h")
    Q_PROPERTY(AssetsStore* assets READ assets CONSTANT)
    Q_PROPERTY(UnimelbStore* unimelb READ unimelb CONSTANT)
    Q_MOC_INCLUDE("time/TimeStore.h")
    Q_PROPERTY(TimeStore* time READ time CONSTANT)
    Q_MOC_INCLUDE("relay/ConversationStore.h")
    Q_PROPERTY(ConversationStore* conversation READ conversation CONSTANT)
    Q_MOC_INCLUDE("chat/SessionsStore.h")
    Q_PROPERTY(SessionsStore* chatSessions READ chatSessions CONSTANT)
    Q_MOC_INCLUDE("chat/ChatSyncLoop.h")
    Q_PROPERTY(ChatSyncLoop* chatSync READ chatSync CONSTANT)

public:
    explicit AppState(AppStateDeps deps, QObject* parent = nullptr);
    ~AppState() override;

    bool hasToken() const { return m_hasToken; }
    const std::optional<wire::UserProfile>& currentUser() const { return m_currentUser; }
    bool hasProfile() const { return m_currentUser.has_value(); }
    QString currentUsername() const { return m_currentUser ? m_currentUser->username : QString(); }
    QString currentDisplayName() const { return m_currentUser ? m_currentUser->display_name : QString(); }
    QVariantMap currentUserData() const;
    const QStringList& knownUsernames() const { return m_knownUsernames; }
    const std::optional<QDateTime>& authFailedAt() const { return m_authFailedAt; }
    QDateTime authFailedAtValue() const { return m_authFailedAt.value_or(QDateTime()); }
    bool sessionExpired() const { return m_authFailedAt.has_value(); }
    const std::optional<NavIntent>& navIntent() const { return m_navIntent; }
    bool hasNavIntent() const { return m_navIntent.has_value(); }
    NavIntent navIntentValue() const { return m_navIntent.value_or(NavIntent {}); }
    const std::optional<AnalysisRange>& pendingAnalysisRange() const { return m_pendingAnalysisRange; }
    const std::optional<NavIntent>& analysisReturn() const { return m_analysisReturn; }

    AssetsStore* assets() const { return m_assets; }
    UnimelbStore* unimelb() const { return m_unimelb; }
    TimeStore* time() const { return m_time; }
    ConversationStore* conversation() const { return m_conversation; }
    // The chat sessions and their stores; the sync loop keeps them in step with the server.
    SessionsStore* chatSessions() const { return m_chatSessions; }
    ChatSyncLoop* chatSync() const { return m_chatSync; }
    // The app's one cache of time views; every writer of time entries invalidates it.
    TimeCache* timeCache() const { return m_timeCache; }
    // Every store, for wiring and tests.
    QList<DomainStore*> stores() const;

    LumenAPIClient& api() const { return *m_deps.api; }
    KeychainStore& keychain() const { return *m_deps.keychain; }
    const AppStateDeps& deps() const { return m_deps; }

    // Loads the session; never throws.
    QCoro::Task<void> bootstrap();
    QCoro::Task<void> login(QString username, QString password);
    QCoro::Task<void> saveToken(QString token);
    QCoro::Task<void> switchUser(QString username);
    QCoro::Task<void> forgetUser(QString username);
    // Any store's 401: back to the login screen and every account on the device wiped.
    void handleAuthFailure();

    void requestNav(const QString& organRaw, const QString& sub, std::optional<AnalysisRange> range,
        std::optional<NavIntent> returnTo);
    // requestNav without a range, for the screens.
    Q_INVOKABLE void navigate(const QString& organRaw, const QString& sub);
    Q_INVOKABLE void clearNavIntent() { setNavIntent(std::nullopt); }
    void clearPendingAnalysisRange() { setPendingAnalysisRange(std::nullopt); }

    // Fire-and-forget forms for the screens; failures arrive as `actionFailed`.
    Q_INVOKABLE void signOutCurrentUser();

    // The chat boots: its stores are wired to time and sign-out, and the 8-second sync
    // loop starts. Once is enough; later calls do nothing.
    Q_INVOKABLE void bootChatAgent();
    // What every chat store is wired with: time effects, the time refresh, sign-out.
    void configureChatStore(VelmarOSChatStore* store);

signals:
    void hasTokenChanged();
    void currentUserChanged();
    void knownUsernamesChanged();
    void authFailedAtChanged();
    void navIntentChanged();
    void pendingAnalysisRangeChanged();
    void analysisReturnChanged();
    void actionFailed(const QString& message);

private:
    void setHasToken(bool value);
    void setCurrentUser(std::optional<wire::UserProfile> value);
    void setKnownUsernames(QStringList value);
    void setAuthFailedAt(std::optional<QDateTime> value);
    void setNavIntent(std::optional<NavIntent> value);
    void setPendingAnalysisRange(std::optional<AnalysisRange> value);
    void setAnalysisReturn(std::optional<NavIntent> value);
    QCoro::Task<QStringList> readKnownUsernames();
    void clearRunningActivity();

    AppStateDeps m_deps;
    bool m_hasToken = false;
    std::optional<wire::UserProfile> m_currentUser;
    QStringList m_knownUsernames;
    std::optional<QDateTime> m_authFailedAt;
    std::optional<NavIntent> m_navIntent;
    std::optional<AnalysisRange> m_pendingAnalysisRange;
    std::optional<NavIntent> m_analysisReturn;

    AssetsStore* m_assets = nullptr;
    UnimelbStore* m_unimelb = nullptr;
    TimeCache* m_timeCache = nullptr;
    TimeStore* m_time = nullptr;
    ConversationStore* m_conversation = nullptr;
    QSettings* m_settings = nullptr;
    SessionsStore* m_chatSessions = nullptr;
    ChatSyncLoop* m_chatSync = nullptr;
};

#pragma once

#include "ChatSession.h"
#include "ChatStoreContext.h"

#include "chat/ChatSessionModels.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <qcoro/qcorotask.h>

#include <functional>
#include <map>
#include <optional>
#include <vector>

class LumenAPIClient;
class VelmarOSChatStore;

// The user's chat sessions: the list, the open one, and one chat store per session made when
// first asked for. Every change is saved at once and told to the server in the background;
// the server's list is merged on refresh, sessions deleted on another machine go, and
// sessions the server never held are moved up once, with their history.
class SessionsStore : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by AppState")
    Q_PROPERTY(QVariantList visibleSessions READ visibleSessionsForView NOTIFY sessionsChanged)
    Q_PROPERTY(QVariantList archivedSessions READ archivedSessionsForView NOTIFY sessionsChanged)
    Q_PROPERTY(QString activeSessionId READ activeSessionId NOTIFY activeSessionIdChanged)
    Q_PROPERTY(QVariantMap activeSession READ activeSessionForView NOTIFY activeSessionChanged)
    Q_MOC_INCLUDE("chat/VelmarOSChatStore.h")
    Q_PROPERTY(VelmarOSChatStore* activeStore READ activeStore NOTIFY activeSessionIdChanged)
    Q_PROPERTY(QString pendingNavSessionId READ pendingNavSessionIdText NOTIFY pendingNavSessionIdChanged)

public:
    static inline const QString indexSnapshotKey = QStringLiteral("sessions-index");
    static inline const QString knownSessionsKey = QStringLiteral("_chatSyncServerKnownSessions");
    static inline const QString migratedSessionsKey = QStringLiteral("_chatSyncMigratedSessions");

    explicit SessionsStore(ChatStoreContext context, QObject* parent = nullptr);
    ~SessionsStore() override;

    // Applied to every chat store when it is made; the shell wires the stores' callbacks.
    std::function<void(VelmarOSChatStore*)> storeConfigurator;

    const std::vector<ChatSession>& sessions() const { return m_sessions; }
    const QString& activeSessionId() const { return m_activeSessionId; }
    const std::optional<QString>& pendingNavSessionId() const { return m_pendingNavSessionId; }
    void setPendingNavSessionId(std::optional<QString> id);
    const std::map<QString, QString>& serverCliSessionIds() const { return m_serverCliSessionIds; }
    std::optional<QString> serverCliSessionId(const QString& id) const;
    bool hasCachedStore(const QString& id) const { return m_storeCache.contains(id); }
    // Creates, patches and deletes still on their way to the server.
    int backgroundWrites() const { return m_backgroundWrites; }

    // Not archived: pinned first, then the rest, each newest first.
    std::vector<ChatSession> visibleSessions() const;
    std::vector<ChatSession> archivedSessions() const;
    ChatSession activeSession() const;
    VelmarOSChatStore* activeStore() { return store(m_activeSessionId); }
    VelmarOSChatStore* store(QString id);

    // ---- operations; each saves the list and tells the server in the background ----
    QString create(ChatModel model);
    void resetActiveToNewSession();
    // Ids by value: a caller may hand in a reference into the list these change.
    void deleteSession(QString id);
    void switchTo(QString id);
    void rename(QString id, QString title);
    void archive(QString id, bool archived);
    void togglePin(QString id);
    void setModel(ChatModel model, QString id);
    // The session was just spoken in: it moves up, and an untitled one takes its name.
    void noteUserMessage(QString text, QString id);

    // Merges the server's list and migrates what it never held. Never throws; a failure
    // leaves the local list as it is.
    QCoro::Task<void> refreshFromServer();
    QCoro::Task<void> migrateLocalOnlySessions(QSet<QString> serverIds);
    // Posts a session's local log in file order; false at the first post that fails.
    QCoro::Task<bool> pushLocalHistory(QString id);

    // ---- for the screens ----
    QVariantList visibleSessionsForView() const;
    QVariantList archivedSessionsForView() const;
    QVariantMap activeSessionForView() const { return activeSession().toVariantMap(); }
    QString pendingNavSessionIdText() const { return m_pendingNavSessionId.value_or(QString()); }
    Q_INVOKABLE VelmarOSChatStore* storeFor(const QString& id) { return store(id); }
    // An empty or unknown word is sonnet.
    Q_INVOKABLE QString createSession(const QString& modelId = {});
    Q_INVOKABLE void newSessionReplacingActive() { resetActiveToNewSession(); }
    Q_INVOKABLE void remove(const QString& id) { deleteSession(id); }
    Q_INVOKABLE void open(const QString& id) { switchTo(id); }
    Q_INVOKABLE void renameSession(const QString& id, const QString& title) { rename(id, title); }
    Q_INVOKABLE void setArchived(const QString& id, bool archived) { archive(id, archived); }
    Q_INVOKABLE void pin(const QString& id) { togglePin(id); }
    Q_INVOKABLE void setModelFor(const QString& id, const QString& modelId);
    Q_INVOKABLE void clearPendingNav() { setPendingNavSessionId(std::nullopt); }
    Q_INVOKABLE void refresh();

signals:
    void sessionsChanged();
    void activeSessionIdChanged();
    void activeSessionChanged();
    void pendingNavSessionIdChanged();
    void backgroundWritesChanged();

private:
    LumenAPIClient& api() const { return *m_context.store.api; }
    QDateTime now() const { return m_context.store.clock->now(); }
    ChatSession* find(const QString& id);
    void saveIndex() const;
    void publish(std::vector<ChatSession> sessions, QString activeId);
    // Applies a change to the session with this id and publishes; false when there is none.
    bool changeSession(const QString& id, const std::function<void(ChatSession&)>& change);
    // Drops what this machine keeps of a session: its log, its resume id, its store.
    void purgeLocalSession(const QString& id);
    QStringList readList(const QString& key) const;
    void writeList(const QString& key, const QStringList& ids);
    void seedCachedStores();

    void createInBackground(wire::ChatSessionCreate body);
    void patchInBackground(const QString& id, wire::ChatSessionPatch patch);
    void deleteInBackground(const QString& id);
    static QCoro::Task<void> sendCreate(
        QPointer<SessionsStore> self, LumenAPIClient* api, wire::ChatSessionCreate body);
    static QCoro::Task<void> sendPatch(
        QPointer<SessionsStore> self, LumenAPIClient* api, QString id, wire::ChatSessionPatch patch);
    static QCoro::Task<void> sendDelete(QPointer<SessionsStore> self, LumenAPIClient* api, QString id);
    static QCoro::Task<void> refreshDetached(QPointer<SessionsStore> self);
    void endBackgroundWrite();

    ChatStoreContext m_context;
    std::vector<ChatSession> m_sessions;
    QString m_activeSessionId;
    std::optional<QString> m_pendingNavSessionId;
    QHash<QString, VelmarOSChatStore*> m_storeCache;
    std::map<QString, QString> m_serverCliSessionIds;
    // One refresh at a time: a migration still pushing must not be started twice.
    bool m_refreshing = false;
    int m_backgroundWrites = 0;
};

#include "SessionsStore.h"

#include "ChatSyncEncoding.h"
#include "SessionJSONLWriter.h"
#include "VelmarOSChatStore.h"

#include "session/LumenAPIClient.h"
#include "session/WidgetCache.h"

#include <QFile>
#include <QSettings>

#include <algorithm>

namespace {

void sortNewestFirst(std::vector<ChatSession>& sessions)
{
    std::stable_sort(sessions.begin(), sessions.end(),
        [](const ChatSession& a, const ChatSession& b) { return a.lastActiveAt > b.lastActiveAt; });
}

QVariantList forView(const std::vector<ChatSession>& sessions)
{
    QVariantList out;
    for (const ChatSession& session : sessions)
        out.append(session.toVariantMap());
    return out;
}

} // namespace

SessionsStore::SessionsStore(ChatStoreContext context, QObject* parent)
    : QObject(parent)
    , m_context(std::move(context))
{
    Q_ASSERT(m_context.settings);
    const auto index = WidgetCache::loadSync<SessionsIndex>(indexSnapshotKey, m_context.store.paths.widgetCacheDir());
    if (index && !index->sessions.empty()) {
        m_sessions = index->sessions;
        const bool known = index->activeSessionId
            && std::any_of(m_sessions.begin(), m_sessions.end(),
                [&](const ChatSession& session) { return session.id == *index->activeSessionId; });
        m_activeSessionId = known ? *index->activeSessionId : m_sessions.front().id;
        return;
    }
    m_sessions = { ChatSession::makeDefault(now()) };
    m_activeSessionId = m_sessions.front().id;
    saveIndex();
}

SessionsStore::~SessionsStore() = default;

ChatSession* SessionsStore::find(const QString& id)
{
    const auto found
        = std::find_if(m_sessions.begin(), m_sessions.end(), [&](const ChatSession& s) { return s.id == id; });
    return found == m_sessions.end() ? nullptr : &*found;
}

void SessionsStore::saveIndex() const
{
    const SessionsIndex index { m_sessions, m_activeSessionId, SessionsIndex::currentSchemaVersion };
    WidgetCache::saveSync(indexSnapshotKey, index, m_context.store.paths.widgetCacheDir());
}

void SessionsStore::publish(std::vector<ChatSession> sessions, QString activeId)
{
    const ChatSession activeBefore = activeSession();
    const bool listChanged = m_sessions != sessions;
    const bool activeChanged = m_activeSessionId != activeId;
    m_sessions = std::move(sessions);
    m_activeSessionId = std::move(activeId);
    saveIndex();
    if (listChanged)
        emit sessionsChanged();
    if (activeChanged)
        emit activeSessionIdChanged();
    if (!(activeSession() == activeBefore))
        emit activeSessionChanged();
}

void SessionsStore::setPendingNavSessionId(std::optional<QString> id)
{
    if (m_pendingNavSessionId == id)
        return;
    m_pendingNavSessionId = std::move(id);
    emit pendingNavSessionIdChanged();
}

std::optional<QString> SessionsStore::serverCliSessionId(const QString& id) const
{
    const auto found = m_serverCliSessionIds.find(id);
    if (found == m_serverCliSessionIds.end() || found->second.isEmpty())
        return std::nullopt;
    return found->second;
}

std::vector<ChatSession> SessionsStore::visibleSessions() const
{
    std::vector<ChatSession> pinned;
    std::vector<ChatSession> others;
    for (const ChatSession& session : m_sessions) {
        if (session.isArchived)
            continue;
        (session.isPinned ? pinned : others).push_back(session);
    }
    sortNewestFirst(pinned);
    sortNewestFirst(others);
    pinned.insert(pinned.end(), others.begin(), others.end());
    return pinned;
}

std::vector<ChatSession> SessionsStore::archivedSessions() const
{
    std::vector<ChatSession> archived;
    std::copy_if(m_sessions.begin(), m_sessions.end(), std::back_inserter(archived),
        [](const ChatSession& session) { return session.isArchived; });
    sortNewestFirst(archived);
    return archived;
}

ChatSession SessionsStore::activeSession() const
{
    for (const ChatSession& session : m_sessions) {
        if (session.id == m_activeSessionId)
            return session;
    }
    if (!m_sessions.empty())
        return m_sessions.front();
    ChatSession fallback = ChatSession::makeDefault(now(), m_activeSessionId);
    return fallback;
}

VelmarOSChatStore* SessionsStore::store(QString id)
{
    VelmarOSChatStore* chat = m_storeCache.value(id);
    if (!chat) {
        chat = new VelmarOSChatStore(m_context, id, true, this);
        if (storeConfigurator)
            storeConfigurator(chat);
        QPointer<SessionsStore> self(this);
        connect(chat, &VelmarOSChatStore::submitted, this, [self, id](const QString& text) {
            if (self)
                self->noteUserMessage(text, id);
        });
        m_storeCache.insert(id, chat);
    }
    chat->seedResumeCliSessionId(serverCliSessionId(id));
    return chat;
}

// ---- operations ----

QString SessionsStore::create(ChatModel model)
{
    const QDateTime stamp = now();
    ChatSession session { ChatSyncEncoding::uuidText(QUuid::createUuid()), QString(), model, stamp, stamp, false,
        false };
    std::vector<ChatSession> sessions = m_sessions;
    sessions.push_back(session);
    publish(std::move(sessions), session.id);
    createInBackground({ session.id, std::nullopt, model.id() });
    return session.id;
}

void SessionsStore::resetActiveToNewSession()
{
    const QString previous = m_activeSessionId;
    create(ChatModel::sonnet());
    deleteSession(previous);
}

void SessionsStore::deleteSession(QString id)
{
    purgeLocalSession(id);
    std::vector<ChatSession> sessions = m_sessions;
    std::erase_if(sessions, [&](const ChatSession& session) { return session.id == id; });
    deleteInBackground(id);
    QString active = m_activeSessionId;
    if (active == id) {
        m_sessions.swap(sessions);
        const std::vector<ChatSession> visible = visibleSessions();
        m_sessions.swap(sessions);
        if (!visible.empty()) {
            active = visible.front().id;
        } else {
            // Never an empty list: a fresh session stands in, and the server hears of it.
            const ChatSession fresh = ChatSession::makeDefault(now(), ChatSyncEncoding::uuidText(QUuid::createUuid()));
            sessions.push_back(fresh);
            active = fresh.id;
            createInBackground({ fresh.id, std::nullopt, fresh.model.id() });
        }
    }
    publish(std::move(sessions), active);
}

void SessionsStore::switchTo(QString id)
{
    publish(m_sessions, id);
}

bool SessionsStore::changeSession(const QString& id, const std::function<void(ChatSession&)>& change)
{
    std::vector<ChatSession> sessions = m_sessions;
    bool found = false;
    for (ChatSession& session : sessions) {
        if (session.id == id) {
            change(session);
            found = true;
        }
    }
    if (found)
        publish(std::move(sessions), m_activeSessionId);
    return found;
}

void SessionsStore::rename(QString id, QString title)
{
    changeSession(id, [&](ChatSession& session) { session.title = title; });
    wire::ChatSessionPatch patch;
    patch.title = title;
    patchInBackground(id, std::move(patch));
}

void SessionsStore::archive(QString id, bool archived)
{
    changeSession(id, [&](ChatSession& session) { session.isArchived = archived; });
    wire::ChatSessionPatch patch;
    patch.is_archived = archived;
    patchInBackground(id, std::move(patch));
}

void SessionsStore::togglePin(QString id)
{
    bool pinned = false;
    if (!changeSession(id, [&](ChatSession& session) { pinned = session.isPinned = !session.isPinned; }))
        return;
    wire::ChatSessionPatch patch;
    patch.is_pinned = pinned;
    patchInBackground(id, std::move(patch));
}

void SessionsStore::setModel(ChatModel model, QString id)
{
    changeSession(id, [&](ChatSession& session) { session.model = model; });
    wire::ChatSessionPatch patch;
    patch.model = model.id();
    patchInBackground(id, std::move(patch));
}

void SessionsStore::noteUserMessage(QString text, QString id)
{
    std::vector<ChatSession> sessions = m_sessions;
    std::optional<QString> derived;
    bool found = false;
    for (ChatSession& session : sessions) {
        if (session.id != id)
            continue;
        found = true;
        session.lastActiveAt = now();
        if (session.title.isEmpty()) {
            session.title = ChatSession::deriveTitle(text);
            derived = session.title;
        }
    }
    if (!found)
        return;
    publish(std::move(sessions), m_activeSessionId);
    wire::ChatSessionPatch patch;
    patch.last_active_at = ChatSyncEncoding::timestamp(now());
    patch.title = derived;
    patchInBackground(id, std::move(patch));
}

void SessionsStore::purgeLocalSession(const QString& id)
{
    if (VelmarOSChatStore* chat = m_storeCache.take(id)) {
        chat->cancelCurrentTurn();
        chat->writer().close();
        chat->deleteLater();
    }
    QFile::remove(SessionJSONLWriter::urlFor(m_context.store.paths, id));
    m_context.settings->remove(VelmarOSChatStore::cliSessionIdKey(id));
}

// ---- the server's list ----

QStringList SessionsStore::readList(const QString& key) const
{
    return m_context.settings->value(key).toStringList();
}

void SessionsStore::writeList(const QString& key, const QStringList& ids)
{
    m_context.settings->setValue(key, ids);
    m_context.settings->sync();
}

void SessionsStore::seedCachedStores()
{
    for (auto it = m_storeCache.begin(); it != m_storeCache.end(); ++it)
        it.value()->seedResumeCliSessionId(serverCliSessionId(it.key()));
}

QCoro::Task<void> SessionsStore::refreshFromServer()
{
    QPointer<SessionsStore> self(this);
    if (m_refreshing)
        co_return;
    m_refreshing = true;
    std::vector<wire::ChatSessionDTO> listed;
    try {
        listed = co_await api().chatSessions();
    } catch (...) {
        if (self)
            m_refreshing = false;
        co_return;
    }
    if (!self)
        co_return;

    std::vector<ChatSession> sessions = m_sessions;
    QSet<QString> serverIds;
    for (const wire::ChatSessionDTO& dto : listed) {
        serverIds.insert(dto.id);
        if (dto.cli_session_id && !dto.cli_session_id->isEmpty())
            m_serverCliSessionIds[dto.id] = *dto.cli_session_id;
        const QDateTime created = ChatSyncEncoding::parseTimestamp(dto.created_at.value_or(QString()));
        const QDateTime active = ChatSyncEncoding::parseTimestamp(dto.last_active_at.value_or(QString()));
        const std::optional<ChatModel> model = ChatModel::fromId(dto.model.value_or(QString()));
        auto local = std::find_if(
            sessions.begin(), sessions.end(), [&](const ChatSession& session) { return session.id == dto.id; });
        if (local != sessions.end()) {
            if (dto.title)
                local->title = *dto.title;
            if (model)
                local->model = *model;
            local->isPinned = dto.is_pinned;
            local->isArchived = dto.is_archived;
            if (created.isValid())
                local->createdAt = created;
            if (active.isValid())
                local->lastActiveAt = active;
        } else {
            const QDateTime stamp = now();
            sessions.push_back({ dto.id, dto.title.value_or(QString()), model.value_or(ChatModel::sonnet()),
                created.isValid() ? created : stamp, active.isValid() ? active : stamp, dto.is_pinned,
                dto.is_archived });
        }
    }

    QSet<QString> known;
    for (const QString& id : readList(knownSessionsKey))
        known.insert(id);
    known.unite(serverIds);

    // Held by the server once and gone from it now: deleted on another machine.
    std::vector<ChatSession> kept;
    for (const ChatSession& session : sessions) {
        if (!serverIds.contains(session.id) && known.contains(session.id)) {
            purgeLocalSession(session.id);
            continue;
        }
        kept.push_back(session);
    }
    QSet<QString> stillThere = serverIds;
    for (const ChatSession& session : kept)
        stillThere.insert(session.id);
    QStringList knownList;
    for (const QString& id : known) {
        if (stillThere.contains(id))
            knownList.append(id);
    }
    knownList.sort();
    writeList(knownSessionsKey, knownList);

    QString active = m_activeSessionId;
    const bool activeKept
        = std::any_of(kept.begin(), kept.end(), [&](const ChatSession& session) { return session.id == active; });
    if (!activeKept) {
        if (kept.empty())
            kept.push_back(ChatSession::makeDefault(now(), ChatSyncEncoding::uuidText(QUuid::createUuid())));
        m_sessions.swap(kept);
        const std::vector<ChatSession> visible = visibleSessions();
        m_sessions.swap(kept);
        active = visible.empty() ? kept.front().id : visible.front().id;
    }
    publish(std::move(kept), active);
    seedCachedStores();

    co_await migrateLocalOnlySessions(serverIds);
    if (self)
        m_refreshing = false;
}

QCoro::Task<void> SessionsStore::migrateLocalOnlySessions(QSet<QString> serverIds)
{
    QPointer<SessionsStore> self(this);
    QStringList migrated = readList(migratedSessionsKey);
    std::vector<ChatSession> waiting;
    for (const ChatSession& session : m_sessions) {
        if (!serverIds.contains(session.id) && !migrated.contains(session.id))
            waiting.push_back(session);
    }
    for (const ChatSession& session : waiting) {
        const wire::ChatSessionCreate create { session.id,
            session.title.isEmpty() ? std::nullopt : std::optional(session.title), session.model.id() };
        try {
            co_await api().chatCreateSession(create);
        } catch (...) {
            if (!self)
                co_return;
            continue; // the next refresh tries again
        }
        if (!self)
            co_return;
        const bool pushed = co_await pushLocalHistory(session.id);
        if (!self)
            co_return;
        wire::ChatSessionPatch patch;
        patch.is_pinned = session.isPinned;
        patch.is_archived = session.isArchived;
        patch.last_active_at = ChatSyncEncoding::timestamp(session.lastActiveAt);
        try {
            co_await api().chatUpdateSession(session.id, patch);
        } catch (...) {
        }
        if (!self)
            co_return;
        if (pushed) {
            migrated = readList(migratedSessionsKey);
            if (!migrated.contains(session.id)) {
                migrated.append(session.id);
                writeList(migratedSessionsKey, migrated);
            }
        }
    }
}

QCoro::Task<bool> SessionsStore::pushLocalHistory(QString id)
{
    QPointer<SessionsStore> self(this);
    const SessionJSONLWriter log(m_context.store.paths, id, m_context.store.clock);
    const QStringList lines = log.readLines();
    const QDateTime stamp = now();
    LumenAPIClient* client = &api();
    for (const QString& line : lines) {
        const std::optional<wire::ChatMessageCreate> message = ChatSyncEncoding::messageFromJSONLLine(line, id, stamp);
        if (!message)
            continue;
        const wire::ChatMessageCreate body = *message;
        try {
            co_await client->chatPostMessage(id, body);
        } catch (...) {
            co_return false;
        }
        if (!self)
            co_return false;
    }
    co_return true;
}

// ---- background calls: best effort, the next refresh settles any difference ----

void SessionsStore::endBackgroundWrite()
{
    --m_backgroundWrites;
    emit backgroundWritesChanged();
}

void SessionsStore::createInBackground(wire::ChatSessionCreate body)
{
    ++m_backgroundWrites;
    emit backgroundWritesChanged();
    sendCreate(this, &api(), std::move(body));
}

void SessionsStore::patchInBackground(const QString& id, wire::ChatSessionPatch patch)
{
    ++m_backgroundWrites;
    emit backgroundWritesChanged();
    sendPatch(this, &api(), id, std::move(patch));
}

void SessionsStore::deleteInBackground(const QString& id)
{
    ++m_backgroundWrites;
    emit backgroundWritesChanged();
    sendDelete(this, &api(), id);
}

QCoro::Task<void> SessionsStore::sendCreate(
    QPointer<SessionsStore> self, LumenAPIClient* api, wire::ChatSessionCreate body)
{
    try {
        co_await api->chatCreateSession(body);
    } catch (...) {
    }
    if (self)
        self->endBackgroundWrite();
}

QCoro::Task<void> SessionsStore::sendPatch(
    QPointer<SessionsStore> self, LumenAPIClient* api, QString id, wire::ChatSessionPatch patch)
{
    try {
        co_await api->chatUpdateSession(id, patch);
    } catch (...) {
    }
    if (self)
        self->endBackgroundWrite();
}

QCoro::Task<void> SessionsStore::sendDelete(QPointer<SessionsStore> self, LumenAPIClient* api, QString id)
{
    try {
        co_await api->chatDeleteSession(id);
    } catch (...) {
    }
    if (self)
        self->endBackgroundWrite();
}

QCoro::Task<void> SessionsStore::refreshDetached(QPointer<SessionsStore> self)
{
    if (!self)
        co_return;
    try {
        co_await self->refreshFromServer();
    } catch (...) {
    }
}

// ---- for the screens ----

QVariantList SessionsStore::visibleSessionsForView() const
{
    return forView(visibleSessions());
}

QVariantList SessionsStore::archivedSessionsForView() const
{
    return forView(archivedSessions());
}

QString SessionsStore::createSession(const QString& modelId)
{
    return create(ChatModel::fromId(modelId).value_or(ChatModel::sonnet()));
}

void SessionsStore::setModelFor(const QString& id, const QString& modelId)
{
    if (const auto model = ChatModel::fromId(modelId))
        setModel(*model, id);
}

void SessionsStore::refresh()
{
    refreshDetached(this);
}

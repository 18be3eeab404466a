// VelmarOSChatStore: the conversation brought back — the local log on opening, then the
// server's copy merged in, and the merge again whenever the server's copy changed.
#include "VelmarOSChatStore.h"

#include "ChatSyncEncoding.h"

#include "session/LumenAPIClient.h"

#include <QJsonDocument>

#include <algorithm>
#include <map>

namespace {

const QString kPendingEmitted = QStringLiteral("pending_emitted");

QString fieldText(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    return value.isString() ? value.toString() : QString();
}

} // namespace

QCoro::Task<void> VelmarOSChatStore::startReplay(QPointer<VelmarOSChatStore> self)
{
    if (!self)
        co_return;
    try {
        co_await self->replayHistory();
        if (!self)
            co_return;
        co_await self->refreshAggregated();
    } catch (...) {
        // Both never throw; a store opening must not die of its history.
    }
}

QCoro::Task<void> VelmarOSChatStore::replayHistory()
{
    QPointer<VelmarOSChatStore> self(this);
    setLoadingHistory(true);

    std::vector<ChatEvent> built;
    const QStringList lines = m_writer.readLines();
    for (const QString& line : lines) {
        const QJsonDocument document = QJsonDocument::fromJson(line.toUtf8());
        if (!document.isObject())
            continue; // a damaged line costs that line only
        const QJsonObject object = document.object();
        const QString kind = fieldText(object, QStringLiteral("type"));
        QDateTime ts = ChatSyncEncoding::parseTimestamp(fieldText(object, QStringLiteral("ts")));
        if (!ts.isValid())
            ts = now();
        if (kind == kPendingEmitted) {
            const QString pendingId = fieldText(object, QStringLiteral("pending_id"));
            try {
                const wire::PendingItem item = co_await api().getPending(pendingId);
                if (!self)
                    co_return;
                built.emplace_back(QUuid::createUuid(), ts,
                    ChatEvent::PendingEmitted { item, fieldText(object, QStringLiteral("assistant_text")),
                        item.source_text.value_or(QString()) });
            } catch (...) {
                if (!self)
                    co_return;
                // A card the server no longer gives is left out.
            }
            continue;
        }
        const wire::ChatMessageDTO message { QString(), 0, ChatSyncEncoding::roleFor(kind), kind, line,
            ChatSyncEncoding::timestamp(ts) };
        if (auto event = ChatSyncEncoding::event(message, ts))
            built.emplace_back(QUuid::createUuid(), event->timestamp(), event->value());
    }
    // Whatever was said while the log was read stays after it.
    built.insert(built.end(), m_events.begin(), m_events.end());
    setEvents(std::move(built));

    co_await replayFromServer();
    if (!self)
        co_return;
    setLoadingHistory(false);
    ++m_historyDidLoad;
    emit historyDidLoadChanged();
}

std::vector<wire::ChatMessageDTO> VelmarOSChatStore::localMessageDTOs() const
{
    std::vector<wire::ChatMessageDTO> out;
    const QDateTime stamp = now();
    for (const QString& line : m_writer.readLines()) {
        if (auto message = ChatSyncEncoding::messageFromJSONLLine(line, m_sessionId, stamp))
            out.push_back({ message->id, 0, message->role, message->kind, message->content, message->ts });
    }
    return out;
}

bool VelmarOSChatStore::mergeMayRebuild() const
{
    return !m_agentLoopActive && m_submissionQueue.empty() && !m_drainerRunning && m_clearsInFlight == 0;
}

QCoro::Task<void> VelmarOSChatStore::replayFromServer()
{
    QPointer<VelmarOSChatStore> self(this);
    if (!mergeMayRebuild())
        co_return;
    const std::size_t countBefore = m_events.size();

    std::vector<wire::ChatMessageDTO> server;
    try {
        server = co_await api().chatMessages(m_sessionId, serverHistoryLimit);
    } catch (...) {
        co_return; // the local view stands
    }
    if (!self)
        co_return;

    // Local first, then the server's, which replaces a local message of the same id. The
    // first position a message took breaks ties that time and seq leave.
    struct Entry {
        wire::ChatMessageDTO message;
        std::size_t order = 0;
    };
    std::map<QString, Entry> byId;
    std::size_t order = 0;
    const std::vector<wire::ChatMessageDTO> local = localMessageDTOs();
    for (const wire::ChatMessageDTO& message : local)
        byId.insert_or_assign(message.id, Entry { message, order++ });
    QSet<QString> serverIds;
    for (const wire::ChatMessageDTO& message : server) {
        serverIds.insert(message.id);
        const auto found = byId.find(message.id);
        const std::size_t position = found == byId.end() ? order++ : found->second.order;
        byId.insert_or_assign(message.id, Entry { message, position });
    }
    std::vector<Entry> merged;
    merged.reserve(byId.size());
    for (auto& [id, entry] : byId)
        merged.push_back(std::move(entry));
    std::sort(merged.begin(), merged.end(), [](const Entry& a, const Entry& b) {
        if (a.message.ts != b.message.ts)
            return a.message.ts < b.message.ts;
        if (a.message.seq != b.message.seq)
            return a.message.seq < b.message.seq;
        return a.order < b.order;
    });

    // Up with what the server lacks, but only past its newest: older ones may sit before
    // the window it answered, and an empty list is migration's business.
    if (!server.empty()) {
        const QString newest = server.back().ts;
        for (const wire::ChatMessageDTO& message : local) {
            if (serverIds.contains(message.id) || !(message.ts > newest))
                continue;
            postInBackground({ message.id, message.role, message.kind, message.content, message.ts });
        }
    }

    const QString signature = merged.empty()
        ? QStringLiteral("0||")
        : QStringLiteral("%1|%2|%3").arg(merged.size()).arg(merged.back().message.id, merged.back().message.ts);
    if (signature == m_lastReplayRemoteSig)
        co_return;
    if (!mergeMayRebuild() || m_events.size() != countBefore)
        co_return; // the next tick tries again

    std::vector<ChatEvent> rebuilt;
    rebuilt.reserve(merged.size());
    const QDateTime stamp = now();
    for (const Entry& entry : merged) {
        const wire::ChatMessageDTO& message = entry.message;
        if (const auto pendingId = ChatSyncEncoding::pendingId(message)) {
            const auto existing = std::find_if(m_events.begin(), m_events.end(), [&](const ChatEvent& event) {
                const auto* card = event.as<ChatEvent::PendingEmitted>();
                return card && card->item.id == *pendingId;
            });
            if (existing != m_events.end()) {
                rebuilt.push_back(*existing);
                continue;
            }
            try {
                const wire::PendingItem item = co_await api().getPending(*pendingId);
                if (!self)
                    co_return;
                QDateTime ts = ChatSyncEncoding::parseTimestamp(message.ts);
                const QJsonObject content = ChatSyncEncoding::contentObject(message.content);
                rebuilt.emplace_back(ChatSyncEncoding::uuidForStableString(message.id), ts.isValid() ? ts : stamp,
                    ChatEvent::PendingEmitted { item, fieldText(content, QStringLiteral("assistant_text")),
                        item.source_text.value_or(QString()) });
            } catch (...) {
                if (!self)
                    co_return;
                // A card the server no longer knows is dropped.
            }
            continue;
        }
        if (auto event = ChatSyncEncoding::event(message, stamp))
            rebuilt.push_back(std::move(*event));
    }
    if (!mergeMayRebuild() || m_events.size() != countBefore)
        co_return;
    setEvents(std::move(rebuilt));
    m_lastReplayRemoteSig = signature;
}

void VelmarOSChatStore::syncNow()
{
    QPointer<VelmarOSChatStore> self(this);
    [](QPointer<VelmarOSChatStore> store) -> QCoro::Task<void> {
        if (!store)
            co_return;
        try {
            co_await store->replayFromServer();
        } catch (...) {
        }
    }(self);
}

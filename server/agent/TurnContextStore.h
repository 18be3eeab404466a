#pragma once

#include <QString>

#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace lumen::agent {

// What a conversation last produced, so a follow-up ("删掉刚才那笔", "改成 60") knows what it
// refers to. At most one of the two is set: whichever came last.
struct TurnContext {
    QString lastPendingId; // the newest proposal of the conversation
    QString lastPendingDomain;
    qint64 lastRecordId = 0; // a record the conversation wrote directly (a stopped block)
    QString lastRecordDomain;

    bool operator==(const TurnContext&) const = default;
};

// Turn contexts by user and resume id, in memory; the least recently used go first once
// there are more than `capacity`.
class TurnContextStore {
public:
    static constexpr std::size_t defaultCapacity = 10000;

    explicit TurnContextStore(std::size_t capacity = defaultCapacity);

    TurnContext get(qint64 userId, const QString& sessionId);
    void put(qint64 userId, const QString& sessionId, const TurnContext& context);

private:
    using Key = std::pair<qint64, QString>;

    std::mutex m_mutex;
    std::size_t m_capacity;
    std::list<Key> m_order; // most recent first
    std::map<Key, std::pair<TurnContext, std::list<Key>::iterator>> m_contexts;
};

} // namespace lumen::agent

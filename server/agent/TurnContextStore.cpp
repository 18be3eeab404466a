#include "TurnContextStore.h"

#include <algorithm>

namespace lumen::agent {

TurnContextStore::TurnContextStore(std::size_t capacity)
    : m_capacity(std::max<std::size_t>(1, capacity))
{
}

TurnContext TurnContextStore::get(qint64 userId, const QString& sessionId)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_contexts.find({ userId, sessionId });
    if (found == m_contexts.end())
        return {};
    m_order.splice(m_order.begin(), m_order, found->second.second);
    return found->second.first;
}

void TurnContextStore::put(qint64 userId, const QString& sessionId, const TurnContext& context)
{
    const std::lock_guard lock(m_mutex);
    const Key key { userId, sessionId };
    if (const auto found = m_contexts.find(key); found != m_contexts.end()) {
        found->second.first = context;
        m_order.splice(m_order.begin(), m_order, found->second.second);
        return;
    }
    m_order.push_front(key);
    m_contexts.emplace(key, std::make_pair(context, m_order.begin()));
    while (m_contexts.size() > m_capacity) {
        m_contexts.erase(m_order.back());
        m_order.pop_back();
    }
}

} // namespace lumen::agent

#include "TurnRateLimiter.h"

#include <algorithm>

namespace lumen::agent {

namespace {

constexpr long long kWindowMs = 60 * 1000;

} // namespace

TurnRateLimiter::TurnRateLimiter(int turnsPerMinute)
    : m_limit(std::max(0, turnsPerMinute))
{
}

void TurnRateLimiter::setLimit(int turnsPerMinute)
{
    const std::lock_guard lock(m_mutex);
    m_limit = std::max(0, turnsPerMinute);
}

int TurnRateLimiter::limit() const
{
    const std::lock_guard lock(m_mutex);
    return m_limit;
}

std::optional<int> TurnRateLimiter::admit(long long userId, long long nowMs)
{
    const std::lock_guard lock(m_mutex);
    if (m_limit == 0)
        return std::nullopt;
    std::deque<long long>& turns = m_turns[userId];
    while (!turns.empty() && turns.front() <= nowMs - kWindowMs)
        turns.pop_front();
    if (int(turns.size()) < m_limit) {
        turns.push_back(nowMs);
        return std::nullopt;
    }
    const long long waitMs = turns.front() + kWindowMs - nowMs;
    return int(std::max(1LL, (waitMs + 999) / 1000));
}

} // namespace lumen::agent

#pragma once

#include <deque>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace lumen::agent {

// A bounded number of turns per user in any sliding minute.
class TurnRateLimiter {
public:
    static constexpr int defaultTurnsPerMinute = 20;

    explicit TurnRateLimiter(int turnsPerMinute = defaultTurnsPerMinute);

    // 0 lifts the limit.
    void setLimit(int turnsPerMinute);
    int limit() const;
    // Nothing when the turn may run (it is then counted); otherwise whole seconds until one may.
    std::optional<int> admit(long long userId, long long nowMs);

private:
    mutable std::mutex m_mutex;
    int m_limit;
    std::unordered_map<long long, std::deque<long long>> m_turns;
};

} // namespace lumen::agent

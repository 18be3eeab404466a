#include "LoginThrottle.h"

#include <algorithm>

namespace lumen {

namespace {

// Enough for every real name many times over; beyond it stale names are dropped.
constexpr size_t kPruneAbove = 10000;

} // namespace

std::optional<int> LoginThrottle::retryAfter(const QString& name, qint64 now)
{
    const std::lock_guard lock(m_mutex);
    const auto it = m_entries.find(name);
    if (it == m_entries.end() || it->lockedUntil <= now)
        return std::nullopt;
    return int(it->lockedUntil - now);
}

void LoginThrottle::recordFailure(const QString& name, qint64 now)
{
    const std::lock_guard lock(m_mutex);
    if (size_t(m_entries.size()) > kPruneAbove)
        pruneLocked(now);
    Entry& entry = m_entries[name];
    if (entry.failures > 0 && now - entry.lastFailure >= m_policy.forgetAfterSecs)
        entry = Entry {};
    entry.failures += 1;
    entry.lastFailure = now;
    const int over = entry.failures - m_policy.freeFailures;
    if (over < 0)
        return;
    qint64 pause = m_policy.firstPauseSecs;
    for (int i = 0; i < over && pause < m_policy.maxPauseSecs; ++i)
        pause *= 2;
    entry.lockedUntil = now + std::min(pause, m_policy.maxPauseSecs);
}

void LoginThrottle::recordSuccess(const QString& name)
{
    const std::lock_guard lock(m_mutex);
    m_entries.remove(name);
}

void LoginThrottle::pruneLocked(qint64 now)
{
    m_entries.removeIf([&](const auto& item) {
        return item.value().lockedUntil <= now && now - item.value().lastFailure >= m_policy.forgetAfterSecs;
    });
}

} // namespace lumen

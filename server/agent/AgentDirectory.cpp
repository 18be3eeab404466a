#include "AgentDirectory.h"

namespace lumen::agent {

AgentDirectory::AgentDirectory(std::shared_ptr<Agent> fallback)
    : m_fallback(std::move(fallback))
{
}

void AgentDirectory::registerAgent(const QStringList& modelIds, std::shared_ptr<Agent> agent)
{
    const std::lock_guard lock(m_mutex);
    for (const QString& id : modelIds)
        m_byModel[id.trimmed().toLower()] = agent;
}

std::shared_ptr<Agent> AgentDirectory::agentFor(const std::optional<QString>& model) const
{
    const std::lock_guard lock(m_mutex);
    if (model) {
        if (const auto found = m_byModel.find(model->trimmed().toLower()); found != m_byModel.end())
            return found->second;
    }
    return m_fallback;
}

} // namespace lumen::agent

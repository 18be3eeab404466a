#pragma once

#include "Agent.h"

#include <QString>
#include <QStringList>

#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace lumen::agent {

// Which agent answers a request: the one registered for the model id it names, otherwise
// the default one (also for no model at all).
class AgentDirectory {
public:
    explicit AgentDirectory(std::shared_ptr<Agent> fallback);

    void registerAgent(const QStringList& modelIds, std::shared_ptr<Agent> agent);
    std::shared_ptr<Agent> agentFor(const std::optional<QString>& model) const;

private:
    mutable std::mutex m_mutex;
    std::shared_ptr<Agent> m_fallback;
    std::map<QString, std::shared_ptr<Agent>> m_byModel;
};

} // namespace lumen::agent

#pragma once

#include "services/HouseholdService.h"
#include "services/TokenService.h"

#include "chat/AgentModels.h"

#include <QDateTime>
#include <QString>

namespace lumen::agent {

class TurnChannel;

// One sentence to answer, with who said it and in which household.
struct TurnRequest {
    AuthUser user;
    Household household;
    wire::AgentChatRequest chat;
    QString sessionId; // the resume id the turn runs under, chosen by the runner
    QDateTime receivedAt;
};

// Something that answers chat turns. The built-in agent reads sentences by rule; a
// language-model agent can take its place for the models it names.
class Agent {
public:
    virtual ~Agent() = default;

    // The name the session event reports for turns this agent answered.
    virtual QString model() const = 0;
    // Answers one turn through the channel: text, one tool step per action, and the outcome
    // (cards, effects, results). It may throw: the runner reports an error event.
    virtual void run(const TurnRequest& request, TurnChannel& channel) = 0;
};

} // namespace lumen::agent

#pragma once

#include "Agent.h"
#include "AgentDirectory.h"
#include "AgentEvent.h"
#include "TurnOutput.h"
#include "TurnRateLimiter.h"

#include "Clock.h"

#include <QString>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace lumen::agent {

// A finished turn as the agent told it, whether or not the client heard all of it.
struct TurnTranscript {
    qint64 userId = 0;
    QString sessionId;
    std::optional<QString> chatSessionId;
    QString model;
    QString message;
    std::vector<AgentEvent> events;
    std::size_t deliveredCount = 0; // the events the client was sent before its stream failed
    bool delivered = false; // every event reached the client
};

// Told of every finished turn, on the thread that ran it: where a copy of a turn is kept for
// a client whose stream was cut.
class TurnObserver {
public:
    virtual ~TurnObserver() = default;
    virtual void turnFinished(const TurnTranscript& transcript) = 0;
};

// The frame around every turn: the rate limit, the resume id, the choice of agent, the
// session event first and the result and "[DONE]" last, and an error event for whatever
// went wrong inside. A client that goes away never stops the turn.
class TurnRunner {
public:
    // The resume id a user's chat session last ran under, if the session is known.
    using ResumeLookup = std::function<std::optional<QString>(qint64 userId, const QString& chatSessionId)>;

    TurnRunner(std::shared_ptr<Clock> clock, std::shared_ptr<Agent> fallback);

    AgentDirectory& directory() { return m_directory; }
    TurnRateLimiter& limiter() { return m_limiter; }
    // Observers are told of each finished turn in the order they were added.
    void addObserver(std::shared_ptr<TurnObserver> observer);
    void removeObserver(const std::shared_ptr<TurnObserver>& observer);
    // Lets a turn that names its chat session but no resume id continue that session's context.
    void setResumeLookup(ResumeLookup lookup);

    // Runs one turn to its end; never throws.
    void run(TurnRequest request, TurnOutput& output);

    // The resume id a turn runs under: the client's when it is a usable one, else a new one.
    static QString sessionIdFor(const std::optional<QString>& requested);

private:
    // The client's resume id, or else the one its chat session last ran under.
    std::optional<QString> requestedResumeId(const TurnRequest& request);

    std::shared_ptr<Clock> m_clock;
    AgentDirectory m_directory;
    TurnRateLimiter m_limiter;
    std::mutex m_hooksMutex;
    std::vector<std::shared_ptr<TurnObserver>> m_observers;
    ResumeLookup m_resumeLookup;
};

} // namespace lumen::agent

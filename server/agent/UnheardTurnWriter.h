#pragma once

#include "TurnRunner.h"

#include "Clock.h"

namespace lumen {
class ChatSessionService;
class HouseholdService;
} // namespace lumen

namespace lumen::agent {

// Keeps a turn's chat session in step with the turn. It stores the resume id the turn ran
// under on the session, and when the client's stream was cut it writes what the client would
// have logged for the events it never heard into the session's messages, so the client's next
// merge brings the answer back. A client that heard the whole turn posts its lines itself, so
// then nothing is written. Only a session the turn's user holds is touched.
class UnheardTurnWriter final : public TurnObserver {
public:
    UnheardTurnWriter(ChatSessionService& sessions, HouseholdService& households, const Clock& clock);

    void turnFinished(const TurnTranscript& transcript) override;

private:
    ChatSessionService& m_sessions;
    HouseholdService& m_households;
    const Clock& m_clock;
};

} // namespace lumen::agent

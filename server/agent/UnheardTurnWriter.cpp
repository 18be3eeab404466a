#include "UnheardTurnWriter.h"

#include "ClientLogLines.h"

#include "services/ChatSessionService.h"
#include "services/HouseholdService.h"
#include "services/LocalClock.h"

namespace lumen::agent {

UnheardTurnWriter::UnheardTurnWriter(ChatSessionService& sessions, HouseholdService& households, const Clock& clock)
    : m_sessions(sessions)
    , m_households(households)
    , m_clock(clock)
{
}

void UnheardTurnWriter::turnFinished(const TurnTranscript& transcript)
{
    if (!transcript.chatSessionId || transcript.chatSessionId->isEmpty())
        return;
    const QString& session = *transcript.chatSessionId;
    // The answer first: it is what the user would miss.
    if (!transcript.delivered) {
        // Clock times in the household's zone: the client's own zone is not known here.
        const LocalClock local(m_clock, m_households.householdOf(transcript.userId).timezone);
        m_sessions.appendLines(transcript.userId, session,
            ClientLogLines::unheard(transcript.events, transcript.deliveredCount, local.zone()));
    }
    if (!transcript.sessionId.isEmpty())
        m_sessions.noteResumeId(transcript.userId, session, transcript.sessionId);
}

} // namespace lumen::agent

#pragma once

#include "AgentEvent.h"
#include "TurnOutput.h"

#include <QString>

#include <vector>

namespace lumen::agent {

// What an agent speaks through during one turn. Every event is kept in the turn's
// transcript and written to the stream while the client is there; once a write fails the
// client counts as gone and the rest is only kept, so the turn's work is never cut short.
// How many events went out before that is kept too: the rest is what the client missed.
class TurnChannel {
public:
    explicit TurnChannel(TurnOutput& output);

    void send(const AgentEvent& event);
    // A reply in a few text_delta pieces, split after its clauses.
    void say(const QString& text);
    // Opens a step of the tool trail; returns its tool_use_id.
    QString startTool(const QString& tool, const QJsonObject& input);
    void finishTool(const QString& toolUseId, bool ok, const QString& preview);

    int iterations() const { return m_iterations; }
    bool clientGone() const { return m_clientGone; }
    const std::vector<AgentEvent>& events() const { return m_events; }
    // The events written before the first failed write; all of them while the client is there.
    std::size_t deliveredCount() const { return m_delivered; }

    // The pieces `say` sends, at most four, each ending on a clause.
    static QStringList pieces(const QString& text);

private:
    TurnOutput& m_output;
    std::vector<AgentEvent> m_events;
    int m_iterations = 0;
    std::size_t m_delivered = 0;
    bool m_clientGone = false;
};

} // namespace lumen::agent

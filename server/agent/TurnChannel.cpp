#include "TurnChannel.h"

namespace lumen::agent {

namespace {

constexpr int kMaxPieces = 4;

bool endsClause(QChar c)
{
    return c == u'，' || c == u'。' || c == u'；' || c == u'！' || c == u'？' || c == u'：' || c == u'\n';
}

} // namespace

TurnChannel::TurnChannel(TurnOutput& output)
    : m_output(output)
{
}

void TurnChannel::send(const AgentEvent& event)
{
    m_events.push_back(event);
    if (m_clientGone)
        return;
    if (m_output.write(event.frame()))
        m_delivered = m_events.size();
    else
        m_clientGone = true;
}

QStringList TurnChannel::pieces(const QString& text)
{
    QStringList pieces;
    QString current;
    for (const QChar c : text) {
        current.append(c);
        if (endsClause(c)) {
            pieces.append(current);
            current.clear();
        }
    }
    if (!current.isEmpty())
        pieces.append(current);
    // Few and even: the last pieces are joined until there are at most four.
    while (pieces.size() > kMaxPieces) {
        pieces[pieces.size() - 2] += pieces.last();
        pieces.removeLast();
    }
    return pieces;
}

void TurnChannel::say(const QString& text)
{
    for (const QString& piece : pieces(text))
        send(AgentEvent::textDelta(piece));
}

QString TurnChannel::startTool(const QString& tool, const QJsonObject& input)
{
    ++m_iterations;
    const QString id = QStringLiteral("tool_%1").arg(m_iterations);
    send(AgentEvent::toolCallStart(id, tool, input));
    return id;
}

void TurnChannel::finishTool(const QString& toolUseId, bool ok, const QString& preview)
{
    send(AgentEvent::toolResult(toolUseId, ok, preview));
}

} // namespace lumen::agent

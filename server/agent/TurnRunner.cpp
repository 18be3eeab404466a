#include "TurnRunner.h"

#include "TurnChannel.h"

#include "services/ApiError.h"

#include <QDebug>
#include <QRegularExpression>

#include <sodium.h>

namespace lumen::agent {

namespace {

constexpr std::size_t kSessionIdBytes = 16;

} // namespace

TurnRunner::TurnRunner(std::shared_ptr<Clock> clock, std::shared_ptr<Agent> fallback)
    : m_clock(std::move(clock))
    , m_directory(std::move(fallback))
{
}

void TurnRunner::setObserver(std::shared_ptr<TurnObserver> observer)
{
    const std::lock_guard lock(m_observerMutex);
    m_observer = std::move(observer);
}

QString TurnRunner::sessionIdFor(const std::optional<QString>& requested)
{
    static const QRegularExpression usable(QStringLiteral("^[A-Za-z0-9_.:-]{1,128}$"));
    if (requested && usable.match(*requested).hasMatch())
        return *requested;
    unsigned char bytes[kSessionIdBytes];
    randombytes_buf(bytes, sizeof bytes);
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(bytes), sizeof bytes).toHex());
}

void TurnRunner::run(TurnRequest request, TurnOutput& output)
{
    TurnChannel channel(output);
    TurnTranscript transcript;
    transcript.userId = request.user.userId;
    transcript.chatSessionId = request.chat.chat_session_id;
    transcript.message = request.chat.message;
    try {
        request.sessionId = sessionIdFor(request.chat.session_id);
        transcript.sessionId = request.sessionId;
        if (const auto wait = m_limiter.admit(request.user.userId, m_clock->now().toMSecsSinceEpoch())) {
            channel.send(AgentEvent::rateLimit(*wait));
        } else {
            const std::shared_ptr<Agent> agent = m_directory.agentFor(request.chat.model);
            transcript.model = agent->model();
            channel.send(AgentEvent::session(request.sessionId, transcript.model));
            bool failed = false;
            try {
                agent->run(request, channel);
            } catch (const ApiError& error) {
                failed = true;
                channel.send(AgentEvent::error(QStringLiteral("http_%1").arg(error.status()), error.detail()));
            } catch (const std::exception& error) {
                failed = true;
                // What failed, never what was said: the sentence is the user's.
                qWarning().noquote() << "[lumen-api] agent turn failed:" << error.what();
                channel.send(
                    AgentEvent::error(QStringLiteral("internal"), QStringLiteral("服务器内部错误，请稍后再试")));
            }
            if (!failed)
                channel.send(AgentEvent::result(QStringLiteral("end_turn"), channel.iterations(), 0.0));
        }
        output.write(AgentEvent::doneFrame());
    } catch (...) {
        qWarning().noquote() << "[lumen-api] agent turn ended by an unknown error";
    }
    transcript.events = channel.events();
    transcript.delivered = !channel.clientGone();
    std::shared_ptr<TurnObserver> observer;
    {
        const std::lock_guard lock(m_observerMutex);
        observer = m_observer;
    }
    if (!observer)
        return;
    try {
        observer->turnFinished(transcript);
    } catch (...) {
        qWarning().noquote() << "[lumen-api] a turn observer failed";
    }
}

} // namespace lumen::agent

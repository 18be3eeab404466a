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

void TurnRunner::addObserver(std::shared_ptr<TurnObserver> observer)
{
    const std::lock_guard lock(m_hooksMutex);
    if (observer)
        m_observers.push_back(std::move(observer));
}

void TurnRunner::removeObserver(const std::shared_ptr<TurnObserver>& observer)
{
    const std::lock_guard lock(m_hooksMutex);
    std::erase(m_observers, observer);
}

void TurnRunner::setResumeLookup(ResumeLookup lookup)
{
    const std::lock_guard lock(m_hooksMutex);
    m_resumeLookup = std::move(lookup);
}

std::optional<QString> TurnRunner::requestedResumeId(const TurnRequest& request)
{
    const auto& asked = request.chat.session_id;
    if ((asked && !asked->trimmed().isEmpty()) || !request.chat.chat_session_id)
        return asked;
    ResumeLookup lookup;
    {
        const std::lock_guard lock(m_hooksMutex);
        lookup = m_resumeLookup;
    }
    if (!lookup)
        return std::nullopt;
    try {
        return lookup(request.user.userId, *request.chat.chat_session_id);
    } catch (const std::exception& error) {
        // A turn without its old context beats no turn at all.
        qWarning().noquote() << "[lumen-api] resume id lookup failed:" << error.what();
        return std::nullopt;
    }
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
        request.sessionId = sessionIdFor(requestedResumeId(request));
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
    transcript.deliveredCount = channel.deliveredCount();
    transcript.delivered = transcript.deliveredCount == transcript.events.size();
    std::vector<std::shared_ptr<TurnObserver>> observers;
    {
        const std::lock_guard lock(m_hooksMutex);
        observers = m_observers;
    }
    for (const auto& observer : observers) {
        try {
            observer->turnFinished(transcript);
        } catch (const std::exception& error) {
            qWarning().noquote() << "[lumen-api] a turn observer failed:" << error.what();
        } catch (...) {
            qWarning().noquote() << "[lumen-api] a turn observer failed";
        }
    }
}

} // namespace lumen::agent

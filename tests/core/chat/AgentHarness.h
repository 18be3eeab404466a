#pragma once

#include "AwaitTask.h"
#include "ClientHarness.h"

#include "chat/AgentClient.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>

#include <memory>
#include <vector>

Q_DECLARE_METATYPE(std::vector<AgentEvent>)

// A device that talks to the agent: the client harness plus an AgentClient on the same
// credentials, its retry pause recorded instead of slept.
class AgentHarness {
public:
    AgentHarness(const QUrl& baseUrl, ClientHarness::Options options, AgentTimeouts timeouts = {})
        : m_client(baseUrl, options)
        , m_agent(baseUrl, &m_client.keychain(), recordingSleep(), timeouts)
    {
    }
    ~AgentHarness() { m_agent.networkAccessManager()->clearConnectionCache(); }

    ClientHarness& client() { return m_client; }
    AgentClient& agent() { return m_agent; }
    const std::vector<std::chrono::milliseconds>& pauses() const { return *m_pauses; }

private:
    AgentClient::Sleep recordingSleep()
    {
        return [pauses = m_pauses](std::chrono::milliseconds delay) -> QCoro::Task<void> {
            pauses->push_back(delay);
            co_return;
        };
    }

    std::shared_ptr<std::vector<std::chrono::milliseconds>> m_pauses
        = std::make_shared<std::vector<std::chrono::milliseconds>>();
    ClientHarness m_client;
    AgentClient m_agent;
};

inline QCoro::Task<std::vector<AgentEvent>> drainStream(AgentStream* stream)
{
    std::vector<AgentEvent> events;
    while (auto event = co_await stream->next())
        events.push_back(std::move(*event));
    co_return events;
}

// Every event of a stream, in order, once it has ended.
inline std::vector<AgentEvent> collect(AgentStream& stream)
{
    return awaitTask(drainStream(&stream));
}

// Events as one line of JSON each, so a failed comparison shows what differs.
inline QStringList describe(const std::vector<AgentEvent>& events)
{
    QStringList out;
    for (const auto& event : events)
        out << QString::fromUtf8(
            QJsonDocument(QJsonObject::fromVariantMap(event.toVariantMap())).toJson(QJsonDocument::Compact));
    return out;
}

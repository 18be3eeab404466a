#pragma once

#include "AgentHarness.h"
#include "TestServer.h"

#include "agent/Agent.h"
#include "agent/TurnChannel.h"
#include "agent/TurnRunner.h"
#include "chat/ChatSyncEncoding.h"
#include "chat/SessionsStore.h"
#include "chat/VelmarOSChatStore.h"
#include "time/TimeCache.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

inline const QString chatPassword = QStringLiteral("demo-pass-1");

// One machine of the user: its own folder, credentials, user defaults and time cache, an API
// client and an agent client on the one server. Two of them are two machines.
class ChatDevice {
public:
    // `bearer` stands in for the user's fresh token when given (an expired one, say).
    ChatDevice(TestServer& server, const QString& username, const QString& bearer = {})
        : m_agent(server.baseUrl(),
            ClientHarness::Options::bearerInEnvironment(bearer.isEmpty() ? server.issueToken(username) : bearer))
        , m_settings(m_defaults.filePath(QStringLiteral("defaults.ini")), QSettings::IniFormat)
        , m_timeCache(&client().api(), client().sharedClock())
    {
    }

    ClientHarness& client() { return m_agent.client(); }
    LumenAPIClient& api() { return client().api(); }
    AgentClient& agent() { return m_agent.agent(); }
    QSettings& settings() { return m_settings; }
    TimeCache& timeCache() { return m_timeCache; }
    ManualClock& clock() { return client().clock(); }
    ChatStoreContext context() { return { client().storeContext(), &agent(), &m_settings, &m_timeCache }; }

private:
    AgentHarness m_agent;
    QTemporaryDir m_defaults;
    QSettings m_settings;
    TimeCache m_timeCache;
};

// Opens when the test says so; the agent's thread waits at it (never for ever, so a failed
// test cannot hang the server's shutdown).
class Gate {
public:
    void open()
    {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    bool wait(std::chrono::milliseconds limit = std::chrono::seconds(20))
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, limit, [this] { return m_open; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
};

// An agent of the real server that answers with what the test writes, for what the built-in
// agent never says (subagents, a slow answer, a turn that keeps talking after the client
// left). It answers the models the client picks for "opus".
class ScriptedAgent final : public lumen::agent::Agent {
public:
    using Script = std::function<void(const lumen::agent::TurnRequest&, lumen::agent::TurnChannel&)>;

    explicit ScriptedAgent(Script script)
        : m_script(std::move(script))
    {
    }
    QString model() const override { return QStringLiteral("scripted"); }
    void run(const lumen::agent::TurnRequest& request, lumen::agent::TurnChannel& channel) override
    {
        m_script(request, channel);
    }

    static std::shared_ptr<ScriptedAgent> install(TestServer& server, Script script)
    {
        auto agent = std::make_shared<ScriptedAgent>(std::move(script));
        server.server().backend().turns().directory().registerAgent({ QStringLiteral("claude-opus-4-8") }, agent);
        return agent;
    }

private:
    Script m_script;
};

inline const std::optional<QString> opus = QStringLiteral("opus");

template<class T> std::vector<const T*> eventsOf(const VelmarOSChatStore& store)
{
    std::vector<const T*> found;
    for (const ChatEvent& event : store.events()) {
        if (const auto* value = event.as<T>())
            found.push_back(value);
    }
    return found;
}

// The events as short lines ("user: 今天午餐 50", "card: 7 pending" ...), so a failed
// comparison shows the whole conversation.
inline QStringList transcript(const VelmarOSChatStore& store)
{
    QStringList lines;
    for (const ChatEvent& event : store.events()) {
        if (const auto* e = event.as<ChatEvent::UserMessage>())
            lines << QStringLiteral("user: ") + e->text;
        else if (const auto* e = event.as<ChatEvent::AssistantText>())
            lines << QStringLiteral("agent: ") + e->text;
        else if (const auto* e = event.as<ChatEvent::ErrorMessage>())
            lines << QStringLiteral("error: ") + e->message;
        else if (const auto* e = event.as<ChatEvent::PendingEmitted>())
            lines << QStringLiteral("card: %1 %2").arg(e->item.domain, e->item.status);
        else if (const auto* e = event.as<ChatEvent::QueryResult>())
            lines << QStringLiteral("query: ") + e->block.title;
        else if (const auto* e = event.as<ChatEvent::ProposedDelete>())
            lines << QStringLiteral("delete: ") + ChatEvent::statusName(e->status);
    }
    return lines;
}

// Waits until a store has no turn running, no queue and nothing still on its way out.
inline bool settle(const VelmarOSChatStore& store, int timeoutMs = 15000)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMs) {
        if (store.inFlight() == 0 && !store.hasDrainer() && store.backgroundWrites() == 0)
            return true;
        QTest::qWait(5);
    }
    return false;
}

inline std::vector<wire::Transaction> ledgerOf(TestServer& server, const QString& username)
{
    auto& backend = server.server().backend();
    return backend.financeLedger().list(backend.accounts().findUser(username)->id, std::nullopt, std::nullopt);
}

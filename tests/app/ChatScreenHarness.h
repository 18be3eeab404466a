#pragma once

#include "ClientHarness.h"
#include "ScreenHarness.h"
#include "TestServer.h"

#include "chat/AgentClient.h"
#include "chat/ChatSyncLoop.h"

#include <QNetworkAccessManager>
#include <QSettings>
#include <QTemporaryDir>

// A signed-in device with its own agent connection and user defaults, showing the real window.
class ChatDevice {
public:
    explicit ChatDevice(TestServer& server)
        : client(server.baseUrl())
        , agent(server.baseUrl(), &client.keychain())
        , settings(defaults.filePath("defaults.ini"), QSettings::IniFormat)
    {
    }
    ~ChatDevice()
    {
        if (app)
            app->chatSync()->stop();
        screen.reset();
        app.reset();
        agent.networkAccessManager()->clearConnectionCache();
    }

    AppStateDeps deps()
    {
        AppStateDeps out = client.deps();
        out.settings = &settings;
        out.agent = &agent;
        return out;
    }

    // Signs in, then loads the window over the signed-in state.
    void show(const QString& username, const QString& password)
    {
        app = std::make_unique<AppState>(deps());
        awaitTask(app->login(username, password));
        screen = std::make_unique<ScreenHarness>(app.get());
    }

    QTemporaryDir defaults;
    ClientHarness client;
    AgentClient agent;
    QSettings settings;
    std::unique_ptr<AppState> app;
    std::unique_ptr<ScreenHarness> screen;
};

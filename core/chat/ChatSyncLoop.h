#pragma once

#include "session/LumenAPIClient.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <coroutine>
#include <functional>

class SessionsStore;
class VelmarOSChatStore;

// The chat's rhythm once it boots: wire the chat stores, take the server's session list and
// the cards waiting, then every 8 seconds merge the open conversation, the cards and the
// session list, so another machine's words show up here. The desktop shell starts it. The
// pause is a timer of its own that stop() cuts short, or an injected `Sleep` (tests tick it
// by hand).
class ChatSyncLoop : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by AppState")
    Q_PROPERTY(bool running READ running NOTIFY runningChanged)
    Q_PROPERTY(int ticks READ ticks NOTIFY ticked)

public:
    using Sleep = LumenAPIClient::Sleep;
    static constexpr std::chrono::milliseconds interval { 8000 };

    ChatSyncLoop(SessionsStore* sessions, Sleep sleep = {}, QObject* parent = nullptr);
    ~ChatSyncLoop() override;

    // Set before start: what every chat store gets wired with (time effects, sign-out ...).
    std::function<void(VelmarOSChatStore*)> storeConfigurator;

    bool running() const { return m_running; }
    int ticks() const { return m_ticks; }

    // Boots and loops until stop(); a second start while running does nothing.
    Q_INVOKABLE void start();
    Q_INVOKABLE void stop();

    // The two halves, for whoever drives the rhythm by hand. Never throw.
    QCoro::Task<void> boot();
    QCoro::Task<void> tick();

signals:
    void runningChanged();
    void booted();
    void ticked();

private:
    // The built-in pause: the waiting coroutine is resumed by the timer, by stop() or by
    // the destructor, never left suspended.
    struct PauseAwaiter {
        ChatSyncLoop* loop;
        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> handle);
        void await_resume() const noexcept { }
    };
    void endPause();

    static QCoro::Task<void> run(QPointer<ChatSyncLoop> self, quint64 generation);
    static QCoro::Task<void> pause(QPointer<ChatSyncLoop> self);
    bool isCurrent(quint64 generation) const { return m_running && m_generation == generation; }

    QPointer<SessionsStore> m_sessions;
    Sleep m_sleep;
    QTimer m_pause;
    std::coroutine_handle<> m_pauseWaiter;
    bool m_running = false;
    quint64 m_generation = 0;
    int m_ticks = 0;
};

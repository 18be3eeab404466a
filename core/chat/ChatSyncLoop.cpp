#include "ChatSyncLoop.h"

#include "SessionsStore.h"
#include "VelmarOSChatStore.h"

ChatSyncLoop::ChatSyncLoop(SessionsStore* sessions, Sleep sleep, QObject* parent)
    : QObject(parent)
    , m_sessions(sessions)
    , m_sleep(std::move(sleep))
{
    m_pause.setSingleShot(true);
    connect(&m_pause, &QTimer::timeout, this, &ChatSyncLoop::endPause);
}

ChatSyncLoop::~ChatSyncLoop()
{
    // A loop waiting in its pause wakes, finds itself stopped and ends: no frame is left.
    m_running = false;
    ++m_generation;
    m_pause.stop();
    endPause();
}

void ChatSyncLoop::start()
{
    if (m_running)
        return;
    m_running = true;
    emit runningChanged();
    run(this, ++m_generation);
}

void ChatSyncLoop::stop()
{
    if (!m_running)
        return;
    m_running = false;
    ++m_generation;
    m_pause.stop();
    emit runningChanged();
    endPause();
}

QCoro::Task<void> ChatSyncLoop::boot()
{
    QPointer<ChatSyncLoop> self(this);
    QPointer<SessionsStore> sessions = m_sessions;
    if (!sessions)
        co_return;
    sessions->storeConfigurator = storeConfigurator;
    if (storeConfigurator)
        storeConfigurator(sessions->activeStore());
    try {
        co_await sessions->refreshFromServer();
        if (!self || !sessions)
            co_return;
        co_await sessions->activeStore()->refreshAggregated();
    } catch (...) {
    }
    if (self)
        emit booted();
}

QCoro::Task<void> ChatSyncLoop::tick()
{
    QPointer<ChatSyncLoop> self(this);
    QPointer<SessionsStore> sessions = m_sessions;
    if (!sessions)
        co_return;
    try {
        QPointer<VelmarOSChatStore> active = sessions->activeStore();
        co_await active->syncMessagesIfChanged();
        if (!self || !sessions)
            co_return;
        if (active)
            co_await active->refreshAggregated();
        if (!self || !sessions)
            co_return;
        co_await sessions->refreshFromServer();
    } catch (...) {
    }
    if (!self)
        co_return;
    ++m_ticks;
    emit ticked();
}

QCoro::Task<void> ChatSyncLoop::run(QPointer<ChatSyncLoop> self, quint64 generation)
{
    if (!self)
        co_return;
    co_await self->boot();
    while (self && self->isCurrent(generation)) {
        co_await pause(self);
        if (!self || !self->isCurrent(generation))
            co_return;
        co_await self->tick();
    }
}

QCoro::Task<void> ChatSyncLoop::pause(QPointer<ChatSyncLoop> self)
{
    if (self->m_sleep) {
        const Sleep sleep = self->m_sleep;
        try {
            co_await sleep(interval);
        } catch (...) {
        }
        co_return;
    }
    co_await PauseAwaiter { self.data() };
}

void ChatSyncLoop::PauseAwaiter::await_suspend(std::coroutine_handle<> handle)
{
    loop->m_pauseWaiter = handle;
    loop->m_pause.start(interval);
}

void ChatSyncLoop::endPause()
{
    if (auto waiter = std::exchange(m_pauseWaiter, {}))
        waiter.resume();
}

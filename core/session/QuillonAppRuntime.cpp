#include "QuillonAppRuntime.h"

#include "KeychainStore.h"
#include "LumenAPIClient.h"

#include <QPointer>
#include <qcoro/qcorosignal.h>

QuillonAppRuntime::QuillonAppRuntime(AppStateDeps deps, QObject* parent)
    : QObject(parent)
    , m_appState(new AppState(std::move(deps), this))
{
}

QuillonAppRuntime& QuillonAppRuntime::shared()
{
    static auto* runtime = new QuillonAppRuntime(AppStateDeps {
        &LumenAPIClient::shared(), &KeychainStore::shared(), ClientPaths::standard(), SystemClock::shared() });
    return *runtime;
}

QCoro::Task<void> QuillonAppRuntime::bootstrapOnce()
{
    if (m_finished)
        co_return;
    if (m_started) {
        co_await qCoro(this, &QuillonAppRuntime::bootstrapFinished);
        co_return;
    }
    m_started = true;
    QPointer<QuillonAppRuntime> self(this);
    if (detachedStartupJob)
        detachedStartupJob();
    co_await m_appState->bootstrap();
    if (!self)
        co_return;
    m_finished = true;
    emit bootstrapFinished();
}

#pragma once

#include "AppState.h"

#include <QObject>

#include <functional>

// Process-wide owner of AppState and of the one start-up task. A second window or a
// re-created view joins the running start-up instead of starting it again.
class QuillonAppRuntime : public QObject {
    Q_OBJECT

public:
    explicit QuillonAppRuntime(AppStateDeps deps, QObject* parent = nullptr);

    static QuillonAppRuntime& shared();

    AppState* appState() const { return m_appState; }

    QCoro::Task<void> bootstrapOnce();
    bool isBootstrapStarted() const { return m_started; }
    bool isBootstrapFinished() const { return m_finished; }

    // A job started beside the first bootstrap without being waited for (the self-update check).
    std::function<void()> detachedStartupJob;

signals:
    void bootstrapFinished();

private:
    AppState* m_appState;
    bool m_started = false;
    bool m_finished = false;
};

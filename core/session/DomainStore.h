#pragma once

#include "LoadError.h"
#include "LoadState.h"
#include "LumenAPIClient.h"
#include "StoreContext.h"
#include "WidgetCache.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

#include <functional>

// The frame every organ's store shares: a LoadState, a snapshot that fills the screen before
// the network answers, a refresh that never throws, and one road for errors
// (handle → state → onAuthFailure).
class DomainStore : public QObject {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(LoadState state READ state NOTIFY stateChanged)

public:
    // Set by AppState; called when a call of this store answers 401.
    std::function<void()> onAuthFailure;

    const LoadState& state() const { return m_state; }
    const StoreContext& context() const { return m_context; }

signals:
    void stateChanged();

protected:
    DomainStore(StoreContext context, QObject* parent);

    LumenAPIClient& api() const { return *m_context.api; }
    QDateTime now() const { return m_context.clock->now(); }

    void setState(const LoadState& state);
    void setLoading(bool loading);
    // A successful load: the banner goes, the time is noted.
    void markRefreshed();
    // The only road of an error into `state`; a 401 also ends the session.
    void handle(std::exception_ptr error);
    void clearError();

    template<class T> std::optional<T> loadSnapshot(const QString& key) const
    {
        return WidgetCache::loadSync<T>(key, m_context.paths.widgetCacheDir());
    }

    template<class T> void saveSnapshot(const QString& key, const T& value) const
    {
        WidgetCache::saveSync(key, value, m_context.paths.widgetCacheDir());
    }

    // The refresh frame for a store with one read: loading on, the read under three
    // attempts, then `apply` and the success marks, or `handle`; loading off. Holds the
    // store weakly, so a store that goes away mid-read is left alone.
    template<class T, class Apply> QCoro::Task<void> runRefresh(std::function<QCoro::Task<T>()> fetch, Apply apply)
    {
        QPointer<DomainStore> self(this);
        setLoading(true);
        std::exception_ptr failure;
        std::optional<T> value;
        try {
            value = co_await api().withRetry<T>(3, fetch);
        } catch (...) {
            failure = std::current_exception();
        }
        if (!self)
            co_return;
        if (failure) {
            handle(failure);
        } else {
            apply(std::move(*value));
            markRefreshed();
        }
        setLoading(false);
    }

private:
    StoreContext m_context;
    LoadState m_state;
};

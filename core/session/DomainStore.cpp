#include "DomainStore.h"

DomainStore::DomainStore(StoreContext context, QObject* parent)
    : QObject(parent)
    , m_context(std::move(context))
{
}

void DomainStore::setState(const LoadState& state)
{
    if (m_state == state)
        return;
    m_state = state;
    emit stateChanged();
}

void DomainStore::setLoading(bool loading)
{
    LoadState next = m_state;
    next.isLoading = loading;
    setState(next);
}

void DomainStore::markRefreshed()
{
    LoadState next = m_state;
    next.errorMessage.reset();
    next.lastRefreshedAt = now();
    setState(next);
}

void DomainStore::clearError()
{
    LoadState next = m_state;
    next.errorMessage.reset();
    setState(next);
}

void DomainStore::handle(std::exception_ptr error)
{
    const LoadError formatted = formatLoadError(error);
    LoadState next = m_state;
    next.errorMessage = formatted.message;
    setState(next);
    if (formatted.isAuthFailure && onAuthFailure)
        onAuthFailure();
}

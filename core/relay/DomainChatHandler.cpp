#include "DomainChatHandler.h"

#include "MintbridgeClient.h"

#include "session/LoadError.h"

DomainChatHandler::DomainChatHandler(MintbridgeClient* relay, QObject* parent)
    : QObject(parent)
    , m_relay(relay)
{
}

MintbridgeClient& DomainChatHandler::relay() const
{
    return m_relay ? *m_relay : MintbridgeClient::shared();
}

QString DomainChatHandler::messageFor(std::exception_ptr error)
{
    try {
        std::rethrow_exception(error);
    } catch (const DomainChatError& chatError) {
        return chatError.description();
    } catch (const MintbridgeError& relayError) {
        return relayError.userMessage();
    } catch (const RelayBearerStore::StoreError& storeError) {
        return storeError.description();
    } catch (...) {
        return formatLoadError(std::current_exception()).message;
    }
}

QCoro::Task<bool> DomainChatHandler::submitText(QString text)
{
    QPointer<DomainChatHandler> self(this);
    if (m_isSubmitting)
        co_return false;
    setSubmitting(true);
    setLastError({});
    std::exception_ptr failure;
    try {
        co_await handle(text);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return false;
    setSubmitting(false);
    if (failure) {
        const QString message = messageFor(failure);
        setLastError(message);
        emit failed(message);
        co_return false;
    }
    emit submitted();
    co_return true;
}

void DomainChatHandler::submit(const QString& text)
{
    submitText(text);
}

QCoro::Task<bool> DomainChatHandler::checkRelay()
{
    QPointer<DomainChatHandler> self(this);
    const bool healthy = co_await relay().health();
    if (self)
        setRelayHealthy(healthy);
    co_return healthy;
}

void DomainChatHandler::refreshRelayHealth()
{
    checkRelay();
}

void DomainChatHandler::setSubmitting(bool value)
{
    if (m_isSubmitting == value)
        return;
    const bool wasReady = isReady();
    m_isSubmitting = value;
    emit isSubmittingChanged();
    if (wasReady != isReady())
        emit isReadyChanged();
}

void DomainChatHandler::setRelayHealthy(bool value)
{
    if (m_relayHealthy == value)
        return;
    const bool wasReady = isReady();
    m_relayHealthy = value;
    emit relayHealthyChanged();
    if (wasReady != isReady())
        emit isReadyChanged();
}

void DomainChatHandler::setLastError(QString value)
{
    if (m_lastError == value)
        return;
    m_lastError = std::move(value);
    emit lastErrorChanged();
}

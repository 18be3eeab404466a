#include "TimeChatHandler.h"

#include "time/TimeStore.h"

TimeChatHandler::TimeChatHandler(TimeStore* store, MintbridgeClient* relay, QObject* parent)
    : DomainChatHandler(relay, parent)
    , m_store(store)
{
}

void TimeChatHandler::setStore(TimeStore* store)
{
    if (m_store == store)
        return;
    const bool wasReady = isReady();
    m_store = store;
    emit storeChanged();
    if (wasReady != isReady())
        emit isReadyChanged();
}

QCoro::Task<void> TimeChatHandler::handle(QString text)
{
    QPointer<TimeStore> store = m_store;
    if (!store)
        throw DomainChatError::actionFailed(QStringLiteral("时间页还没准备好"));
    const QString model = QStringLiteral("haiku");
    const bool changed = co_await store->submitTimeIntent(text, model);
    if (!changed)
        throw DomainChatError::actionFailed(QStringLiteral("mintbridge 没解析出动作"));
}

#pragma once

#include "DomainChatHandler.h"

#include <QPointer>

class TimeStore;

// The time page's input bar: a sentence becomes a start, a stop or a block in the ledger.
class TimeChatHandler : public DomainChatHandler {
    Q_OBJECT
    QML_ELEMENT
    Q_MOC_INCLUDE("time/TimeStore.h")
    Q_PROPERTY(TimeStore* store READ store WRITE setStore NOTIFY storeChanged)

public:
    explicit TimeChatHandler(QObject* parent = nullptr)
        : TimeChatHandler(nullptr, nullptr, parent)
    {
    }
    // `relay` null: the process-wide client, for the health check.
    TimeChatHandler(TimeStore* store, MintbridgeClient* relay, QObject* parent = nullptr);

    TimeStore* store() const { return m_store; }
    void setStore(TimeStore* store);

    QString chatPlaceholder() const override
    {
        return QStringLiteral("记时间 — 例：在 coding / 刚才睡了 1 小时 / 上午 9 点到 11 点 coding");
    }
    bool isReady() const override { return m_store && DomainChatHandler::isReady(); }
    // Through TimeStore::submitTimeIntent with the quick model; its reasons stay on the store.
    QCoro::Task<void> handle(QString text) override;

signals:
    void storeChanged();

private:
    QPointer<TimeStore> m_store;
};

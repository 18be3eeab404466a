#pragma once

#include "DomainChatHandler.h"

// The servers page's input bar: questions about the servers are not answered yet.
class ServersChatHandler : public DomainChatHandler {
    Q_OBJECT
    QML_ELEMENT

public:
    explicit ServersChatHandler(QObject* parent = nullptr)
        : ServersChatHandler(nullptr, parent)
    {
    }
    explicit ServersChatHandler(MintbridgeClient* relay, QObject* parent = nullptr)
        : DomainChatHandler(relay, parent)
    {
    }

    QString chatPlaceholder() const override { return QStringLiteral("问问服务器 — 例：Rook1 还好吗（开发中）"); }
    bool isReady() const override { return false; }
    QCoro::Task<void> handle(QString text) override;
};

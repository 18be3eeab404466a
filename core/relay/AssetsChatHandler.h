#pragma once

#include "DomainChatHandler.h"

// The assets page's input bar: questions about the household's assets are not answered yet.
class AssetsChatHandler : public DomainChatHandler {
    Q_OBJECT
    QML_ELEMENT

public:
    explicit AssetsChatHandler(QObject* parent = nullptr)
        : AssetsChatHandler(nullptr, parent)
    {
    }
    explicit AssetsChatHandler(MintbridgeClient* relay, QObject* parent = nullptr)
        : DomainChatHandler(relay, parent)
    {
    }

    QString chatPlaceholder() const override { return QStringLiteral("问问资产 — 例：我有几张卡（开发中）"); }
    bool isReady() const override { return false; }
    QCoro::Task<void> handle(QString text) override;
};

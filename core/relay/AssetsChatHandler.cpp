#include "AssetsChatHandler.h"

QCoro::Task<void> AssetsChatHandler::handle(QString)
{
    throw DomainChatError::notImplemented(QStringLiteral("资产"));
    co_return;
}

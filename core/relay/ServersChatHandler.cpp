#include "ServersChatHandler.h"

QCoro::Task<void> ServersChatHandler::handle(QString)
{
    throw DomainChatError::notImplemented(QStringLiteral("服务器"));
    co_return;
}

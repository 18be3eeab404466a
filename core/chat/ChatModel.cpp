#include "ChatModel.h"

std::optional<ChatModel> ChatModel::fromId(const QString& id)
{
    for (const ChatModel& model : all()) {
        if (model.id() == id)
            return model;
    }
    return std::nullopt;
}

QString ChatModel::id() const
{
    switch (tier) {
    case Tier::haiku:
        return QStringLiteral("haiku");
    case Tier::sonnet:
        return QStringLiteral("sonnet");
    case Tier::opus:
        break;
    }
    return QStringLiteral("opus");
}

QString ChatModel::displayName() const
{
    switch (tier) {
    case Tier::haiku:
        return QStringLiteral("Haiku");
    case Tier::sonnet:
        return QStringLiteral("Sonnet");
    case Tier::opus:
        break;
    }
    return QStringLiteral("Opus");
}

QString ChatModel::roleHint() const
{
    switch (tier) {
    case Tier::haiku:
        return QStringLiteral("极速 · 单事记一笔");
    case Tier::sonnet:
        return QStringLiteral("标准 · 多事拆分 · 跨日链");
    case Tier::opus:
        break;
    }
    return QStringLiteral("深聊 · 最强");
}

#pragma once

#include "chat/ChatModel.h"

#include <QDateTime>
#include <QUuid>
#include <QVariantMap>

#include <optional>

// One line of the relay conversation.
struct ChatMessage {
    enum class Role { user, assistant };

    QUuid id = QUuid::createUuid();
    Role role = Role::user;
    QString text;
    std::optional<ChatModel> model;
    QDateTime createdAt;
    bool isError = false;
    std::optional<QString> obsidianPath; // a note the answer was filed under, when there is one

    bool operator==(const ChatMessage&) const = default;

    // For the screens: id, role ("user"/"assistant"), text, model (its id or ""), createdAt,
    // isError, obsidianPath.
    QVariantMap toVariant() const
    {
        return { { QStringLiteral("id"), id.toString(QUuid::WithoutBraces) },
            { QStringLiteral("role"), role == Role::user ? QStringLiteral("user") : QStringLiteral("assistant") },
            { QStringLiteral("text"), text }, { QStringLiteral("model"), model ? model->id() : QString() },
            { QStringLiteral("createdAt"), createdAt }, { QStringLiteral("isError"), isError },
            { QStringLiteral("obsidianPath"), obsidianPath.value_or(QString()) } };
    }
};

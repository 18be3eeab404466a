#pragma once

#include "ChatModel.h"

#include "json/JsonCoding.h"

#include <QDateTime>
#include <QVariantMap>

#include <optional>
#include <vector>

// One chat session of the user's list, as this machine keeps it.
struct ChatSession {
    QString id;
    QString title; // empty until the first sentence names it
    ChatModel model = ChatModel::sonnet();
    QDateTime createdAt;
    QDateTime lastActiveAt;
    bool isPinned = false;
    bool isArchived = false;

    // The first 24 characters of the sentence, trimmed, on one line.
    static QString deriveTitle(const QString& text);
    // The session that stands when there is none: "default", untitled, sonnet.
    static ChatSession makeDefault(const QDateTime& now, QString id = QStringLiteral("default"));

    QVariantMap toVariantMap() const;
    bool operator==(const ChatSession&) const = default;
    static ChatSession fromJson(const wire::ObjectReader& in);
    void writeJson(wire::ObjectWriter& out) const;
};

// The saved form of the list, snapshot "sessions-index".
struct SessionsIndex {
    static constexpr int currentSchemaVersion = 1;

    std::vector<ChatSession> sessions;
    std::optional<QString> activeSessionId;
    int schemaVersion = currentSchemaVersion;

    bool operator==(const SessionsIndex&) const = default;
    static SessionsIndex fromJson(const wire::ObjectReader& in);
    void writeJson(wire::ObjectWriter& out) const;
};

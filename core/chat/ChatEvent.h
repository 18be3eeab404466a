#pragma once

// What a chat session shows, oldest first: the user's lines, the agent's text, cards waiting
// for a yes or no, error lines, query tables and proposed deletes.

#include "AgentEvent.h"

#include "chat/PendingModels.h"

#include <QDateTime>
#include <QUuid>
#include <QVariantMap>

#include <variant>

// Where a delete proposed by the agent stands; the card offers the action only while pending.
enum class ProposedDeleteStatus { pending, deleting, confirmed, cancelled };

class ChatEvent {
public:
    enum class Kind { UserMessage, PendingEmitted, AssistantText, ErrorMessage, QueryResult, ProposedDelete };

    struct UserMessage {
        QString text;
        bool operator==(const UserMessage&) const = default;
    };
    struct PendingEmitted {
        wire::PendingItem item;
        QString assistantText; // what the agent said with the card
        QString sourceText;
        bool operator==(const PendingEmitted&) const = default;
    };
    struct AssistantText {
        QString text;
        bool operator==(const AssistantText&) const = default;
    };
    struct ErrorMessage {
        QString message;
        bool operator==(const ErrorMessage&) const = default;
    };
    struct QueryResult {
        QueryResultBlock block;
        bool operator==(const QueryResult&) const = default;
    };
    struct ProposedDelete {
        QString domain;
        qint64 targetId = 0;
        QString preview;
        QString deleteEndpoint;
        ProposedDeleteStatus status = ProposedDeleteStatus::pending;
        bool operator==(const ProposedDelete&) const = default;
    };

    using Value = std::variant<UserMessage, PendingEmitted, AssistantText, ErrorMessage, QueryResult, ProposedDelete>;

    ChatEvent() = default;
    ChatEvent(QUuid id, QDateTime ts, Value value)
        : m_id(id)
        , m_ts(std::move(ts))
        , m_value(std::move(value))
    {
    }

    const QUuid& id() const { return m_id; }
    const QDateTime& timestamp() const { return m_ts; }
    Kind kind() const { return static_cast<Kind>(m_value.index()); }
    const Value& value() const { return m_value; }
    template<class T> const T* as() const { return std::get_if<T>(&m_value); }
    template<class T> T* as() { return std::get_if<T>(&m_value); }

    // For the screens: "id", "ts", "type" ("userMessage", "pendingEmitted" ...) and the case's
    // fields; a card's item comes as its wire object.
    QVariantMap toVariantMap() const;
    static QString typeName(Kind kind);
    static QString statusName(ProposedDeleteStatus status);

    bool operator==(const ChatEvent&) const = default;

private:
    QUuid m_id;
    QDateTime m_ts;
    Value m_value;
};

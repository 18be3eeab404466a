#pragma once

// The agent stream's events and the small values they carry.

#include "json/AnyCodableValue.h"
#include "json/JSONScalar.h"

#include <QMetaType>
#include <QString>
#include <QVariantMap>

#include <map>
#include <optional>
#include <variant>
#include <vector>

// An image sent with a sentence: a MIME type and the encoded bytes.
struct VisionImage {
    QString mediaType;
    QString base64;

    bool operator==(const VisionImage&) const = default;
};

// A table the agent found for a question, shown as it came.
struct QueryResultBlock {
    QString domain;
    QString title;
    std::vector<std::map<QString, QString>> rows;
    QString idHint;
    QString summary;

    bool operator==(const QueryResultBlock&) const = default;
};

// What a chat turn tells the time ledger about the running activity.
struct TimeActivityEffect {
    enum class Kind { Started, Stopped };
    Kind kind = Kind::Started;
    std::optional<QString> activity;
    std::optional<QString> timestamp; // as the server sent it

    bool operator==(const TimeActivityEffect&) const = default;
};

// One event of the agent stream: a closed union, cases in the stream's order of kinds.
class AgentEvent {
public:
    enum class Kind {
        Session,
        TextDelta,
        ToolCallStart,
        ToolResult,
        PendingCard,
        ProposedDelete,
        QueryResult,
        TimeEffect,
        RateLimited,
        Error,
        Result
    };

    struct Session {
        std::optional<QString> sessionId;
        std::optional<QString> model;
        bool operator==(const Session&) const = default;
    };
    struct TextDelta {
        QString text;
        bool operator==(const TextDelta&) const = default;
    };
    struct ToolCallStart {
        QString toolUseId;
        QString tool;
        std::map<QString, wire::JSONScalar> input;
        bool operator==(const ToolCallStart&) const = default;
    };
    struct ToolResult {
        QString toolUseId;
        bool ok = true;
        QString preview;
        bool operator==(const ToolResult&) const = default;
    };
    struct PendingCard {
        QString pendingId;
        QString domain;
        QString kind; // the payload's "_kind", "create" by default
        wire::AnyDict payload;
        QString sourceText;
        bool operator==(const PendingCard&) const = default;
    };
    struct ProposedDelete {
        QString domain;
        qint64 targetId = 0;
        QString preview;
        QString deleteEndpoint;
        bool operator==(const ProposedDelete&) const = default;
    };
    using QueryResult = QueryResultBlock;
    struct TimeEffect {
        QString kind; // "started" or "stopped" as sent
        std::optional<QString> activity;
        std::optional<QString> timestamp;
        bool operator==(const TimeEffect&) const = default;
        // The effect for the time ledger; nothing for a kind it does not know.
        std::optional<TimeActivityEffect> activityEffect() const;
    };
    struct RateLimited {
        std::optional<qint64> retryAfterSec;
        bool operator==(const RateLimited&) const = default;
    };
    struct Error {
        QString code;
        QString message;
        bool operator==(const Error&) const = default;
    };
    struct Result {
        std::optional<QString> reason;
        std::optional<qint64> iterations;
        std::optional<double> costUsd;
        bool operator==(const Result&) const = default;
    };

    using Value = std::variant<Session, TextDelta, ToolCallStart, ToolResult, PendingCard, ProposedDelete, QueryResult,
        TimeEffect, RateLimited, Error, Result>;

    AgentEvent() = default;
    template<class T>
    requires std::is_constructible_v<Value, T> AgentEvent(T value)
        : m_value(std::move(value))
    {
    }

    static AgentEvent error(QString code, QString message) { return Error { std::move(code), std::move(message) }; }

    Kind kind() const { return static_cast<Kind>(m_value.index()); }
    const Value& value() const { return m_value; }
    template<class T> const T* as() const { return std::get_if<T>(&m_value); }
    // `result`, `error` and `rate_limit` end a turn.
    bool isTerminal() const;

    // The stream's own name of the kind: "text_delta", "pending_card" ...
    static QString typeName(Kind kind);
    // For the screens: "type" plus the payload's fields under their camelCase names.
    QVariantMap toVariantMap() const;

    bool operator==(const AgentEvent&) const = default;

private:
    Value m_value;
};

Q_DECLARE_METATYPE(AgentEvent)

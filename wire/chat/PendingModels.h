#pragma once

// An agent's proposal waiting for a yes or no (/pending), one shape for every domain.

#include "json/AnyCodableValue.h"
#include "json/JsonCoding.h"

namespace wire {

struct PendingItem {
    QString id;
    QString domain; // "finance", "time", "transfer", "account" ...
    AnyDict payload; // the proposed record; "_kind" says what kind of change ("create" by default)
    std::optional<QString> source_session;
    std::optional<QString> source_text;
    QString status; // "pending", "committed", "rejected"
    std::optional<QString> committed_ref;
    QString created_at;
    std::optional<QString> committed_at;
    std::optional<QString> rejected_at;

    bool operator==(const PendingItem&) const = default;
    static PendingItem fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct PendingCreate {
    QString domain;
    AnyDict payload;
    std::optional<QString> source_session;
    std::optional<QString> source_text;

    bool operator==(const PendingCreate&) const = default;
    static PendingCreate fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct PendingUpdate {
    AnyDict payload;

    bool operator==(const PendingUpdate&) const = default;
    static PendingUpdate fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

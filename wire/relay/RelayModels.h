#pragma once

// Records of mintbridge, the sentence relay: one sentence in, one structured reading out.

#include "json/AnyCodableValue.h"
#include "json/JsonCoding.h"

#include <optional>

namespace wire {

struct RelayIntentRequest {
    QString text;
    QString section; // "finance", "time" or "steward"
    std::optional<QString> ts; // ISO 8601 moment the sentence was said; relative days count from it
    std::optional<QString> model; // a model tier, or "builtin" for the relay's own understanding

    bool operator==(const RelayIntentRequest&) const = default;
    static RelayIntentRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct RelayIntentResponse {
    bool ok = false;
    std::optional<AnyDict> parsed; // the section's fields
    std::optional<QString> raw_result; // what the understanding answered, as text
    std::optional<double> cost_usd;
    std::optional<int> duration_ms;
    std::optional<QString> session_id;

    bool operator==(const RelayIntentResponse&) const = default;
    static RelayIntentResponse fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

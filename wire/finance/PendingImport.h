#pragma once

// Lines awaiting review (/finance/pending): imported, spoken, or parked by a reconciliation.

#include "json/JsonCoding.h"

#include <optional>
#include <vector>

namespace wire {

struct PendingImport {
    int id = 0;
    std::optional<QString> date;
    std::optional<double> amount;
    std::optional<double> amount_aud;
    std::optional<QString> currency;
    std::optional<double> fx_rate;
    std::optional<QString> description;
    std::optional<QString> description_cn;
    std::optional<QString> category;
    std::optional<QString> spender;
    std::optional<QString> note;
    std::optional<QString> raw_text;
    std::optional<QString> created_at;
    std::optional<int> account_id;
    std::optional<QString> origin;
    std::optional<QString> origin_meta; // JSON text owned by the backend

    // A balance gap parked for review.
    bool isReconcileGap() const { return origin == QStringLiteral("reconcile_gap"); }

    bool operator==(const PendingImport&) const = default;
    static PendingImport fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct PendingListResponse {
    std::vector<PendingImport> items;
    int count = 0;

    bool operator==(const PendingListResponse&) const = default;
    static PendingListResponse fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct ConfirmPendingRequest {
    std::optional<QString> category;
    std::optional<QString> spender;
    std::optional<QString> note;

    bool operator==(const ConfirmPendingRequest&) const = default;
    static ConfirmPendingRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct BatchIdsRequest {
    std::vector<int> ids;

    bool operator==(const BatchIdsRequest&) const = default;
    static BatchIdsRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

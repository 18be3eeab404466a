#pragma once

// The month figures of the ledger (/finance/summary, /finance/trend, /finance/cash-flow,
// /finance/months) and the spoken-sentence request (/finance/voice/text). All figures are AUD;
// transfers and balance adjustments are left out of every one of them.

#include "json/JsonCoding.h"

#include <optional>
#include <vector>

namespace wire {

struct CashFlow {
    QString month;
    double inflow = 0;
    double outflow = 0;
    double net = 0;

    bool operator==(const CashFlow&) const = default;
    static CashFlow fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct CategoryTotal {
    QString category;
    QString kind; // "expense" or "income"
    std::optional<QString> color;
    double amount = 0;
    int count = 0;
    double share = 0; // of its direction's month total, 0 to 1

    bool operator==(const CategoryTotal&) const = default;
    static CategoryTotal fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct SpenderTotal {
    QString spender;
    double expense = 0;
    double income = 0;
    int count = 0;

    bool operator==(const SpenderTotal&) const = default;
    static SpenderTotal fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct DayTotal {
    QString date; // yyyy-MM-dd
    double expense = 0;
    double income = 0;

    bool operator==(const DayTotal&) const = default;
    static DayTotal fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct FinanceSummary {
    QString month;
    QString currency; // always the reporting currency, "AUD"
    double expense = 0;
    double income = 0;
    double net = 0;
    int count = 0;
    double previous_expense = 0; // the month before, for comparison
    std::vector<CategoryTotal> by_category; // largest first, expenses before income
    std::vector<SpenderTotal> by_spender;
    std::vector<DayTotal> daily; // every day of the month

    bool operator==(const FinanceSummary&) const = default;
    static FinanceSummary fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TrendPoint {
    QString period; // yyyy-MM, or yyyy-MM-dd by day
    double expense = 0;
    double income = 0;
    double net = 0;
    int count = 0;

    bool operator==(const TrendPoint&) const = default;
    static TrendPoint fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct FinanceTrend {
    QString granularity; // "month": the twelve months up to `month`; "day": the days of `month`
    QString month;
    std::vector<TrendPoint> points; // oldest first

    bool operator==(const FinanceTrend&) const = default;
    static FinanceTrend fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct VoiceTextRequest {
    QString text;
    std::optional<QString> currency;
    std::optional<QString> spender;

    bool operator==(const VoiceTextRequest&) const = default;
    static VoiceTextRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

// A spoken sentence becomes a line awaiting review; `parsed` is what was understood.
struct VoiceTextResponse {
    bool ok = false;
    int pending_id = 0;
    QJsonObject parsed;

    bool operator==(const VoiceTextResponse&) const = default;
    static VoiceTextResponse fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

#pragma once

// Records of the time ledger (/time).

#include "json/JsonCoding.h"

#include <optional>

namespace wire {

struct TimeEntry {
    int id = 0;
    QString date; // yyyy-MM-dd, the owning day
    QString start_time; // HH:MM
    std::optional<QString> end_time;
    std::optional<double> duration_min;
    QString activity;
    std::optional<int> category_id;
    QString source;
    int confirmed = 1;
    std::optional<QString> raw_note;
    std::optional<QString> rest_quality;
    std::optional<QString> place;

    bool operator==(const TimeEntry&) const = default;
    static TimeEntry fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeCategory {
    int id = 0;
    QString name;
    std::optional<QString> color;
    std::optional<int> sort_order;
    std::optional<QString> value_dim;

    bool operator==(const TimeCategory&) const = default;
    static TimeCategory fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeCurrent {
    bool active = false;
    std::optional<QString> activity;
    std::optional<int> category_id;
    std::optional<QString> start_time;
    std::optional<QString> source;
    std::optional<QString> updated_at;

    bool operator==(const TimeCurrent&) const = default;
    static TimeCurrent fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

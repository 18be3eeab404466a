#pragma once

// Records of the time ledger (/time).

#include "json/JsonCoding.h"

#include <optional>
#include <vector>

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

struct TimeStartRequest {
    QString activity;
    std::optional<int> category_id;
    std::optional<QString> category;
    QString source;
    std::optional<QString> start_time;

    bool operator==(const TimeStartRequest&) const = default;
    static TimeStartRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeStopRequest {
    std::optional<QString> note;
    std::optional<QString> end_time;

    bool operator==(const TimeStopRequest&) const = default;
    static TimeStopRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeManualRequest {
    QString date;
    QString start_time;
    QString end_time;
    QString activity;
    std::optional<int> category_id;
    QString source;
    std::optional<QString> raw_note;

    bool operator==(const TimeManualRequest&) const = default;
    static TimeManualRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeManualResponse {
    bool ok = false;
    double duration_min = 0;

    bool operator==(const TimeManualResponse&) const = default;
    static TimeManualResponse fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

// Fields left empty are left out of the JSON and stay as they are on the server.
struct TimeEntryUpdateRequest {
    std::optional<QString> date;
    std::optional<QString> start_time;
    std::optional<QString> end_time;
    std::optional<QString> activity;
    std::optional<int> category_id;
    std::optional<int> confirmed;
    std::optional<QString> rest_quality;

    bool operator==(const TimeEntryUpdateRequest&) const = default;
    static TimeEntryUpdateRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeConfirmResponse {
    bool ok = false;
    std::optional<bool> habit_learned;

    bool operator==(const TimeConfirmResponse&) const = default;
    static TimeConfirmResponse fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeCategoryCreateRequest {
    QString name;
    QString color;
    QString keywords;
    int sort_order = 0;

    bool operator==(const TimeCategoryCreateRequest&) const = default;
    static TimeCategoryCreateRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeCategoryCreateResponse {
    bool ok = false;
    std::optional<int> id;
    std::optional<bool> revived;

    bool operator==(const TimeCategoryCreateResponse&) const = default;
    static TimeCategoryCreateResponse fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeCategoryUpdateRequest {
    std::optional<QString> name;
    std::optional<QString> color;
    std::optional<QString> keywords;
    std::optional<int> sort_order;

    bool operator==(const TimeCategoryUpdateRequest&) const = default;
    static TimeCategoryUpdateRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeCategoryMinutes {
    std::optional<int> category_id;
    double minutes = 0;

    bool operator==(const TimeCategoryMinutes&) const = default;
    static TimeCategoryMinutes fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeSummaryDay {
    QString date;
    double total_min = 0;
    std::vector<TimeCategoryMinutes> by_category;

    bool operator==(const TimeSummaryDay&) const = default;
    static TimeSummaryDay fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TimeSummary {
    QString from;
    QString to;
    std::vector<TimeSummaryDay> days;
    std::vector<TimeCategoryMinutes> category_totals;
    double total_min = 0;
    int entry_count = 0;

    // The same range with nothing in it.
    static TimeSummary empty(const QString& from, const QString& to) { return { from, to, {}, {}, 0, 0 }; }

    bool operator==(const TimeSummary&) const = default;
    static TimeSummary fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

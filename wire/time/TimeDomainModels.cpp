#include "TimeDomainModels.h"

namespace wire {

TimeEntry TimeEntry::fromJson(const ObjectReader& in)
{
    TimeEntry entry;
    entry.id = in.required<int>("id");
    entry.date = in.required<QString>("date");
    entry.start_time = in.required<QString>("start_time");
    entry.end_time = in.optional<QString>("end_time");
    entry.duration_min = in.optional<double>("duration_min");
    entry.activity = in.required<QString>("activity");
    entry.category_id = in.optional<int>("category_id");
    entry.source = in.required<QString>("source");
    entry.confirmed = in.required<int>("confirmed");
    entry.raw_note = in.optional<QString>("raw_note");
    entry.rest_quality = in.optional<QString>("rest_quality");
    entry.place = in.optional<QString>("place");
    return entry;
}

void TimeEntry::writeJson(ObjectWriter& out) const
{
    out.set("id", id)
        .set("date", date)
        .set("start_time", start_time)
        .set("end_time", end_time)
        .set("duration_min", duration_min)
        .set("activity", activity)
        .set("category_id", category_id)
        .set("source", source)
        .set("confirmed", confirmed)
        .set("raw_note", raw_note)
        .set("rest_quality", rest_quality)
        .set("place", place);
}

TimeCategory TimeCategory::fromJson(const ObjectReader& in)
{
    return { in.required<int>("id"), in.required<QString>("name"), in.optional<QString>("color"),
        in.optional<int>("sort_order"), in.optional<QString>("value_dim") };
}

void TimeCategory::writeJson(ObjectWriter& out) const
{
    out.set("id", id).set("name", name).set("color", color).set("sort_order", sort_order).set("value_dim", value_dim);
}

TimeCurrent TimeCurrent::fromJson(const ObjectReader& in)
{
    return { in.required<bool>("active"), in.optional<QString>("activity"), in.optional<int>("category_id"),
        in.optional<QString>("start_time"), in.optional<QString>("source"), in.optional<QString>("updated_at") };
}

void TimeCurrent::writeJson(ObjectWriter& out) const
{
    out.set("active", active)
        .set("activity", activity)
        .set("category_id", category_id)
        .set("start_time", start_time)
        .set("source", source)
        .set("updated_at", updated_at);
}

TimeStartRequest TimeStartRequest::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("activity"), in.optional<int>("category_id"), in.optional<QString>("category"),
        in.valueOr<QString>("source", QStringLiteral("app")), in.optional<QString>("start_time") };
}

void TimeStartRequest::writeJson(ObjectWriter& out) const
{
    out.set("activity", activity)
        .set("category_id", category_id)
        .set("category", category)
        .set("source", source)
        .set("start_time", start_time);
}

TimeStopRequest TimeStopRequest::fromJson(const ObjectReader& in)
{
    return { in.optional<QString>("note"), in.optional<QString>("end_time") };
}

void TimeStopRequest::writeJson(ObjectWriter& out) const
{
    out.set("note", note).set("end_time", end_time);
}

TimeManualRequest TimeManualRequest::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("date"), in.required<QString>("start_time"), in.required<QString>("end_time"),
        in.required<QString>("activity"), in.optional<int>("category_id"),
        in.valueOr<QString>("source", QStringLiteral("app")), in.optional<QString>("raw_note") };
}

void TimeManualRequest::writeJson(ObjectWriter& out) const
{
    out.set("date", date)
        .set("start_time", start_time)
        .set("end_time", end_time)
        .set("activity", activity)
        .set("category_id", category_id)
        .set("source", source)
        .set("raw_note", raw_note);
}

TimeManualResponse TimeManualResponse::fromJson(const ObjectReader& in)
{
    return { in.required<bool>("ok"), in.required<double>("duration_min") };
}

void TimeManualResponse::writeJson(ObjectWriter& out) const
{
    out.set("ok", ok).set("duration_min", duration_min);
}

TimeEntryUpdateRequest TimeEntryUpdateRequest::fromJson(const ObjectReader& in)
{
    return { in.optional<QString>("date"), in.optional<QString>("start_time"), in.optional<QString>("end_time"),
        in.optional<QString>("activity"), in.optional<int>("category_id"), in.optional<int>("confirmed"),
        in.optional<QString>("rest_quality") };
}

void TimeEntryUpdateRequest::writeJson(ObjectWriter& out) const
{
    out.set("date", date)
        .set("start_time", start_time)
        .set("end_time", end_time)
        .set("activity", activity)
        .set("category_id", category_id)
        .set("confirmed", confirmed)
        .set("rest_quality", rest_quality);
}

TimeConfirmResponse TimeConfirmResponse::fromJson(const ObjectReader& in)
{
    return { in.required<bool>("ok"), in.optional<bool>("habit_learned") };
}

void TimeConfirmResponse::writeJson(ObjectWriter& out) const
{
    out.set("ok", ok).set("habit_learned", habit_learned);
}

TimeCategoryCreateRequest TimeCategoryCreateRequest::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("name"), in.valueOr<QString>("color", QString()),
        in.valueOr<QString>("keywords", QString()), in.valueOr<int>("sort_order", 0) };
}

void TimeCategoryCreateRequest::writeJson(ObjectWriter& out) const
{
    out.set("name", name).set("color", color).set("keywords", keywords).set("sort_order", sort_order);
}

TimeCategoryCreateResponse TimeCategoryCreateResponse::fromJson(const ObjectReader& in)
{
    return { in.required<bool>("ok"), in.optional<int>("id"), in.optional<bool>("revived") };
}

void TimeCategoryCreateResponse::writeJson(ObjectWriter& out) const
{
    out.set("ok", ok).set("id", id).set("revived", revived);
}

TimeCategoryUpdateRequest TimeCategoryUpdateRequest::fromJson(const ObjectReader& in)
{
    return { in.optional<QString>("name"), in.optional<QString>("color"), in.optional<QString>("keywords"),
        in.optional<int>("sort_order") };
}

void TimeCategoryUpdateRequest::writeJson(ObjectWriter& out) const
{
    out.set("name", name).set("color", color).set("keywords", keywords).set("sort_order", sort_order);
}

TimeCategoryMinutes TimeCategoryMinutes::fromJson(const ObjectReader& in)
{
    return { in.optional<int>("category_id"), in.required<double>("minutes") };
}

void TimeCategoryMinutes::writeJson(ObjectWriter& out) const
{
    out.set("category_id", category_id).set("minutes", minutes);
}

TimeSummaryDay TimeSummaryDay::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("date"), in.required<double>("total_min"),
        in.required<std::vector<TimeCategoryMinutes>>("by_category") };
}

void TimeSummaryDay::writeJson(ObjectWriter& out) const
{
    out.set("date", date).set("total_min", total_min).set("by_category", by_category);
}

TimeSummary TimeSummary::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("from"), in.required<QString>("to"), in.required<std::vector<TimeSummaryDay>>("days"),
        in.required<std::vector<TimeCategoryMinutes>>("category_totals"), in.required<double>("total_min"),
        in.required<int>("entry_count") };
}

void TimeSummary::writeJson(ObjectWriter& out) const
{
    out.set("from", from)
        .set("to", to)
        .set("days", days)
        .set("category_totals", category_totals)
        .set("total_min", total_min)
        .set("entry_count", entry_count);
}

} // namespace wire

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

} // namespace wire

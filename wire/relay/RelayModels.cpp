#include "RelayModels.h"

namespace wire {

RelayIntentRequest RelayIntentRequest::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("text"), in.required<QString>("section"), in.optional<QString>("ts"),
        in.optional<QString>("model") };
}

void RelayIntentRequest::writeJson(ObjectWriter& out) const
{
    out.set("text", text).set("section", section).set("ts", ts).set("model", model);
}

RelayIntentResponse RelayIntentResponse::fromJson(const ObjectReader& in)
{
    RelayIntentResponse response;
    response.ok = in.required<bool>("ok");
    response.parsed = in.optional<AnyDict>("parsed");
    response.raw_result = in.optional<QString>("raw_result");
    response.cost_usd = in.optional<double>("cost_usd");
    response.duration_ms = in.optional<int>("duration_ms");
    response.session_id = in.optional<QString>("session_id");
    return response;
}

void RelayIntentResponse::writeJson(ObjectWriter& out) const
{
    out.set("ok", ok)
        .set("parsed", parsed)
        .set("raw_result", raw_result)
        .set("cost_usd", cost_usd)
        .set("duration_ms", duration_ms)
        .set("session_id", session_id);
}

} // namespace wire

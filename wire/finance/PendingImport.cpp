#include "PendingImport.h"

namespace wire {

PendingImport PendingImport::fromJson(const ObjectReader& in)
{
    PendingImport line;
    line.id = in.required<int>("id");
    line.date = in.optional<QString>("date");
    line.amount = in.optional<double>("amount");
    line.amount_aud = in.optional<double>("amount_aud");
    line.currency = in.optional<QString>("currency");
    line.fx_rate = in.optional<double>("fx_rate");
    line.description = in.optional<QString>("description");
    line.description_cn = in.optional<QString>("description_cn");
    line.category = in.optional<QString>("category");
    line.spender = in.optional<QString>("spender");
    line.note = in.optional<QString>("note");
    line.raw_text = in.optional<QString>("raw_text");
    line.created_at = in.optional<QString>("created_at");
    line.account_id = in.optional<int>("account_id");
    line.origin = in.optional<QString>("origin");
    line.origin_meta = in.optional<QString>("origin_meta");
    return line;
}

void PendingImport::writeJson(ObjectWriter& out) const
{
    out.set("id", id)
        .set("date", date)
        .set("amount", amount)
        .set("amount_aud", amount_aud)
        .set("currency", currency)
        .set("fx_rate", fx_rate)
        .set("description", description)
        .set("description_cn", description_cn)
        .set("category", category)
        .set("spender", spender)
        .set("note", note)
        .set("raw_text", raw_text)
        .set("created_at", created_at)
        .set("account_id", account_id)
        .set("origin", origin)
        .set("origin_meta", origin_meta);
}

PendingListResponse PendingListResponse::fromJson(const ObjectReader& in)
{
    return { in.required<std::vector<PendingImport>>("items"), in.required<int>("count") };
}

void PendingListResponse::writeJson(ObjectWriter& out) const
{
    out.set("items", items).set("count", count);
}

ConfirmPendingRequest ConfirmPendingRequest::fromJson(const ObjectReader& in)
{
    return { in.optional<QString>("category"), in.optional<QString>("spender"), in.optional<QString>("note") };
}

void ConfirmPendingRequest::writeJson(ObjectWriter& out) const
{
    out.set("category", category).set("spender", spender).set("note", note);
}

BatchIdsRequest BatchIdsRequest::fromJson(const ObjectReader& in)
{
    return { in.required<std::vector<int>>("ids") };
}

void BatchIdsRequest::writeJson(ObjectWriter& out) const
{
    out.set("ids", ids);
}

} // namespace wire

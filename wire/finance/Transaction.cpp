#include "Transaction.h"

namespace wire {

Transaction Transaction::fromJson(const ObjectReader& in)
{
    Transaction tx;
    tx.id = in.required<int>("id");
    tx.date = in.required<QString>("date");
    tx.amount = in.required<double>("amount");
    tx.amount_aud = in.optional<double>("amount_aud");
    tx.currency = in.optional<QString>("currency");
    tx.fx_rate = in.optional<double>("fx_rate");
    tx.category = in.optional<QString>("category");
    tx.spender = in.optional<QString>("spender");
    tx.desc = in.optional<QString>("description");
    tx.desc_cn = in.optional<QString>("description_cn");
    tx.note = in.optional<QString>("note");
    tx.source = in.optional<QString>("source");
    tx.confirmation_status = in.optional<QString>("confirmation_status");
    tx.reconciled_with = in.optional<QString>("reconciled_with");
    tx.items_count = in.optional<int>("items_count");
    tx.account_id = in.optional<int>("account_id");
    tx.direction = in.optional<QString>("direction");
    tx.owner = in.optional<QString>("owner");
    tx.split_ratio = in.optional<double>("split_ratio");
    tx.amount_cny = in.optional<double>("amount_cny");
    return tx;
}

void Transaction::writeJson(ObjectWriter& out) const
{
    out.set("id", id)
        .set("date", date)
        .set("amount", amount)
        .set("amount_aud", amount_aud)
        .set("currency", currency)
        .set("fx_rate", fx_rate)
        .set("category", category)
        .set("spender", spender)
        .set("description", desc)
        .set("description_cn", desc_cn)
        .set("note", note)
        .set("source", source)
        .set("confirmation_status", confirmation_status)
        .set("reconciled_with", reconciled_with)
        .set("items_count", items_count)
        .set("account_id", account_id)
        .set("direction", direction)
        .set("owner", owner)
        .set("split_ratio", split_ratio)
        .set("amount_cny", amount_cny);
}

} // namespace wire

#include "Transaction.h"

#include "Money.h"

namespace wire {

double Transaction::audEquiv() const
{
    return wire::audEquiv(amount, currency, fx_rate, amount_aud);
}

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

TransactionItem TransactionItem::fromJson(const ObjectReader& in)
{
    return { in.required<int>("id"), in.required<int>("transaction_id"), in.required<QString>("name"),
        in.required<double>("amount"), in.required<qint64>("amount_cents"), in.required<int>("sort_order"),
        in.optional<QString>("created_at") };
}

void TransactionItem::writeJson(ObjectWriter& out) const
{
    out.set("id", id)
        .set("transaction_id", transaction_id)
        .set("name", name)
        .set("amount", amount)
        .set("amount_cents", amount_cents)
        .set("sort_order", sort_order)
        .set("created_at", created_at);
}

TransactionItemsResponse TransactionItemsResponse::fromJson(const ObjectReader& in)
{
    return { in.required<std::vector<TransactionItem>>("items") };
}

void TransactionItemsResponse::writeJson(ObjectWriter& out) const
{
    out.set("items", items);
}

CreateTransactionItem CreateTransactionItem::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("name"), in.required<double>("amount"), in.optional<int>("sort_order") };
}

void CreateTransactionItem::writeJson(ObjectWriter& out) const
{
    out.set("name", name).set("amount", amount).set("sort_order", sort_order);
}

CreateTransactionRequest CreateTransactionRequest::fromJson(const ObjectReader& in)
{
    CreateTransactionRequest request;
    request.date = in.required<QString>("date");
    request.amount = in.required<double>("amount");
    request.description = in.valueOr<QString>("description", QString());
    request.description_cn = in.valueOr<QString>("description_cn", QString());
    request.category = in.required<QString>("category");
    request.spender = in.valueOr<QString>("spender", QString());
    request.note = in.valueOr<QString>("note", QString());
    request.reviewed = in.valueOr<int>("reviewed", 1);
    request.currency = in.valueOr<QString>("currency", QString());
    request.items = in.optional<std::vector<CreateTransactionItem>>("items");
    return request;
}

void CreateTransactionRequest::writeJson(ObjectWriter& out) const
{
    out.set("date", date)
        .set("amount", amount)
        .set("description", description)
        .set("description_cn", description_cn)
        .set("category", category)
        .set("spender", spender)
        .set("note", note)
        .set("reviewed", reviewed)
        .set("currency", currency)
        .set("items", items);
}

CreateTransactionResponse CreateTransactionResponse::fromJson(const ObjectReader& in)
{
    return { in.required<bool>("ok"), in.required<int>("id"), in.optional<int>("items_created"),
        in.optional<bool>("items_dropped") };
}

void CreateTransactionResponse::writeJson(ObjectWriter& out) const
{
    out.set("ok", ok).set("id", id).set("items_created", items_created).set("items_dropped", items_dropped);
}

UpdateTransactionRequest UpdateTransactionRequest::fromJson(const ObjectReader& in)
{
    UpdateTransactionRequest request;
    request.category = in.optional<QString>("category");
    request.spender = in.optional<QString>("spender");
    request.note = in.optional<QString>("note");
    request.reviewed = in.optional<int>("reviewed");
    request.date = in.optional<QString>("date");
    request.amount = in.optional<double>("amount");
    request.description = in.optional<QString>("description");
    request.description_cn = in.optional<QString>("description_cn");
    request.confirmation_status = in.optional<QString>("confirmation_status");
    return request;
}

void UpdateTransactionRequest::writeJson(ObjectWriter& out) const
{
    out.set("category", category)
        .set("spender", spender)
        .set("note", note)
        .set("reviewed", reviewed)
        .set("date", date)
        .set("amount", amount)
        .set("description", description)
        .set("description_cn", description_cn)
        .set("confirmation_status", confirmation_status);
}

} // namespace wire

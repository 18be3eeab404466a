#include "FinanceDraft.h"

namespace wire {

FinanceDraft FinanceDraft::fromJson(const ObjectReader& in)
{
    return { in.optional<double>("amount"), in.optional<QString>("currency"), in.optional<QString>("category"),
        in.optional<QString>("spender"), in.optional<QString>("date"), in.optional<QString>("description"),
        in.optional<double>("confidence"), in.optional<QString>("error"),
        in.optional<std::vector<CreateTransactionItem>>("items") };
}

void FinanceDraft::writeJson(ObjectWriter& out) const
{
    out.set("amount", amount)
        .set("currency", currency)
        .set("category", category)
        .set("spender", spender)
        .set("date", date)
        .set("description", description)
        .set("confidence", confidence)
        .set("error", error)
        .set("items", items);
}

} // namespace wire

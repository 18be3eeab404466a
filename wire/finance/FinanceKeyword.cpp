#include "FinanceKeyword.h"

namespace wire {

FinanceKeyword FinanceKeyword::fromJson(const ObjectReader& in)
{
    return { in.required<int>("id"), in.required<QString>("keyword"), in.required<QString>("category"),
        in.required<QString>("kind") };
}

void FinanceKeyword::writeJson(ObjectWriter& out) const
{
    out.set("id", id).set("keyword", keyword).set("category", category).set("kind", kind);
}

FinanceKeywordCreate FinanceKeywordCreate::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("keyword"), in.required<QString>("category"), in.optional<QString>("kind") };
}

void FinanceKeywordCreate::writeJson(ObjectWriter& out) const
{
    out.set("keyword", keyword).set("category", category).set("kind", kind);
}

} // namespace wire

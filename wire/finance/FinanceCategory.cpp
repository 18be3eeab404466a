#include "FinanceCategory.h"

namespace wire {

FinanceCategory FinanceCategory::fromJson(const ObjectReader& in)
{
    return { in.required<int>("id"), in.required<QString>("name"), in.optional<QString>("color"),
        in.optional<int>("sort_order"), in.optional<QString>("group_name"), in.optional<QString>("nature"),
        in.optional<QString>("kind") };
}

void FinanceCategory::writeJson(ObjectWriter& out) const
{
    out.set("id", id)
        .set("name", name)
        .set("color", color)
        .set("sort_order", sort_order)
        .set("group_name", group_name)
        .set("nature", nature)
        .set("kind", kind);
}

CreateCategoryRequest CreateCategoryRequest::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("name"), in.valueOr<QString>("color", QString()), in.optional<QString>("kind"),
        in.optional<QString>("nature"), in.optional<QString>("group_name") };
}

void CreateCategoryRequest::writeJson(ObjectWriter& out) const
{
    out.set("name", name).set("color", color).set("kind", kind).set("nature", nature).set("group_name", group_name);
}

UpdateCategoryRequest UpdateCategoryRequest::fromJson(const ObjectReader& in)
{
    return { in.optional<QString>("name"), in.optional<QString>("color"), in.optional<int>("sort_order"),
        in.optional<QString>("nature"), in.optional<QString>("group_name") };
}

void UpdateCategoryRequest::writeJson(ObjectWriter& out) const
{
    out.set("name", name)
        .set("color", color)
        .set("sort_order", sort_order)
        .set("nature", nature)
        .set("group_name", group_name);
}

} // namespace wire

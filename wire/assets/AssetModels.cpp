#include "AssetModels.h"

namespace wire {

AssetTable AssetTable::fromJson(const ObjectReader& in)
{
    return { in.required<QStringList>("headers"), in.required<std::vector<QStringList>>("rows") };
}

void AssetTable::writeJson(ObjectWriter& out) const
{
    out.set("headers", headers).set("rows", rows);
}

AssetItem AssetItem::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("slug"), in.required<QString>("mode"), in.optional<AnyDict>("frontmatter"),
        in.optional<AssetTable>("table"), in.optional<QString>("body_md") };
}

void AssetItem::writeJson(ObjectWriter& out) const
{
    out.set("slug", slug).set("mode", mode).set("frontmatter", frontmatter).set("table", table).set("body_md", body_md);
}

AssetsListResponse AssetsListResponse::fromJson(const ObjectReader& in)
{
    return { in.required<int>("count"), in.required<std::vector<AssetItem>>("items") };
}

void AssetsListResponse::writeJson(ObjectWriter& out) const
{
    out.set("count", count).set("items", items);
}

} // namespace wire

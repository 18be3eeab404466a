#pragma once

// The owner's notes on his assets, shown as they come.

#include "json/AnyCodableValue.h"
#include "json/JsonCoding.h"

namespace wire {

struct AssetTable {
    QStringList headers;
    std::vector<QStringList> rows;

    bool operator==(const AssetTable&) const = default;
    static AssetTable fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct AssetItem {
    QString slug;
    QString mode;
    std::optional<AnyDict> frontmatter;
    std::optional<AssetTable> table;
    std::optional<QString> body_md;

    bool operator==(const AssetItem&) const = default;
    static AssetItem fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct AssetsListResponse {
    int count = 0;
    std::vector<AssetItem> items;

    bool operator==(const AssetsListResponse&) const = default;
    static AssetsListResponse fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

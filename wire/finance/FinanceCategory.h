#pragma once

// The household's finance categories (/finance/categories). Lines name their category; the
// reserved "转账" and "余额调整" are bookkeeping, not spending.

#include "json/JsonCoding.h"

#include <optional>

namespace wire {

struct FinanceCategory {
    int id = 0;
    QString name;
    std::optional<QString> color; // #RRGGBB
    std::optional<int> sort_order;
    std::optional<QString> group_name;
    std::optional<QString> nature; // "必要", "投资" or "享受"
    std::optional<QString> kind; // "expense" or "income"

    static inline const QString transferName = QStringLiteral("转账");
    static inline const QString adjustmentName = QStringLiteral("余额调整");
    static bool isReservedName(const QString& name) { return name == transferName || name == adjustmentName; }

    bool operator==(const FinanceCategory&) const = default;
    static FinanceCategory fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct CreateCategoryRequest {
    QString name;
    QString color;
    // Not sent by every client; the server's defaults stand in.
    std::optional<QString> kind;
    std::optional<QString> nature;
    std::optional<QString> group_name;

    bool operator==(const CreateCategoryRequest&) const = default;
    static CreateCategoryRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct UpdateCategoryRequest {
    std::optional<QString> name;
    std::optional<QString> color;
    std::optional<int> sort_order;
    std::optional<QString> nature;
    std::optional<QString> group_name;

    bool operator==(const UpdateCategoryRequest&) const = default;
    static UpdateCategoryRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

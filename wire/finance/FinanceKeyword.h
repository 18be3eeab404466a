#pragma once

// The household's own finance words (/finance/keywords): a keyword that points a sentence to a
// category, on top of the built-in ones.

#include "json/JsonCoding.h"

#include <optional>

namespace wire {

struct FinanceKeyword {
    int id = 0;
    QString keyword;
    QString category;
    QString kind; // "expense", "income" or "reserved"

    bool operator==(const FinanceKeyword&) const = default;
    static FinanceKeyword fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct FinanceKeywordCreate {
    QString keyword;
    QString category;
    std::optional<QString> kind; // the category's kind when left out

    bool operator==(const FinanceKeywordCreate&) const = default;
    static FinanceKeywordCreate fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

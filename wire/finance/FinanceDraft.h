#pragma once

// What the relay read from one sentence, and the working copy the user edits before booking.
// Every field is optional: the relay may leave any out.

#include "Transaction.h"

#include "json/JsonCoding.h"

#include <optional>
#include <vector>

namespace wire {

struct FinanceDraft {
    std::optional<double> amount;
    std::optional<QString> currency;
    std::optional<QString> category;
    std::optional<QString> spender;
    std::optional<QString> date;
    std::optional<QString> description;
    std::optional<double> confidence; // 0 to 1
    std::optional<QString> error;
    std::optional<std::vector<CreateTransactionItem>> items;

    bool operator==(const FinanceDraft&) const = default;
    static FinanceDraft fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

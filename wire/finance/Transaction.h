#pragma once

// A booked ledger line (/finance/transactions). `desc` and `desc_cn` travel as
// "description" and "description_cn".

#include "json/JsonCoding.h"

#include <optional>

namespace wire {

struct Transaction {
    int id = 0;
    QString date;
    double amount = 0;
    std::optional<double> amount_aud;
    std::optional<QString> currency;
    std::optional<double> fx_rate;
    std::optional<QString> category;
    std::optional<QString> spender;
    std::optional<QString> desc;
    std::optional<QString> desc_cn;
    std::optional<QString> note;
    std::optional<QString> source;
    std::optional<QString> confirmation_status;
    std::optional<QString> reconciled_with;
    std::optional<int> items_count;
    std::optional<int> account_id;
    std::optional<QString> direction;
    std::optional<QString> owner;
    std::optional<double> split_ratio;
    std::optional<double> amount_cny;

    bool operator==(const Transaction&) const = default;
    static Transaction fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

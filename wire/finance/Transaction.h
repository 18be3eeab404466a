#pragma once

// A booked ledger line (/finance/transactions), its items, and the requests that write them.
// `desc` and `desc_cn` of Transaction travel as "description" and "description_cn".

#include "json/JsonCoding.h"

#include <optional>
#include <vector>

namespace wire {

struct Transaction {
    int id = 0;
    QString date; // "yyyy-MM-dd" or "dd/MM/yyyy"
    double amount = 0; // in `currency`, positive both ways; `direction` tells which
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

    // The AUD figure: the backend's when fixed, else by currency with the fallback rates.
    double audEquiv() const;
    // Money moved between the household's own accounts.
    bool isTransfer() const { return category == QStringLiteral("转账"); }
    // An adjustment written when a balance gap was settled, not spending.
    bool isReconcileBookkeeping() const { return category == QStringLiteral("余额调整"); }
    // Anything but "income" shows as an expense.
    bool isIncome() const { return direction == QStringLiteral("income"); }

    bool operator==(const Transaction&) const = default;
    static Transaction fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TransactionItem {
    int id = 0;
    int transaction_id = 0;
    QString name;
    double amount = 0;
    qint64 amount_cents = 0;
    int sort_order = 0;
    std::optional<QString> created_at;

    bool operator==(const TransactionItem&) const = default;
    static TransactionItem fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct TransactionItemsResponse {
    std::vector<TransactionItem> items;

    bool operator==(const TransactionItemsResponse&) const = default;
    static TransactionItemsResponse fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct CreateTransactionItem {
    QString name;
    double amount = 0;
    std::optional<int> sort_order;

    bool operator==(const CreateTransactionItem&) const = default;
    static CreateTransactionItem fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct CreateTransactionRequest {
    QString date;
    double amount = 0;
    QString description;
    QString description_cn;
    QString category;
    QString spender;
    QString note;
    int reviewed = 1;
    QString currency;
    std::optional<std::vector<CreateTransactionItem>> items;

    bool operator==(const CreateTransactionRequest&) const = default;
    static CreateTransactionRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

struct CreateTransactionResponse {
    bool ok = false;
    int id = 0;
    std::optional<int> items_created;
    std::optional<bool> items_dropped;

    bool operator==(const CreateTransactionResponse&) const = default;
    static CreateTransactionResponse fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

// Every field optional: an absent one is left out of the JSON and stays as it is.
struct UpdateTransactionRequest {
    std::optional<QString> category;
    std::optional<QString> spender;
    std::optional<QString> note;
    std::optional<int> reviewed;
    std::optional<QString> date;
    std::optional<double> amount;
    std::optional<QString> description;
    std::optional<QString> description_cn;
    std::optional<QString> confirmation_status;

    bool operator==(const UpdateTransactionRequest&) const = default;
    static UpdateTransactionRequest fromJson(const ObjectReader& in);
    void writeJson(ObjectWriter& out) const;
};

} // namespace wire

#pragma once

#include "Clock.h"

#include "finance/Transaction.h"

#include <QDate>
#include <QString>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace lumen {

namespace db {
class Connection;
class Database;
} // namespace db

class HouseholdService;

struct NewTransactionItem {
    QString name;
    double amount = 0;
};

// A ledger line about to be written.
struct NewTransaction {
    QDate date;
    double amount = 0; // positive; `direction` says which way the money went
    QString currency;
    QString category;
    QString spender;
    QString description;
    std::optional<QString> note;
    QString source;
    QString direction; // "expense" or "income"
    std::vector<NewTransactionItem> items;
    std::optional<QString> accountName;
};

// What a question about money adds up.
struct FinanceTotals {
    double totalAud = 0;
    int count = 0;
    std::vector<std::pair<QString, double>> byCategory; // AUD, largest first
    std::vector<wire::Transaction> lines; // newest first
};

// The household's money ledger: one book shared by its members, each line with its items.
class FinanceLedgerService {
public:
    FinanceLedgerService(db::Database& database, HouseholdService& households, std::shared_ptr<Clock> clock);

    // Throws ApiError 404 for a line outside the user's household.
    wire::Transaction transaction(qint64 userId, qint64 id);
    // Newest first; either end may be left open.
    std::vector<wire::Transaction> list(qint64 userId, std::optional<QDate> from, std::optional<QDate> to);
    void remove(qint64 userId, qint64 id);
    // The newest line the user booked, with when it was written.
    std::optional<std::pair<wire::Transaction, qint64>> lastWrittenBy(qint64 userId);
    // Lines of the days from..to; `direction` empty for both ways, `category` empty for all.
    FinanceTotals totals(qint64 userId, QDate from, QDate to, const QString& direction, const QString& category);

    qint64 insertIn(db::Connection& connection, qint64 householdId, qint64 userId, const NewTransaction& line);
    // Gives a line of the household the values of `line`, keeping who booked it, when, and from
    // where; its note and account change only when `line` has them. Items are replaced by the
    // line's own; a new amount without items drops the old ones, which would no longer add up.
    // Throws ApiError 404 when the line is gone.
    void updateIn(db::Connection& connection, qint64 householdId, qint64 id, const NewTransaction& line);

    // The AUD figure of an amount: the fixed one when known, else the household's fallback rates.
    static double audEquivalent(double amount, const QString& currency, std::optional<double> amountAud);

private:
    void insertItemsIn(db::Connection& connection, qint64 transactionId, const std::vector<NewTransactionItem>& items);

    db::Database& m_database;
    HouseholdService& m_households;
    std::shared_ptr<Clock> m_clock;
};

} // namespace lumen

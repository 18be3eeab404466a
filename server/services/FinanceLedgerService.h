#pragma once

#include "Clock.h"

#include "finance/Money.h"
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
    wire::Money amount;
};

// A ledger line about to be written, whichever road it came by.
struct NewTransaction {
    QDate date;
    wire::Money amount; // positive; `direction` says which way the money went
    QString currency;
    QString category;
    QString spender;
    QString description;
    QString descriptionCn;
    std::optional<QString> note;
    QString source;
    std::optional<QString> direction; // "expense" or "income"; absent: the category's kind
    QString confirmationStatus = QStringLiteral("confirmed");
    std::vector<NewTransactionItem> items;
    std::optional<QString> accountName;
};

// What a list of lines is narrowed to; every part may be left open.
struct TransactionQuery {
    std::optional<QDate> from;
    std::optional<QDate> to;
    std::optional<QString> category;
    std::optional<QString> spender;
    std::optional<QString> direction;
    std::optional<qint64> limit;
    qint64 offset = 0;
};

// What a question about money adds up.
struct FinanceTotals {
    double totalAud = 0;
    int count = 0;
    std::vector<std::pair<QString, double>> byCategory; // AUD, largest first
    std::vector<wire::Transaction> lines; // newest first
};

// The household's money ledger: one book shared by its members, each line with its items and
// who wrote it. Every write checks the same rules (positive exact amount, a known currency, a
// category of the household, items that add up) and fixes the line's AUD figure once.
class FinanceLedgerService {
public:
    FinanceLedgerService(db::Database& database, HouseholdService& households, std::shared_ptr<Clock> clock);

    // Throws ApiError 404 for a line outside the user's household.
    wire::Transaction transaction(qint64 userId, qint64 id);
    // Newest first.
    std::vector<wire::Transaction> list(qint64 userId, const TransactionQuery& query);
    std::vector<wire::Transaction> list(qint64 userId, std::optional<QDate> from, std::optional<QDate> to);
    wire::CreateTransactionResponse create(qint64 userId, const wire::CreateTransactionRequest& request);
    void update(qint64 userId, qint64 id, const wire::UpdateTransactionRequest& request);
    void remove(qint64 userId, qint64 id);

    std::vector<wire::TransactionItem> items(qint64 userId, qint64 transactionId);
    wire::TransactionItem addItem(qint64 userId, qint64 transactionId, const wire::CreateTransactionItem& request);
    void removeItem(qint64 userId, qint64 transactionId, qint64 itemId);

    // The newest line the user booked, with when it was written.
    std::optional<std::pair<wire::Transaction, qint64>> lastWrittenBy(qint64 userId);
    // Lines of the days from..to; `direction` empty for both ways, `category` empty for all.
    FinanceTotals totals(qint64 userId, QDate from, QDate to, const QString& direction, const QString& category);

    // The one writer of new lines, inside the caller's transaction.
    qint64 insertIn(db::Connection& connection, qint64 householdId, qint64 userId, const NewTransaction& line);
    // Gives a line of the household the values of `line`, keeping who booked it, when, and from
    // where; its note and account change only when `line` has them. Items are replaced by the
    // line's own; a new amount without items drops the old ones, which would no longer add up.
    // Throws ApiError 404 when the line is gone.
    void updateIn(db::Connection& connection, qint64 householdId, qint64 userId, qint64 id, const NewTransaction& line);

    // The rate that fixes a line's AUD figure.
    static double audRate(const QString& currency);

private:
    struct Checked {
        QString direction;
        double rate = 1.0;
        wire::Money amountAud;
    };
    Checked check(db::Connection& connection, qint64 householdId, const NewTransaction& line, bool categoryKnown);
    void insertItemsIn(db::Connection& connection, qint64 transactionId, const std::vector<NewTransactionItem>& items);
    wire::Transaction requireIn(db::Connection& connection, qint64 householdId, qint64 id);
    wire::Money itemsSumIn(db::Connection& connection, qint64 transactionId);
    QString displayNameOf(db::Connection& connection, qint64 userId);

    db::Database& m_database;
    HouseholdService& m_households;
    std::shared_ptr<Clock> m_clock;
};

} // namespace lumen

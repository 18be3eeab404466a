#pragma once

#include "Clock.h"

#include "finance/FinanceReports.h"
#include "finance/Money.h"
#include "finance/PendingImport.h"

#include <QDate>
#include <QString>

#include <memory>
#include <optional>

namespace lumen {

namespace db {
class Connection;
class Database;
} // namespace db

class FinanceLedgerService;
class HouseholdService;
class LexiconService;

// A line that arrived without the user (a bill, a bank file, a spoken sentence) and waits.
struct NewPendingImport {
    std::optional<QDate> date;
    std::optional<wire::Money> amount;
    QString currency;
    QString description;
    QString descriptionCn;
    QString category;
    QString spender;
    QString note;
    QString rawText;
    QString direction = QStringLiteral("expense");
    std::optional<qint64> accountId;
    QString origin;
    std::optional<QString> originMeta;
};

// The household's lines awaiting review. Confirming books the line through the ledger's one
// writer, in the same SQLite transaction that marks it confirmed; a batch lands whole or not
// at all. A decided line cannot be decided again (409).
class FinancePendingService {
public:
    FinancePendingService(db::Database& database, HouseholdService& households, FinanceLedgerService& ledger,
        LexiconService& lexicons, std::shared_ptr<Clock> clock);

    // Oldest first, as they arrived.
    wire::PendingListResponse list(qint64 userId);
    // Returns the id of the booked line.
    qint64 confirm(qint64 userId, qint64 id, const wire::ConfirmPendingRequest& request);
    void skip(qint64 userId, qint64 id);
    void confirmBatch(qint64 userId, const wire::BatchIdsRequest& request);
    void skipBatch(qint64 userId, const wire::BatchIdsRequest& request);
    // Understands the sentence and parks it for review; 422 when no amount is heard.
    wire::VoiceTextResponse voiceText(qint64 userId, const wire::VoiceTextRequest& request);

    qint64 insertIn(db::Connection& connection, qint64 householdId, qint64 userId, const NewPendingImport& line);

private:
    qint64 confirmIn(db::Connection& connection, qint64 householdId, qint64 userId, qint64 id,
        const wire::ConfirmPendingRequest& request);
    void skipIn(db::Connection& connection, qint64 householdId, qint64 userId, qint64 id);
    std::vector<qint64> checkedIds(const wire::BatchIdsRequest& request);

    db::Database& m_database;
    HouseholdService& m_households;
    FinanceLedgerService& m_ledger;
    LexiconService& m_lexicons;
    std::shared_ptr<Clock> m_clock;
};

} // namespace lumen

#pragma once

#include "finance/FinanceReports.h"

#include <QString>
#include <QStringList>

namespace lumen {

namespace db {
class Database;
} // namespace db

class HouseholdService;

// The month figures of the household ledger, in AUD cents added up exactly. Transfers and
// balance adjustments move no money in or out of the household and are left out.
class FinanceSummaryService {
public:
    FinanceSummaryService(db::Database& database, HouseholdService& households);

    // Months that hold a line, newest first ("yyyy-MM").
    QStringList months(qint64 userId);
    wire::FinanceSummary summary(qint64 userId, const QString& month);
    // "month": the twelve months up to `month`; "day": the days of `month`.
    wire::FinanceTrend trend(qint64 userId, const QString& granularity, const QString& month);
    wire::CashFlow cashFlow(qint64 userId, const QString& month);

private:
    db::Database& m_database;
    HouseholdService& m_households;
};

} // namespace lumen

#pragma once

#include "FinanceLedgerService.h"
#include "TimeLedgerService.h"

#include "json/AnyCodableValue.h"

#include <QDate>
#include <QString>

namespace lumen {

// What a proposal's payload becomes when it is confirmed. Each reader checks the fields its
// record needs and throws ApiError 422 naming the one that is wrong, so the item can be
// edited and confirmed again.
class PendingPayloads {
public:
    struct FinanceDefaults {
        QString currency; // the household's
        QString spender; // the speaker's display name
        QDate today; // in the household's zone
    };

    static NewTransaction finance(const wire::AnyDict& payload, const FinanceDefaults& defaults);
    static NewTimeEntry time(const wire::AnyDict& payload);
    // The payload's kind of change, "create" when it says none. An "update" payload holds the
    // whole record as it should become, and `target_id`, the record it replaces.
    static QString kindOf(const wire::AnyDict& payload);
    static qint64 targetOf(const wire::AnyDict& payload);
    // A time payload as the ledger's change of an existing block.
    static wire::TimeEntryUpdateRequest timeChange(const wire::AnyDict& payload);
};

} // namespace lumen

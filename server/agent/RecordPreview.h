#pragma once

#include "chat/PendingModels.h"
#include "finance/Transaction.h"
#include "time/TimeDomainModels.h"

#include <QString>

namespace lumen::agent {

// The one-line pictures of a record that the built-in agent shows in delete and change
// proposals: "餐饮 A$50.00 · 午餐 · 11月21日", "coding 09:00–11:00（2h） · 11月21日".
class RecordPreview {
public:
    static QString line(const wire::Transaction& line);
    static QString entry(const wire::TimeEntry& entry);
    // A proposal, marked as still waiting.
    static QString proposal(const wire::PendingItem& item);
    // A proposal's payload as the record it would become.
    static QString payload(const QString& domain, const wire::AnyDict& payload);
    // "11月21日" of a yyyy-MM-dd day; other text as it is.
    static QString shortDay(const QString& date);
};

} // namespace lumen::agent

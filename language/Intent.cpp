#include "Intent.h"

namespace language {

QString intentKindName(IntentKind kind)
{
    switch (kind) {
    case IntentKind::none:
        return QStringLiteral("none");
    case IntentKind::booking:
        return QStringLiteral("booking");
    case IntentKind::timeBlock:
        return QStringLiteral("timeBlock");
    case IntentKind::timeStart:
        return QStringLiteral("timeStart");
    case IntentKind::timeStop:
        return QStringLiteral("timeStop");
    case IntentKind::query:
        return QStringLiteral("query");
    case IntentKind::deleteLast:
        return QStringLiteral("deleteLast");
    case IntentKind::editLast:
        return QStringLiteral("editLast");
    }
    return QStringLiteral("none");
}

bool Edit::isEmpty() const
{
    return !amount && currency.isEmpty() && category.isEmpty() && !date && spender.isEmpty() && description.isEmpty()
        && activity.isEmpty() && !startTime && !endTime;
}

} // namespace language

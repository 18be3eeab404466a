#include "ChatTurnRecords.h"

namespace {

QVariant optionalVariant(const auto& value)
{
    return value ? QVariant::fromValue(*value) : QVariant();
}

QString upperId(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

} // namespace

std::optional<qint64> ToolTrailEntry::durationMs() const
{
    if (!endedAt)
        return std::nullopt;
    return startedAt.msecsTo(*endedAt);
}

QVariantMap ToolTrailEntry::toVariantMap() const
{
    static const char* const names[] = { "running", "ok", "error" };
    return { { "id", upperId(id) }, { "iter", iter }, { "toolUseId", toolUseId }, { "tool", tool },
        { "status", QString::fromLatin1(names[int(status)]) }, { "startedAt", startedAt },
        { "endedAt", optionalVariant(endedAt) }, { "resultPreview", optionalVariant(resultPreview) },
        { "durationMs", optionalVariant(durationMs()) } };
}

QVariantMap SubagentRun::toVariantMap() const
{
    static const char* const names[] = { "running", "done", "failed" };
    return { { "id", upperId(id) }, { "parentSessionId", parentSessionId }, { "toolUseId", toolUseId },
        { "kind", kind }, { "label", label }, { "status", QString::fromLatin1(names[int(status)]) },
        { "startedAt", startedAt }, { "endedAt", optionalVariant(endedAt) },
        { "outputSummary", optionalVariant(outputSummary) }, { "costUSD", optionalVariant(costUSD) } };
}

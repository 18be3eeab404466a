#pragma once

// The small records of a running turn: its tool trail, the subagents it spawned and the
// sentences waiting for their turn.

#include "AgentEvent.h"

#include <QDateTime>
#include <QUuid>
#include <QVariantMap>

#include <optional>
#include <vector>

struct ToolTrailEntry {
    enum class Status { running, ok, error };

    QUuid id;
    int iter = 0; // the turn's tool count when it started
    QString toolUseId;
    QString tool;
    Status status = Status::running;
    QDateTime startedAt;
    std::optional<QDateTime> endedAt;
    std::optional<QString> resultPreview;

    // Whole milliseconds from start to end; nothing while it runs.
    std::optional<qint64> durationMs() const;
    QVariantMap toVariantMap() const;
    bool operator==(const ToolTrailEntry&) const = default;
};

struct SubagentRun {
    enum class Status { running, done, failed };

    QUuid id;
    QString parentSessionId;
    QString toolUseId;
    QString kind;
    QString label;
    Status status = Status::running;
    QDateTime startedAt;
    std::optional<QDateTime> endedAt;
    std::optional<QString> outputSummary;
    std::optional<double> costUSD;

    QVariantMap toVariantMap() const;
    bool operator==(const SubagentRun&) const = default;
};

struct QueuedSubmission {
    QString text; // what goes to the agent
    std::vector<VisionImage> images;
    std::optional<QString> modelOverride;

    bool operator==(const QueuedSubmission&) const = default;
};

#pragma once

#include "chat/PendingModels.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <optional>
#include <vector>

namespace lumen::agent {

// One server-sent event of a turn: an event name and its data object. On the wire it is
// "event: NAME" and "data: JSON" on lines of their own, followed by a blank line; the
// stream ends with "data: [DONE]".
struct AgentEvent {
    QString name;
    QJsonObject data;

    QByteArray frame() const;
    static QByteArray doneFrame();

    static AgentEvent session(const QString& sessionId, const QString& model);
    static AgentEvent textDelta(const QString& text);
    static AgentEvent toolCallStart(const QString& toolUseId, const QString& tool, const QJsonObject& input);
    static AgentEvent toolResult(const QString& toolUseId, bool ok, const QString& preview);
    static AgentEvent pendingCard(const wire::PendingItem& item);
    static AgentEvent proposedDelete(
        const QString& domain, qint64 targetId, const QString& preview, const QString& deleteEndpoint);
    // Rows are objects of strings; `idHint` names the key that holds each row's record id, if any.
    static AgentEvent queryResult(const QString& domain, const QString& title, const QString& summary,
        const std::vector<QJsonObject>& rows, const QString& idHint);
    // `kind` is "started" or "stopped"; `timestamp` an ISO 8601 instant.
    static AgentEvent timeEffect(const QString& kind, const QString& activity, const QString& timestamp);
    static AgentEvent rateLimit(int retryAfterSec);
    static AgentEvent error(const QString& code, const QString& message);
    static AgentEvent result(const QString& reason, int iterations, double costUsd);

    bool operator==(const AgentEvent&) const = default;
};

} // namespace lumen::agent

#pragma once

#include "IntentSection.h"
#include "ModelCommand.h"
#include "RelayConfig.h"
#include "UsageLedger.h"

#include "relay/RelayModels.h"

#include <QTimeZone>

#include <memory>

namespace mintbridge {

// The rules of /intent without HTTP: which understanding answers, the daily allowance of
// model calls, the reference time, and the shape of the answer. Safe across threads.
class IntentService {
public:
    static constexpr qsizetype maxTextChars = 2000;

    explicit IntentService(RelayConfig config);

    // Throws RelayError with the status and detail the client should see.
    wire::RelayIntentResponse answer(const wire::RelayIntentRequest& request) const;

    // True when this request would be answered by the model command.
    bool usesModel(const wire::RelayIntentRequest& request) const;
    UsageLedger& ledger() const { return *m_ledger; }

private:
    QDateTime referenceTime(const std::optional<QString>& ts) const;
    wire::RelayIntentResponse builtin(IntentSection section, const QString& text, const QDateTime& reference) const;
    wire::RelayIntentResponse viaModel(
        IntentSection section, const QString& text, const QDateTime& reference, const QString& model) const;

    RelayConfig m_config;
    QTimeZone m_zone;
    std::unique_ptr<UsageLedger> m_ledger;
    std::unique_ptr<ModelCommand> m_command;
};

} // namespace mintbridge

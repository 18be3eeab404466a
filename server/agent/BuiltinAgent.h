#pragma once

#include "Agent.h"
#include "TurnContextStore.h"

#include "Context.h"
#include "Intent.h"

#include "chat/PendingModels.h"
#include "finance/Transaction.h"
#include "time/TimeDomainModels.h"

#include <memory>
#include <optional>

namespace language {
class Lexicon;
}

namespace lumen {
class Backend;
}

namespace lumen::agent {

// The agent that answers without a language model: it reads each sentence by rule and
// takes one step per action, each shown in the tool trail. Bookings and time blocks become
// proposals (never direct writes); starts and stops change the running activity; questions
// are answered from the ledgers. Follow-ups refer to what the conversation did last:
// "删掉刚才那笔" proposes a delete the user confirms, "改成 60" changes a proposal still
// waiting (and shows its card again) or proposes the change of a record already written.
class BuiltinAgent final : public Agent {
public:
    BuiltinAgent(Backend& backend, TurnContextStore& contexts);

    QString model() const override { return QStringLiteral("builtin"); }
    void run(const TurnRequest& request, TurnChannel& channel) override;

private:
    // What the conversation did last, as it stands now: a proposal still waiting, or the
    // record it became or wrote.
    struct LastThing {
        QString domain;
        std::optional<wire::PendingItem> proposal;
        std::optional<wire::Transaction> line;
        std::optional<wire::TimeEntry> entry;
        QString preview;
    };

    struct Turn {
        const TurnRequest& request;
        TurnChannel& channel;
        std::shared_ptr<const language::Lexicon> lexicon;
        language::Context context;
        language::Intent intent;
        QString sentence;
        TurnContext memory;
    };

    void book(Turn& turn);
    void proposeBlock(Turn& turn);
    void startActivity(Turn& turn);
    void stopActivity(Turn& turn);
    void answerQuery(Turn& turn);
    void answerFinanceQuery(Turn& turn, const language::Query& query);
    void answerTimeQuery(Turn& turn, const language::Query& query);
    void proposeDelete(Turn& turn);
    void editLast(Turn& turn);
    void changeProposal(Turn& turn, const wire::PendingItem& item, const language::Edit& edit);
    void proposeChange(Turn& turn, const LastThing& last, const language::Edit& edit);

    // Nothing when the conversation has no such thing, or it has gone since.
    std::optional<LastThing> lastThing(const Turn& turn);
    std::optional<LastThing> recordOf(const Turn& turn, const QString& domain, qint64 id);
    // The payload with the edit applied; nothing when the edit names no field of the domain.
    std::optional<wire::AnyDict> edited(
        const Turn& turn, const QString& domain, wire::AnyDict payload, const language::Edit& edit);

    // Files a proposal and shows its card after the reply that explains it.
    void propose(Turn& turn, const QString& domain, const wire::AnyDict& payload, const QString& reply);
    std::optional<int> timeCategoryFor(const Turn& turn, const QString& categoryName, const QString& activity);

    Backend& m_backend;
    TurnContextStore& m_contexts;
};

} // namespace lumen::agent

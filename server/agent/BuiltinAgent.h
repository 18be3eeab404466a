#pragma once

#include "Agent.h"
#include "TurnContextStore.h"

#include "Context.h"
#include "Intent.h"

#include <memory>

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
// are answered from the ledgers; "删掉刚才那笔" proposes a delete the user confirms.
class BuiltinAgent final : public Agent {
public:
    BuiltinAgent(Backend& backend, TurnContextStore& contexts);

    QString model() const override { return QStringLiteral("builtin"); }
    void run(const TurnRequest& request, TurnChannel& channel) override;

private:
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

    // Files a proposal and shows its card after the reply that explains it.
    void propose(Turn& turn, const QString& domain, const wire::AnyDict& payload, const QString& reply);
    std::optional<int> timeCategoryFor(const Turn& turn, const QString& categoryName, const QString& activity);

    Backend& m_backend;
    TurnContextStore& m_contexts;
};

} // namespace lumen::agent

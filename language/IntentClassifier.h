#pragma once

// Decides what one chat sentence asks for, in this order:
//   1. a delete of the last record ("删掉刚才那笔", "撤销") when no amount is given;
//   2. a follow-up edit ("改成 60", "分类改成交通", "不对，是 45");
//   3. a question about spending or time ("这个月花了多少", "今天做了什么"), answered from the
//      ledgers; a question that is not about them, a plan, a reminder, a price change or a
//      measurement is nothing to record, and says so (`refusal`);
//   4. a time block (clock range or length) when there is no amount left after it;
//   5. a booking (an amount);
//   6. a start or stop of the running activity;
//   7. nothing.
// The finance and time readings are attached whatever the outcome, so the agent and the relay
// read a sentence the same way.

#include "Context.h"
#include "Intent.h"

#include <QStringView>

namespace language {

class IntentClassifier {
public:
    explicit IntentClassifier(Context context)
        : m_context(std::move(context))
    {
    }

    Intent classify(QStringView sentence) const;

private:
    std::optional<Query> readQuery(QStringView sentence) const;
    Edit readEdit(QStringView sentence) const;

    Context m_context;
};

// One-shot helpers over a context.
Intent understand(QStringView sentence, const Context& context);
FinanceParse parseFinance(QStringView sentence, const Context& context);
TimeParse parseTime(QStringView sentence, const Context& context);

} // namespace language

#pragma once

// What the agent should do with one sentence, with the parses it needs attached.

#include "DateScanner.h"
#include "FinanceParse.h"
#include "TimeParse.h"

#include <QDate>
#include <QString>
#include <QTime>

#include <optional>

namespace language {

enum class IntentKind {
    none, // chit-chat, or nothing this system records
    booking, // a finance draft: `finance`
    timeBlock, // a closed time block: `time` with action manual
    timeStart, // start the running activity: `time` with action start
    timeStop, // stop the running activity
    query, // a question about spending or time: `query`
    deleteLast, // remove the last record: `target` says of which kind when the sentence does
    editLast, // change the last proposal: `edit`
};

// "booking", "timeBlock" ... as written above.
QString intentKindName(IntentKind kind);

enum class QueryDomain { finance, time };
enum class MoneyFlow { all, expense, income };

struct Query {
    QueryDomain domain = QueryDomain::finance;
    DateRange range; // both ends included
    QString category; // a finance or time category the question is about, or empty
    MoneyFlow flow = MoneyFlow::all; // finance only: "花了多少" spending, "收入多少" income
    bool operator==(const Query&) const = default;
};

// The fields a follow-up changes ("改成 60", "分类改成交通", "改成昨天"); unset fields stay.
struct Edit {
    std::optional<double> amount;
    QString currency; // set only when a currency is named (块 is not a change)
    QString category;
    std::optional<QDate> date;
    QString spender;
    QString description;
    QString activity;
    std::optional<QTime> startTime;
    std::optional<QTime> endTime;

    bool isEmpty() const;
    bool operator==(const Edit&) const = default;
};

enum class RecordDomain { any, finance, time };

struct Intent {
    IntentKind kind = IntentKind::none;
    FinanceParse finance; // always filled: the relay's finance reading of the sentence
    TimeParse time; // always filled: the relay's time reading of the sentence
    std::optional<Query> query;
    std::optional<Edit> edit;
    RecordDomain target = RecordDomain::any;
    // Set when the sentence names money without spending it and nothing else came of it.
    std::optional<FinanceProblem> refusal;
    double confidence = 0;
};

} // namespace language

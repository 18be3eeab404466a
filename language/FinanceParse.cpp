#include "FinanceParse.h"

#include <QJsonArray>

namespace language {

QString problemText(FinanceProblem problem)
{
    switch (problem) {
    case FinanceProblem::emptySentence:
        return QStringLiteral("句子是空的");
    case FinanceProblem::noAmount:
        return QStringLiteral("没有找到金额");
    case FinanceProblem::question:
        return QStringLiteral("这是一个问题，不是一笔账，没有记账");
    case FinanceProblem::plan:
        return QStringLiteral("这是计划或预算，钱还没花，没有记账");
    case FinanceProblem::reminder:
        return QStringLiteral("这是提醒，钱还没付，没有记账");
    case FinanceProblem::priceChange:
        return QStringLiteral("这是价格变动或折扣，不是一笔花费，没有记账");
    case FinanceProblem::measurement:
        return QStringLiteral("这是测量数据，不是一笔账，没有记账");
    }
    return {};
}

bool isNonBooking(FinanceProblem problem)
{
    return problem != FinanceProblem::emptySentence && problem != FinanceProblem::noAmount;
}

QString FinanceParse::error() const
{
    return problem ? problemText(*problem) : QString();
}

QJsonObject FinanceParse::toParsedJson() const
{
    QJsonObject json;
    if (amount)
        json.insert(QStringLiteral("amount"), *amount);
    if (!currency.isEmpty())
        json.insert(QStringLiteral("currency"), currency);
    if (!category.isEmpty())
        json.insert(QStringLiteral("category"), category);
    if (!spender.isEmpty())
        json.insert(QStringLiteral("spender"), spender);
    if (date.isValid())
        json.insert(QStringLiteral("date"), date.toString(QStringLiteral("yyyy-MM-dd")));
    if (!description.isEmpty())
        json.insert(QStringLiteral("description"), description);
    json.insert(QStringLiteral("confidence"), confidence);
    if (problem)
        json.insert(QStringLiteral("error"), error());
    if (!items.isEmpty()) {
        QJsonArray array;
        for (const FinanceItem& item : items)
            array.append(
                QJsonObject { { QStringLiteral("name"), item.name }, { QStringLiteral("amount"), item.amount } });
        json.insert(QStringLiteral("items"), array);
    }
    return json;
}

} // namespace language

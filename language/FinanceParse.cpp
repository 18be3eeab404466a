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
    }
    return {};
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

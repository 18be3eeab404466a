#include "IntentSection.h"

#include "RelayError.h"

#include "Context.h"
#include "IntentClassifier.h"

#include <QDate>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTime>

#include <cmath>

namespace mintbridge {

namespace {

std::optional<double> numberOf(const QJsonValue& value)
{
    if (value.isDouble() && std::isfinite(value.toDouble()))
        return value.toDouble();
    if (value.isString()) {
        bool ok = false;
        const double number = value.toString().trimmed().toDouble(&ok);
        if (ok && std::isfinite(number))
            return number;
    }
    return std::nullopt;
}

std::optional<QString> textOf(const QJsonValue& value)
{
    if (!value.isString())
        return std::nullopt;
    const QString text = value.toString().trimmed();
    return text.isEmpty() ? std::nullopt : std::optional<QString>(text);
}

// "2026-05-14" as it is; "2026-5-4" or "2026/05/14" made whole.
std::optional<QString> dayOf(const QJsonValue& value)
{
    const auto text = textOf(value);
    if (!text)
        return std::nullopt;
    static const QRegularExpression pattern(QStringLiteral(R"(^(\d{4})[-/.](\d{1,2})[-/.](\d{1,2})$)"));
    const auto match = pattern.match(*text);
    if (!match.hasMatch())
        return std::nullopt;
    const QDate date(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
    return date.isValid() ? std::optional<QString>(date.toString(QStringLiteral("yyyy-MM-dd"))) : std::nullopt;
}

// "9:05" and "09:05:00" become "09:05".
std::optional<QString> clockOf(const QJsonValue& value)
{
    const auto text = textOf(value);
    if (!text)
        return std::nullopt;
    static const QRegularExpression pattern(QStringLiteral(R"(^(\d{1,2}):(\d{2})(?::\d{2})?$)"));
    const auto match = pattern.match(*text);
    if (!match.hasMatch())
        return std::nullopt;
    const QTime time(match.captured(1).toInt(), match.captured(2).toInt());
    return time.isValid() ? std::optional<QString>(time.toString(QStringLiteral("HH:mm"))) : std::nullopt;
}

void putText(QJsonObject& out, const QJsonObject& in, const char* key)
{
    if (const auto text = textOf(in.value(QLatin1String(key))))
        out.insert(QLatin1String(key), *text);
}

void putNumber(QJsonObject& out, const QJsonObject& in, const char* key)
{
    if (const auto number = numberOf(in.value(QLatin1String(key))))
        out.insert(QLatin1String(key), *number);
}

void putConfidence(QJsonObject& out, const QJsonObject& in)
{
    if (const auto number = numberOf(in.value(QLatin1String("confidence"))))
        out.insert(QLatin1String("confidence"), std::clamp(*number, 0.0, 1.0));
}

QJsonObject financeFields(const QJsonObject& in)
{
    QJsonObject out;
    putNumber(out, in, "amount");
    if (const auto currency = textOf(in.value(QLatin1String("currency"))))
        out.insert(QLatin1String("currency"), currency->toUpper());
    putText(out, in, "category");
    putText(out, in, "spender");
    if (const auto day = dayOf(in.value(QLatin1String("date"))))
        out.insert(QLatin1String("date"), *day);
    putText(out, in, "description");
    putConfidence(out, in);
    putText(out, in, "error");
    QJsonArray items;
    for (const QJsonValue& value : in.value(QLatin1String("items")).toArray()) {
        const QJsonObject item = value.toObject();
        const auto name = textOf(item.value(QLatin1String("name")));
        const auto amount = numberOf(item.value(QLatin1String("amount")));
        if (name && amount)
            items.append(QJsonObject { { QStringLiteral("name"), *name }, { QStringLiteral("amount"), *amount } });
    }
    if (!items.isEmpty())
        out.insert(QLatin1String("items"), items);
    if (out.isEmpty())
        throw RelayError::badGateway(QStringLiteral("模型输出里没有记账字段（amount、category、description …）"));
    return out;
}

QJsonObject timeFields(const QJsonObject& in)
{
    const auto action = textOf(in.value(QLatin1String("action")));
    if (!action)
        throw RelayError::badGateway(QStringLiteral("模型输出缺少 action 字段"));
    QJsonObject out;
    const QString name = action->toLower();
    const bool known = name == QLatin1String("start") || name == QLatin1String("stop")
        || name == QLatin1String("manual") || name == QLatin1String("unknown");
    out.insert(QLatin1String("action"), known ? name : QStringLiteral("unknown"));
    putText(out, in, "activity");
    if (const auto day = dayOf(in.value(QLatin1String("date"))))
        out.insert(QLatin1String("date"), *day);
    if (const auto start = clockOf(in.value(QLatin1String("start_time"))))
        out.insert(QLatin1String("start_time"), *start);
    if (const auto end = clockOf(in.value(QLatin1String("end_time"))))
        out.insert(QLatin1String("end_time"), *end);
    putNumber(out, in, "duration_min");
    putText(out, in, "category");
    putConfidence(out, in);
    putText(out, in, "error");
    return out;
}

QJsonObject stewardFields(const QJsonObject& in)
{
    const auto answer = textOf(in.value(QLatin1String("answer")));
    if (!answer)
        throw RelayError::badGateway(QStringLiteral("模型输出缺少 answer 字段"));
    return QJsonObject { { QStringLiteral("answer"), *answer } };
}

QString money(double amount, const QString& currency)
{
    return QStringLiteral("%1 %2").arg(QString::number(amount, 'f', 2), currency);
}

// Without a model the steward says what the sentence would become and where to put it.
QString stewardReply(QStringView text, const language::Context& context)
{
    using language::IntentKind;
    const language::Intent intent = language::understand(text, context);
    const QString day = QStringLiteral("yyyy-MM-dd");
    switch (intent.kind) {
    case IntentKind::booking: {
        const language::FinanceParse& f = intent.finance;
        return QStringLiteral("这句像一笔账：%1 · %2 · %3。到「记一笔」输入它会生成草稿。")
            .arg(money(f.amount.value_or(0), f.currency), f.category.isEmpty() ? QStringLiteral("未分类") : f.category,
                f.date.toString(day));
    }
    case IntentKind::timeBlock: {
        const language::TimeParse& t = intent.time;
        const QString clock = QStringLiteral("HH:mm");
        const QString span = t.startTime && t.endTime
            ? QStringLiteral("%1–%2").arg(t.startTime->toString(clock), t.endTime->toString(clock))
            : QStringLiteral("%1 分钟").arg(t.durationMin.value_or(0));
        return QStringLiteral("这句像一段时间记录：%1 %2 %3。到时间页的输入框输入它即可记下。")
            .arg(t.date.toString(day), span, t.activity);
    }
    case IntentKind::timeStart:
        return QStringLiteral("这句像要开始计时「%1」。到时间页的输入框输入它即可开始。").arg(intent.time.activity);
    case IntentKind::timeStop:
        return QStringLiteral("这句像要结束当前计时。到时间页的输入框输入它即可结束。");
    case IntentKind::query:
        return QStringLiteral("统计类的问题请看财务或时间页的分析；内置解析不做问答。");
    case IntentKind::deleteLast:
    case IntentKind::editLast:
        return QStringLiteral("改动或删除记录请在对应的列表里操作。");
    case IntentKind::none:
        break;
    }
    return QStringLiteral("内置解析只认得记账和记时间的句子（例：今天午餐 50、上午 9 点到 11 点 coding）。"
                          "要自由提问，请在 mintbridge 上配置模型命令（MINTBRIDGE_MODEL_COMMAND）。");
}

} // namespace

std::optional<IntentSection> sectionFromName(const QString& name)
{
    if (name == QLatin1String("finance"))
        return IntentSection::finance;
    if (name == QLatin1String("time"))
        return IntentSection::time;
    if (name == QLatin1String("steward"))
        return IntentSection::steward;
    return std::nullopt;
}

QString sectionName(IntentSection section)
{
    switch (section) {
    case IntentSection::finance:
        return QStringLiteral("finance");
    case IntentSection::time:
        return QStringLiteral("time");
    case IntentSection::steward:
        break;
    }
    return QStringLiteral("steward");
}

QJsonObject builtinParsed(IntentSection section, QStringView text, const language::Context& context)
{
    switch (section) {
    case IntentSection::finance:
        return language::parseFinance(text, context).toParsedJson();
    case IntentSection::time:
        return language::parseTime(text, context).toParsedJson();
    case IntentSection::steward:
        break;
    }
    return QJsonObject { { QStringLiteral("answer"), stewardReply(text, context) } };
}

QJsonObject validateParsed(IntentSection section, const QJsonObject& answer)
{
    switch (section) {
    case IntentSection::finance:
        return financeFields(answer);
    case IntentSection::time:
        return timeFields(answer);
    case IntentSection::steward:
        break;
    }
    return stewardFields(answer);
}

} // namespace mintbridge

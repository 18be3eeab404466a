#include "TimeParse.h"

namespace language {

QString actionName(TimeAction action)
{
    switch (action) {
    case TimeAction::start:
        return QStringLiteral("start");
    case TimeAction::stop:
        return QStringLiteral("stop");
    case TimeAction::manual:
        return QStringLiteral("manual");
    case TimeAction::unknown:
        break;
    }
    return QStringLiteral("unknown");
}

QString problemText(TimeProblem problem)
{
    switch (problem) {
    case TimeProblem::emptySentence:
        return QStringLiteral("句子是空的");
    case TimeProblem::noTimeAction:
        return QStringLiteral("没有识别出时间记录");
    case TimeProblem::missingClock:
        return QStringLiteral("缺少开始或结束时间");
    }
    return {};
}

QString TimeParse::error() const
{
    return problem ? problemText(*problem) : QString();
}

QJsonObject TimeParse::toParsedJson() const
{
    const QString clock = QStringLiteral("HH:mm");
    QJsonObject json;
    json.insert(QStringLiteral("action"), actionName(action));
    if (!activity.isEmpty())
        json.insert(QStringLiteral("activity"), activity);
    if (date.isValid())
        json.insert(QStringLiteral("date"), date.toString(QStringLiteral("yyyy-MM-dd")));
    if (startTime)
        json.insert(QStringLiteral("start_time"), startTime->toString(clock));
    if (endTime)
        json.insert(QStringLiteral("end_time"), endTime->toString(clock));
    if (durationMin)
        json.insert(QStringLiteral("duration_min"), *durationMin);
    if (!category.isEmpty())
        json.insert(QStringLiteral("category"), category);
    json.insert(QStringLiteral("confidence"), confidence);
    if (problem)
        json.insert(QStringLiteral("error"), error());
    return json;
}

} // namespace language

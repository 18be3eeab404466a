#include "TimeIntent.h"

namespace {

std::optional<QString> text(const wire::AnyDict& parsed, const char* key)
{
    const auto it = parsed.find(QLatin1String(key));
    return it == parsed.end() ? std::nullopt : it->second.stringValue();
}

std::optional<double> number(const wire::AnyDict& parsed, const char* key)
{
    const auto it = parsed.find(QLatin1String(key));
    return it == parsed.end() ? std::nullopt : it->second.doubleValue();
}

} // namespace

std::optional<TimeIntent> TimeIntent::fromResponse(const wire::RelayIntentResponse& response)
{
    if (!response.parsed)
        return std::nullopt;
    const wire::AnyDict& parsed = *response.parsed;
    TimeIntent intent;
    const QString action = text(parsed, "action").value_or(QString());
    if (action == QLatin1String("start"))
        intent.action = Action::start;
    else if (action == QLatin1String("stop"))
        intent.action = Action::stop;
    else if (action == QLatin1String("manual"))
        intent.action = Action::manual;
    intent.activity = text(parsed, "activity");
    intent.date = text(parsed, "date");
    intent.startTime = text(parsed, "start_time");
    intent.endTime = text(parsed, "end_time");
    intent.durationMin = number(parsed, "duration_min");
    intent.confidence = number(parsed, "confidence");
    intent.error = text(parsed, "error");
    return intent;
}

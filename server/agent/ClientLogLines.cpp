#include "ClientLogLines.h"

#include <QDateTime>
#include <QJsonArray>

namespace lumen::agent {

namespace {

const QString kAssistantText = QStringLiteral("assistant_text");

QString textOf(const QJsonObject& data, const QString& key, const QString& fallback = {})
{
    const QJsonValue value = data.value(key);
    return value.isString() ? value.toString() : fallback;
}

ChatLogLine textLine(const QString& text)
{
    return { kAssistantText, { { QStringLiteral("text"), text } } };
}

// "HH:mm" of an instant in the zone; text that does not read as one is shown cut short.
QString shortClock(const QString& timestamp, const QTimeZone& zone)
{
    if (timestamp.isEmpty())
        return {};
    const QDateTime time = QDateTime::fromString(timestamp, Qt::ISODateWithMs);
    if (!time.isValid())
        return timestamp.left(16);
    return time.toTimeZone(zone).toString(QStringLiteral("HH:mm"));
}

} // namespace

QString ClientLogLines::timeEffectText(const QJsonObject& effect, const QTimeZone& zone)
{
    const QString activity = textOf(effect, QStringLiteral("activity"));
    const QString clock = shortClock(textOf(effect, QStringLiteral("timestamp")), zone);
    if (textOf(effect, QStringLiteral("kind"), QStringLiteral("started")) == QLatin1String("stopped"))
        return QStringLiteral("⏹ 结束%1 · %2").arg(activity.isEmpty() ? QString() : u' ' + activity, clock);
    return QStringLiteral("▶️ 开始 %1 · %2").arg(activity.isEmpty() ? QStringLiteral("活动") : activity, clock);
}

std::vector<ChatLogLine> ClientLogLines::unheard(
    const std::vector<AgentEvent>& events, std::size_t heard, const QTimeZone& zone)
{
    std::vector<ChatLogLine> lines;
    QString buffer;
    bool stopped = false;
    for (std::size_t index = 0; index < events.size() && !stopped; ++index) {
        // Lines of events the client heard were logged by the client itself.
        const bool missed = index >= heard;
        auto log = [&](ChatLogLine line) {
            if (missed)
                lines.push_back(std::move(line));
        };
        const QString& name = events[index].name;
        const QJsonObject& data = events[index].data;
        if (name == QLatin1String("text_delta")) {
            if (data.value(QStringLiteral("text")).isString())
                buffer += data.value(QStringLiteral("text")).toString();
        } else if (name == QLatin1String("tool_call_start") || name == QLatin1String("result")) {
            if (!buffer.isEmpty())
                log(textLine(buffer));
            buffer.clear();
            stopped = name == QLatin1String("result");
        } else if (name == QLatin1String("pending_card")) {
            log({ QStringLiteral("pending_emitted"),
                { { QStringLiteral("pending_id"), textOf(data, QStringLiteral("pending_id")) },
                    { QStringLiteral("domain"), textOf(data, QStringLiteral("domain"), QStringLiteral("finance")) },
                    { QStringLiteral("assistant_text"), buffer } } });
            buffer.clear();
        } else if (name == QLatin1String("query_result")) {
            log({ QStringLiteral("query_result"),
                { { QStringLiteral("domain"), textOf(data, QStringLiteral("domain"), QStringLiteral("finance")) },
                    { QStringLiteral("title"), textOf(data, QStringLiteral("title"), QStringLiteral("查询结果")) },
                    { QStringLiteral("summary"), textOf(data, QStringLiteral("summary")) },
                    { QStringLiteral("row_count"),
                        QString::number(data.value(QStringLiteral("rows")).toArray().size()) } } });
            buffer.clear();
        } else if (name == QLatin1String("proposed_delete")) {
            buffer.clear();
        } else if (name == QLatin1String("time_effect")) {
            // The effect's line goes in on its own; the text around it stays in the buffer.
            log(textLine(timeEffectText(data, zone)));
        } else if (name == QLatin1String("error") || name == QLatin1String("rate_limit")) {
            const QString message = name == QLatin1String("rate_limit")
                ? QStringLiteral("rate_limit")
                : textOf(data, QStringLiteral("message"), QStringLiteral("未知错误"));
            log({ QStringLiteral("error"), { { QStringLiteral("message"), message } } });
            buffer.clear();
            stopped = true;
        }
    }
    // A turn that ended without its closing event still keeps the text nobody heard.
    if (!stopped && heard < events.size() && !buffer.isEmpty())
        lines.push_back(textLine(buffer));
    return lines;
}

} // namespace lumen::agent

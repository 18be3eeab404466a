// TimeStore's relay path: one short sentence through mintbridge's "time" section.

#include "TimeStore.h"

#include "TimeCache.h"

#include "relay/DomainChatHandler.h"
#include "relay/MintbridgeClient.h"
#include "relay/TimeIntent.h"

namespace {

// Spaces and tabs only: a line break is part of what was typed.
QString trimmedOfBlanks(const QString& text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    const auto blank = [](QChar c) { return c == QLatin1Char(' ') || c == QLatin1Char('\t'); };
    while (begin < end && blank(text.at(begin)))
        ++begin;
    while (end > begin && blank(text.at(end - 1)))
        --end;
    return text.mid(begin, end - begin);
}

} // namespace

void TimeStore::setRelayError(const QString& message)
{
    LoadState next = state();
    next.errorMessage = message;
    setState(next);
}

QCoro::Task<bool> TimeStore::submitTimeIntent(QString text, std::optional<QString> model)
{
    QPointer<TimeStore> self(this);
    const QString sentence = trimmedOfBlanks(text);
    if (sentence.isEmpty())
        co_return false;

    MintbridgeClient& relay = relayClient ? *relayClient : MintbridgeClient::shared();
    std::optional<wire::RelayIntentResponse> response;
    std::optional<QString> relayFailure;
    try {
        response = co_await relay.intent(sentence, QStringLiteral("time"), model);
    } catch (...) {
        relayFailure = DomainChatHandler::messageFor(std::current_exception());
    }
    if (!self)
        co_return false;
    if (relayFailure) {
        setRelayError(QStringLiteral("mintbridge 失败:%1").arg(*relayFailure));
        co_return false;
    }

    const std::optional<TimeIntent> intent = TimeIntent::fromResponse(*response);
    if (!intent) {
        setRelayError(QStringLiteral("mintbridge 没返回 parsed"));
        co_return false;
    }
    if (intent->error) {
        setRelayError(QStringLiteral("无法识别:%1").arg(*intent->error));
        co_return false;
    }
    // The store's own day: the one exception to the household's Melbourne days.
    const QString today = todayString();
    LumenAPIClient* client = &api();

    switch (intent->action) {
    case TimeIntent::Action::start: {
        const QString activity = intent->activity.value_or(QString()).trimmed();
        if (activity.isEmpty()) {
            setRelayError(QStringLiteral("没解析出活动名"));
            co_return false;
        }
        const quint64 generation = beginCurrentMutation();
        wire::TimeStartRequest request;
        request.activity = activity;
        request.source = QStringLiteral("voice");
        try {
            co_await client->timeStart(request);
            wire::TimeCurrent current = co_await client->timeCurrent();
            if (!self)
                co_return false;
            if (isLatestCurrentChange(generation))
                setCurrent(std::move(current));
        } catch (...) {
            if (self) {
                applyTimeError(std::current_exception());
                endCurrentMutation();
            }
            co_return false;
        }
        break;
    }
    case TimeIntent::Action::stop: {
        const quint64 generation = beginCurrentMutation();
        const wire::TimeStopRequest request;
        try {
            co_await client->timeStop(request);
            wire::TimeCurrent current = co_await client->timeCurrent();
            if (!self)
                co_return false;
            if (isLatestCurrentChange(generation))
                setCurrent(std::move(current));
            std::vector<wire::TimeEntry> entries = co_await confirmedEntries(client);
            if (!self)
                co_return false;
            setEntries(std::move(entries));
        } catch (...) {
            if (self) {
                applyTimeError(std::current_exception());
                endCurrentMutation();
            }
            co_return false;
        }
        break;
    }
    case TimeIntent::Action::manual: {
        if (!intent->activity || !intent->date || !intent->startTime || !intent->endTime) {
            setRelayError(QStringLiteral("manual 字段不全(activity/date/start/end)"));
            co_return false;
        }
        wire::TimeManualRequest request;
        request.date = *intent->date;
        request.start_time = *intent->startTime;
        request.end_time = *intent->endTime;
        request.activity = *intent->activity;
        request.source = QStringLiteral("voice-backfill");
        try {
            co_await client->timeManual(request);
            std::vector<wire::TimeEntry> entries = co_await confirmedEntries(client);
            if (!self)
                co_return false;
            setEntries(std::move(entries));
        } catch (...) {
            if (self)
                applyTimeError(std::current_exception());
            co_return false;
        }
        m_cache->invalidateAround(request.date);
        clearError();
        bumpDirectTimeChangeVersion();
        saveSnapshotNow();
        co_return true;
    }
    case TimeIntent::Action::unknown:
        setRelayError(QStringLiteral("未识别动作"));
        co_return false;
    }

    // start and stop: the running activity changed today.
    m_cache->invalidateAround(today);
    clearError();
    bumpDirectTimeChangeVersion();
    endCurrentMutation();
    saveSnapshotNow();
    co_return true;
}

// VelmarOSChatStore: the turn machinery — the queue and its drainer, one turn against the
// agent stream, what each event does to the screen, and what goes to the log and the server.
#include "VelmarOSChatStore.h"

#include "AgentClient.h"
#include "ChatSyncEncoding.h"

#include "session/LumenAPIClient.h"
#include "session/WidgetCache.h"

#include <QSettings>
#include <QTimer>

namespace {

const QString kUserMessage = QStringLiteral("user_message");
const QString kAssistantText = QStringLiteral("assistant_text");
const QString kError = QStringLiteral("error");

const QString noOutputMessage = QStringLiteral("没识别出可记录的内容，换种说法再试一次");
const QString imagePrompt = QStringLiteral("这是我发的图片。如果是消费小票 / 账单 / "
                                           "转账截图，请识别金额、商家、日期记成一笔账（看不清就说缺什么）；"
                                           "如果是别的内容就简要说明。");
constexpr qsizetype subagentLabelLength = 60;
constexpr qsizetype subagentSummaryLength = 2000;

bool isAsciiDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

} // namespace

VelmarOSChatStore::VelmarOSChatStore(ChatStoreContext context, QString sessionId, bool replayFromJSONL, QObject* parent)
    : QObject(parent)
    , m_context(std::move(context))
    , m_sessionId(sessionId.isEmpty() ? defaultSessionId : std::move(sessionId))
    , m_writer(m_context.store.paths, m_sessionId, m_context.store.clock)
{
    Q_ASSERT(m_context.settings);
    if (!replayFromJSONL)
        return;
    if (auto cached = WidgetCache::loadSync<std::vector<wire::PendingItem>>(
            pendingSnapshotKey, m_context.store.paths.widgetCacheDir()))
        m_aggregatedPending = std::move(*cached);
    // On the next turn of the loop, so whoever made the store can connect to it first.
    QTimer::singleShot(0, this, [this] { startReplay(this); });
}

VelmarOSChatStore::~VelmarOSChatStore()
{
    // The turn's coroutine wakes to a closed stream and finds the store gone.
    if (m_currentStream)
        m_currentStream->cancel();
}

AgentClient& VelmarOSChatStore::agent() const
{
    return m_context.agent ? *m_context.agent : AgentClient::shared();
}

QString VelmarOSChatStore::nowText() const
{
    return ChatSyncEncoding::timestamp(now());
}

std::optional<QString> VelmarOSChatStore::agentCliSessionId() const
{
    const QVariant value = m_context.settings->value(cliSessionIdKey(m_sessionId));
    if (!value.isValid() || value.toString().isEmpty())
        return std::nullopt;
    return value.toString();
}

void VelmarOSChatStore::setAgentCliSessionId(const std::optional<QString>& value)
{
    if (value)
        m_context.settings->setValue(cliSessionIdKey(m_sessionId), *value);
    else
        m_context.settings->remove(cliSessionIdKey(m_sessionId));
}

void VelmarOSChatStore::seedResumeCliSessionId(const std::optional<QString>& id)
{
    if (id && !id->isEmpty())
        m_seededResumeCliSessionId = id;
}

// ---- submit and the queue ----

void VelmarOSChatStore::submit(QString text, std::vector<VisionImage> images, QList<QByteArray> thumbnailData,
    std::optional<QString> modelOverride)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty() && images.empty())
        return;
    const qsizetype imageCount = qsizetype(images.size());
    QString visible = trimmed;
    if (imageCount > 0) {
        visible = trimmed.isEmpty() ? QStringLiteral("📎 [%1 张图]").arg(imageCount)
                                    : QStringLiteral("%1 📎×%2").arg(trimmed).arg(imageCount);
    }

    const ChatEvent shown(QUuid::createUuid(), now(), ChatEvent::UserMessage { visible });
    if (imageCount > 0)
        m_messageThumbnails.insert(shown.id(), thumbnailData);
    appendEvent(shown);
    ++m_newTurnScrollAnchor;
    emit newTurnScrollAnchorChanged();
    persistEvent(kUserMessage, { { QStringLiteral("text"), visible } }, true);
    emit submitted(visible);

    m_submissionQueue.push_back({ trimmed.isEmpty() ? imagePrompt : trimmed, std::move(images), modelOverride });
    emit queueChanged();
    if (!m_drainerRunning) {
        m_drainerRunning = true;
        drainSubmissionQueue(this, ++m_drainerGeneration);
    }
}

QCoro::Task<void> VelmarOSChatStore::drainSubmissionQueue(QPointer<VelmarOSChatStore> self, quint64 drainer)
{
    try {
        while (self && self->m_drainerGeneration == drainer && !self->m_submissionQueue.empty()) {
            QueuedSubmission submission = std::move(self->m_submissionQueue.front());
            self->m_submissionQueue.pop_front();
            emit self->queueChanged();
            co_await runOneTurn(self, std::move(submission));
        }
    } catch (...) {
        // runOneTurn never throws; a failure here must still free the drainer below.
    }
    if (self && self->m_drainerGeneration == drainer)
        self->m_drainerRunning = false;
}

QCoro::Task<void> VelmarOSChatStore::runOneTurn(QPointer<VelmarOSChatStore> self, QueuedSubmission submission)
{
    if (!self)
        co_return;
    const quint64 generation = ++self->m_turnGeneration;
    self->setInFlight(self->m_inFlight + 1);
    self->setTurnState(true, self->m_currentToolCall, 0);
    self->setToolTrail({});
    self->setStreamingText(QString());

    co_await submitViaAgentBackend(self, generation, std::move(submission));
    if (!self)
        co_return;
    // A turn started meanwhile owns the shared state now; this one leaves it alone.
    if (self->m_turnGeneration == generation) {
        self->setInFlight(std::max(0, self->m_inFlight - 1));
        self->setTurnState(false, std::nullopt, 0);
        self->setStreamingText(QString());
        self->m_currentStream = nullptr;
    }
    emit self->turnFinished();
}

std::optional<QString> VelmarOSChatStore::agentModelFor(const std::optional<QString>& modelOverride)
{
    if (!modelOverride)
        return std::nullopt;
    if (*modelOverride == QLatin1String("haiku"))
        return QStringLiteral("claude-haiku-4-5");
    if (*modelOverride == QLatin1String("sonnet"))
        return std::nullopt;
    if (*modelOverride == QLatin1String("opus"))
        return QStringLiteral("claude-opus-4-8");
    return modelOverride;
}

QCoro::Task<void> VelmarOSChatStore::submitViaAgentBackend(
    QPointer<VelmarOSChatStore> self, quint64 generation, QueuedSubmission submission)
{
    try {
        const std::optional<QString> model = agentModelFor(submission.modelOverride);
        const std::optional<QString> resume
            = self->m_seededResumeCliSessionId ? self->m_seededResumeCliSessionId : self->agentCliSessionId();
        std::unique_ptr<AgentStream> stream = self->agent().streamAgentChat(
            submission.text, resume, model, submission.images, std::optional<QString>(self->m_sessionId));
        self->m_currentStream = stream.get();

        TurnLocals turn;
        turn.trimmed = submission.text;
        bool stopped = false;
        for (;;) {
            std::optional<AgentEvent> event = co_await stream->next();
            // Gone, cancelled, or overtaken: whatever is left of this stream is not shown.
            if (!self || generation <= self->m_cancelledThrough || generation != self->m_turnGeneration)
                co_return;
            if (!event)
                break;
            self->persistAgentEvent(*event, turn);
            const std::size_t before = self->m_events.size();
            const Flow flow = self->applyAgentEvent(*event, turn);
            if (self->m_events.size() > before) {
                if (const auto* text = self->m_events.back().as<ChatEvent::AssistantText>())
                    self->persistEvent(kAssistantText, { { QStringLiteral("text"), text->text } }, true);
            }
            if (flow == Flow::Stop) {
                stopped = true;
                break;
            }
        }
        if (!stopped) {
            // A quiet end (a cut stream): the half answer goes; the server's copy brings it.
            self->setStreamingText(QString());
            co_return;
        }
        if (!turn.textBuffer.isEmpty()) {
            self->appendEvent(
                ChatEvent(QUuid::createUuid(), self->now(), ChatEvent::AssistantText { turn.textBuffer }));
            self->persistEvent(kAssistantText, { { QStringLiteral("text"), turn.textBuffer } }, true);
            self->setStreamingText(QString());
        }
        if (!turn.hadAnyOutput)
            self->appendEvent(ChatEvent(QUuid::createUuid(), self->now(), ChatEvent::ErrorMessage { noOutputMessage }));
    } catch (...) {
        // The stream reports its failures as events; nothing else here may end the drainer.
        if (self)
            self->setStreamingText(QString());
    }
}

// ---- one event ----

void VelmarOSChatStore::persistAgentEvent(const AgentEvent& event, const TurnLocals& turn)
{
    switch (event.kind()) {
    case AgentEvent::Kind::ToolCallStart: {
        const auto* e = event.as<AgentEvent::ToolCallStart>();
        persistEvent(QStringLiteral("tool_call"),
            { { QStringLiteral("tool"), e->tool }, { QStringLiteral("tool_use_id"), e->toolUseId } }, true);
        break;
    }
    case AgentEvent::Kind::ToolResult: {
        const auto* e = event.as<AgentEvent::ToolResult>();
        persistEvent(QStringLiteral("tool_result"),
            { { QStringLiteral("tool_use_id"), e->toolUseId },
                { QStringLiteral("ok"), e->ok ? QStringLiteral("true") : QStringLiteral("false") },
                { QStringLiteral("preview"), e->preview } },
            true);
        break;
    }
    case AgentEvent::Kind::PendingCard: {
        const auto* e = event.as<AgentEvent::PendingCard>();
        persistEvent(QStringLiteral("pending_emitted"),
            { { QStringLiteral("pending_id"), e->pendingId }, { QStringLiteral("domain"), e->domain },
                { QStringLiteral("assistant_text"), turn.textBuffer } },
            true);
        break;
    }
    case AgentEvent::Kind::QueryResult: {
        const auto* e = event.as<QueryResultBlock>();
        persistEvent(QStringLiteral("query_result"),
            { { QStringLiteral("domain"), e->domain }, { QStringLiteral("title"), e->title },
                { QStringLiteral("summary"), e->summary },
                { QStringLiteral("row_count"), QString::number(qsizetype(e->rows.size())) } },
            true);
        break;
    }
    case AgentEvent::Kind::RateLimited:
        persistEvent(kError, { { QStringLiteral("message"), QStringLiteral("rate_limit") } }, true);
        break;
    case AgentEvent::Kind::Error:
        persistEvent(kError, { { QStringLiteral("message"), event.as<AgentEvent::Error>()->message } }, true);
        break;
    default:
        break;
    }
}

void VelmarOSChatStore::flush(TurnLocals& turn)
{
    if (turn.textBuffer.isEmpty())
        return;
    appendEvent(ChatEvent(QUuid::createUuid(), now(), ChatEvent::AssistantText { turn.textBuffer }));
    turn.textBuffer.clear();
    setStreamingText(QString());
}

VelmarOSChatStore::Flow VelmarOSChatStore::applyAgentEvent(const AgentEvent& event, TurnLocals& turn)
{
    switch (event.kind()) {
    case AgentEvent::Kind::Session: {
        const auto* e = event.as<AgentEvent::Session>();
        if (e->sessionId) {
            setAgentCliSessionId(e->sessionId);
            wire::ChatSessionPatch patch;
            patch.cli_session_id = e->sessionId;
            patchSessionInBackground(std::move(patch));
        }
        return Flow::Continue;
    }
    case AgentEvent::Kind::TextDelta: {
        const QString& text = event.as<AgentEvent::TextDelta>()->text;
        turn.textBuffer += text;
        setStreamingText(m_streamingText + text);
        turn.hadAnyOutput = true;
        return Flow::Continue;
    }
    case AgentEvent::Kind::ToolCallStart: {
        const auto* e = event.as<AgentEvent::ToolCallStart>();
        const int iteration = m_currentLoopIteration + 1;
        setTurnState(m_agentLoopActive, e->tool, iteration);
        flush(turn);
        std::vector<ToolTrailEntry> trail = m_toolTrail;
        trail.push_back({ QUuid::createUuid(), iteration, e->toolUseId, e->tool, ToolTrailEntry::Status::running, now(),
            std::nullopt, std::nullopt });
        setToolTrail(std::move(trail));
        if (e->tool == QLatin1String("spawn_subagent")) {
            const auto text = [&](const QString& key) -> std::optional<QString> {
                const auto found = e->input.find(key);
                if (found == e->input.end())
                    return std::nullopt;
                return found->second.stringValue();
            };
            std::vector<SubagentRun> runs = m_subagentRuns;
            runs.push_back({ QUuid::createUuid(), m_sessionId, e->toolUseId,
                text(QStringLiteral("kind")).value_or(QStringLiteral("cc")),
                text(QStringLiteral("task")).value_or(QString()).left(subagentLabelLength),
                SubagentRun::Status::running, now(), std::nullopt, std::nullopt, std::nullopt });
            setSubagentRuns(std::move(runs));
        }
        return Flow::Continue;
    }
    case AgentEvent::Kind::ToolResult: {
        const auto* e = event.as<AgentEvent::ToolResult>();
        setTurnState(m_agentLoopActive, std::nullopt, m_currentLoopIteration);
        const std::optional<QString> preview = e->preview.isEmpty() ? std::nullopt : std::optional(e->preview);
        std::vector<ToolTrailEntry> trail = m_toolTrail;
        for (auto it = trail.rbegin(); it != trail.rend(); ++it) {
            if (it->toolUseId != e->toolUseId)
                continue;
            it->endedAt = now();
            it->status = e->ok ? ToolTrailEntry::Status::ok : ToolTrailEntry::Status::error;
            it->resultPreview = preview;
            break;
        }
        setToolTrail(std::move(trail));
        std::vector<SubagentRun> runs = m_subagentRuns;
        for (auto it = runs.rbegin(); it != runs.rend(); ++it) {
            if (it->toolUseId != e->toolUseId)
                continue;
            it->endedAt = now();
            it->status = e->ok ? SubagentRun::Status::done : SubagentRun::Status::failed;
            it->outputSummary = preview ? std::optional(preview->left(subagentSummaryLength)) : std::nullopt;
            it->costUSD = parseCostUSD(e->preview);
            break;
        }
        setSubagentRuns(std::move(runs));
        return Flow::Continue;
    }
    case AgentEvent::Kind::PendingCard: {
        const auto* e = event.as<AgentEvent::PendingCard>();
        turn.hadAnyOutput = true;
        wire::PendingItem item;
        item.id = e->pendingId;
        item.domain = e->domain;
        item.payload = e->payload;
        item.payload.try_emplace(QStringLiteral("_kind"), e->kind);
        item.source_session = m_sessionId;
        item.source_text = e->sourceText.isEmpty() ? turn.trimmed : e->sourceText;
        item.status = QStringLiteral("pending");
        item.created_at = now().toUTC().toString(Qt::ISODate);
        const QString said = std::exchange(turn.textBuffer, QString());
        setStreamingText(QString());
        appendEvent(ChatEvent(QUuid::createUuid(), now(), ChatEvent::PendingEmitted { item, said, *item.source_text }));
        std::vector<wire::PendingItem> pending = m_aggregatedPending;
        pending.insert(pending.begin(), item);
        setAggregatedPending(std::move(pending));
        return Flow::Continue;
    }
    case AgentEvent::Kind::ProposedDelete: {
        const auto* e = event.as<AgentEvent::ProposedDelete>();
        turn.hadAnyOutput = true;
        flush(turn);
        appendEvent(ChatEvent(QUuid::createUuid(), now(),
            ChatEvent::ProposedDelete {
                e->domain, e->targetId, e->preview, e->deleteEndpoint, ProposedDeleteStatus::pending }));
        return Flow::Continue;
    }
    case AgentEvent::Kind::QueryResult: {
        turn.hadAnyOutput = true;
        flush(turn);
        appendEvent(ChatEvent(QUuid::createUuid(), now(), ChatEvent::QueryResult { *event.as<QueryResultBlock>() }));
        return Flow::Continue;
    }
    case AgentEvent::Kind::TimeEffect: {
        const auto* e = event.as<AgentEvent::TimeEffect>();
        turn.hadAnyOutput = true;
        const bool stopped = e->kind == QLatin1String("stopped");
        const TimeActivityEffect effect {
            stopped ? TimeActivityEffect::Kind::Stopped : TimeActivityEffect::Kind::Started, e->activity, e->timestamp
        };
        if (onTimeEffect)
            onTimeEffect(effect);
        const QString clock = shortClock(e->timestamp);
        QString text;
        if (stopped) {
            const QString activity
                = e->activity && !e->activity->isEmpty() ? QLatin1Char(' ') + *e->activity : QString();
            text = QStringLiteral("⏹ 结束%1 · %2").arg(activity, clock);
            runTimeFullRefresh();
        } else {
            const QString activity = e->activity && !e->activity->isEmpty() ? *e->activity : QStringLiteral("活动");
            text = QStringLiteral("▶️ 开始 %1 · %2").arg(activity, clock);
        }
        appendEvent(ChatEvent(QUuid::createUuid(), now(), ChatEvent::AssistantText { text }));
        bumpTimeActivity();
        return Flow::Continue;
    }
    case AgentEvent::Kind::RateLimited: {
        const auto* e = event.as<AgentEvent::RateLimited>();
        flush(turn);
        const QString message = e->retryAfterSec ? QStringLiteral("速率限制，%1s 后重试").arg(*e->retryAfterSec)
                                                 : QStringLiteral("服务器繁忙，稍等再试");
        appendEvent(ChatEvent(QUuid::createUuid(), now(), ChatEvent::ErrorMessage { message }));
        turn.hadAnyOutput = true;
        return Flow::Stop;
    }
    case AgentEvent::Kind::Error: {
        const auto* e = event.as<AgentEvent::Error>();
        flush(turn);
        appendEvent(ChatEvent(QUuid::createUuid(), now(), ChatEvent::ErrorMessage { e->message }));
        if (e->code == QLatin1String("unauthorized") && onAuthFailure)
            onAuthFailure();
        turn.hadAnyOutput = true;
        return Flow::Stop;
    }
    case AgentEvent::Kind::Result: {
        const auto* e = event.as<AgentEvent::Result>();
        if (e->iterations)
            setTurnState(m_agentLoopActive, m_currentToolCall, int(*e->iterations));
        flush(turn);
        setStreamingText(QString());
        return Flow::Stop;
    }
    }
    return Flow::Continue;
}

std::optional<double> VelmarOSChatStore::parseCostUSD(const QString& text)
{
    const qsizetype length = text.size();
    for (qsizetype i = 0; i < length; ++i) {
        if (text[i] != QLatin1Char('$') || i + 1 >= length)
            continue;
        const QChar first = text[i + 1];
        if (!isAsciiDigit(first) && first != QLatin1Char('.'))
            continue;
        qsizetype end = i + 1;
        bool dot = false;
        while (end < length) {
            const QChar c = text[end];
            if (isAsciiDigit(c)) {
                ++end;
            } else if (c == QLatin1Char('.') && !dot) {
                dot = true;
                ++end;
            } else {
                break;
            }
        }
        bool ok = false;
        const double value = text.mid(i + 1, end - i - 1).toDouble(&ok);
        if (ok && value > 0)
            return value;
    }
    return std::nullopt;
}

QString VelmarOSChatStore::shortClock(const std::optional<QString>& timestamp)
{
    if (!timestamp || timestamp->isEmpty())
        return {};
    const QDateTime parsed = ChatSyncEncoding::parseTimestamp(*timestamp);
    if (!parsed.isValid())
        return timestamp->left(16);
    return parsed.toLocalTime().toString(QStringLiteral("HH:mm"));
}

// ---- log and server ----

void VelmarOSChatStore::persistEvent(const QString& kind, const QJsonObject& fields, bool syncToServer)
{
    QJsonObject record { { QStringLiteral("type"), kind }, { QStringLiteral("ts"), nowText() },
        { QStringLiteral("id"), ChatSyncEncoding::uuidText(QUuid::createUuid()) } };
    for (auto it = fields.begin(); it != fields.end(); ++it)
        record.insert(it.key(), it.value());
    m_writer.append(record);
    if (!syncToServer || !ChatSyncEncoding::isSyncableMessageKind(kind))
        return;
    postInBackground({ record.value(QStringLiteral("id")).toString(), ChatSyncEncoding::roleFor(kind), kind,
        ChatSyncEncoding::canonicalJSON(record), record.value(QStringLiteral("ts")).toString() });
}

void VelmarOSChatStore::beginBackgroundWrite()
{
    ++m_backgroundWrites;
    emit backgroundWritesChanged();
}

void VelmarOSChatStore::endBackgroundWrite()
{
    --m_backgroundWrites;
    emit backgroundWritesChanged();
}

void VelmarOSChatStore::postInBackground(wire::ChatMessageCreate message)
{
    beginBackgroundWrite();
    postMessage(this, &api(), m_sessionId, std::move(message));
}

QCoro::Task<void> VelmarOSChatStore::postMessage(
    QPointer<VelmarOSChatStore> self, LumenAPIClient* api, QString sessionId, wire::ChatMessageCreate message)
{
    try {
        co_await api->chatPostMessage(sessionId, message);
    } catch (...) {
        // Best effort: the merge pushes up what the server lacks, and migration the rest.
    }
    if (self)
        self->endBackgroundWrite();
}

void VelmarOSChatStore::patchSessionInBackground(wire::ChatSessionPatch patch)
{
    beginBackgroundWrite();
    patchSession(this, &api(), m_sessionId, std::move(patch));
}

QCoro::Task<void> VelmarOSChatStore::patchSession(
    QPointer<VelmarOSChatStore> self, LumenAPIClient* api, QString sessionId, wire::ChatSessionPatch patch)
{
    try {
        co_await api->chatUpdateSession(sessionId, patch);
    } catch (...) {
    }
    if (self)
        self->endBackgroundWrite();
}

void VelmarOSChatStore::runTimeFullRefresh()
{
    if (onTimeFullRefresh)
        awaitTimeFullRefresh(this);
}

QCoro::Task<void> VelmarOSChatStore::awaitTimeFullRefresh(QPointer<VelmarOSChatStore> self)
{
    // The callback is copied into this frame, so its captures outlive the await.
    const std::function<QCoro::Task<void>()> refresh = self->onTimeFullRefresh;
    try {
        co_await refresh();
    } catch (...) {
    }
}

// ---- cancel and clear ----

void VelmarOSChatStore::cancelCurrentTurn()
{
    m_cancelledThrough = m_turnGeneration;
    if (m_currentStream)
        m_currentStream->cancel();
    m_currentStream = nullptr;
    ++m_drainerGeneration;
    m_drainerRunning = false;
    if (!m_submissionQueue.empty()) {
        m_submissionQueue.clear();
        emit queueChanged();
    }
    setTurnState(false, std::nullopt, 0);
    setStreamingText(QString());
    setInFlight(0);
}

QCoro::Task<void> VelmarOSChatStore::clearChatHistory()
{
    cancelCurrentTurn();
    setEvents({});
    m_messageThumbnails.clear();
    setSubagentRuns({});
    setAgentCliSessionId(std::nullopt);
    ++m_clearsInFlight;
    clearServerMessages(this, &api(), m_sessionId);
    m_writer.clearAndReset();
    co_return;
}

QCoro::Task<void> VelmarOSChatStore::clearServerMessages(
    QPointer<VelmarOSChatStore> self, LumenAPIClient* api, QString id)
{
    try {
        co_await api->chatClearMessages(id);
    } catch (...) {
    }
    if (self)
        --self->m_clearsInFlight;
}

// ---- guarded setters ----

void VelmarOSChatStore::setEvents(std::vector<ChatEvent> value)
{
    if (m_events == value)
        return;
    m_events = std::move(value);
    emit eventsChanged();
}

void VelmarOSChatStore::appendEvent(ChatEvent event)
{
    m_events.push_back(std::move(event));
    emit eventsChanged();
}

void VelmarOSChatStore::setAggregatedPending(std::vector<wire::PendingItem> value)
{
    if (m_aggregatedPending == value)
        return;
    m_aggregatedPending = std::move(value);
    emit aggregatedPendingChanged();
}

void VelmarOSChatStore::setInFlight(int value)
{
    if (m_inFlight == value)
        return;
    m_inFlight = value;
    emit inFlightChanged();
}

void VelmarOSChatStore::setTurnState(bool active, std::optional<QString> toolCall, int iteration)
{
    if (m_agentLoopActive == active && m_currentToolCall == toolCall && m_currentLoopIteration == iteration)
        return;
    m_agentLoopActive = active;
    m_currentToolCall = std::move(toolCall);
    m_currentLoopIteration = iteration;
    emit turnStateChanged();
}

void VelmarOSChatStore::setStreamingText(QString value)
{
    if (m_streamingText == value)
        return;
    m_streamingText = std::move(value);
    emit streamingTextChanged();
}

void VelmarOSChatStore::setToolTrail(std::vector<ToolTrailEntry> value)
{
    if (m_toolTrail == value)
        return;
    m_toolTrail = std::move(value);
    emit toolTrailChanged();
}

void VelmarOSChatStore::setSubagentRuns(std::vector<SubagentRun> value)
{
    if (m_subagentRuns == value)
        return;
    m_subagentRuns = std::move(value);
    emit subagentRunsChanged();
}

void VelmarOSChatStore::setLoadingHistory(bool value)
{
    if (m_isLoadingHistory == value)
        return;
    m_isLoadingHistory = value;
    emit isLoadingHistoryChanged();
}

void VelmarOSChatStore::bumpTimeActivity()
{
    ++m_timeActivityChanged;
    emit timeActivityChangedChanged();
}

void VelmarOSChatStore::bumpFinanceActivity()
{
    ++m_financeActivityChanged;
    emit financeActivityChangedChanged();
}

void VelmarOSChatStore::bumpJumpToPendingTick()
{
    ++m_jumpToPendingTick;
    emit jumpToPendingTickChanged();
}

// ---- for the screens ----

QVariantList VelmarOSChatStore::eventsForView() const
{
    QVariantList out;
    out.reserve(qsizetype(m_events.size()));
    for (const ChatEvent& event : m_events)
        out.append(event.toVariantMap());
    return out;
}

QVariantList VelmarOSChatStore::aggregatedPendingForView() const
{
    QVariantList out;
    for (const wire::PendingItem& item : m_aggregatedPending)
        out.append(wire::toJson(item).toObject().toVariantMap());
    return out;
}

QVariantList VelmarOSChatStore::toolTrailForView() const
{
    QVariantList out;
    for (const ToolTrailEntry& entry : m_toolTrail)
        out.append(entry.toVariantMap());
    return out;
}

QVariantList VelmarOSChatStore::subagentRunsForView() const
{
    QVariantList out;
    for (const SubagentRun& run : m_subagentRuns)
        out.append(run.toVariantMap());
    return out;
}

void VelmarOSChatStore::submitText(const QString& text, const QString& modelOverride)
{
    submit(text, {}, {}, modelOverride.isEmpty() ? std::nullopt : std::optional(modelOverride));
}

void VelmarOSChatStore::submitWithImages(const QString& text, const QVariantList& images, const QString& modelOverride)
{
    std::vector<VisionImage> vision;
    QList<QByteArray> thumbnails;
    for (const QVariant& entry : images) {
        const QVariantMap map = entry.toMap();
        vision.push_back(
            { map.value(QStringLiteral("mediaType")).toString(), map.value(QStringLiteral("base64")).toString() });
        if (map.contains(QStringLiteral("thumbnail")))
            thumbnails.append(map.value(QStringLiteral("thumbnail")).toByteArray());
    }
    submit(text, std::move(vision), std::move(thumbnails),
        modelOverride.isEmpty() ? std::nullopt : std::optional(modelOverride));
}

void VelmarOSChatStore::clearHistory()
{
    clearChatHistory();
}

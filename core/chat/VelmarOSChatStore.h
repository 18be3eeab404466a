#pragma once

#include "ChatEvent.h"
#include "ChatStoreContext.h"
#include "ChatTurnRecords.h"
#include "SessionJSONLWriter.h"

#include "chat/ChatSessionModels.h"
#include "chat/PendingModels.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <qcoro/qcorotask.h>

#include <deque>
#include <exception>
#include <functional>
#include <optional>
#include <vector>

class AgentClient;
class AgentStream;
class LumenAPIClient;
struct LoadError;

// One chat session as the user sees it: the events on screen, the running turn with its
// tool trail and subagents, the sentences waiting for their turn, and the cards waiting for
// a yes or no. Everything said goes to the local log; what a reader needs also goes to the
// server, so that another machine shows the same conversation. Turns run one at a time, in
// the order they were typed. (Turns: VelmarOSChatStore.cpp; confirmations:
// VelmarOSChatStorePending.cpp; replay and merge: VelmarOSChatStoreHistory.cpp.)

class VelmarOSChatStore : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by SessionsStore")
    Q_PROPERTY(QString sessionId READ sessionId CONSTANT)
    Q_PROPERTY(QVariantList events READ eventsForView NOTIFY eventsChanged)
    Q_PROPERTY(QVariantList aggregatedPending READ aggregatedPendingForView NOTIFY aggregatedPendingChanged)
    Q_PROPERTY(QString firstPendingEventID READ firstPendingEventIDText NOTIFY aggregatedPendingChanged)
    Q_PROPERTY(int jumpToPendingTick READ jumpToPendingTick NOTIFY jumpToPendingTickChanged)
    Q_PROPERTY(int inFlight READ inFlight NOTIFY inFlightChanged)
    Q_PROPERTY(int timeActivityChanged READ timeActivityChanged NOTIFY timeActivityChangedChanged)
    Q_PROPERTY(int financeActivityChanged READ financeActivityChanged NOTIFY financeActivityChangedChanged)
    Q_PROPERTY(bool agentLoopActive READ agentLoopActive NOTIFY turnStateChanged)
    Q_PROPERTY(QString currentToolCall READ currentToolCallText NOTIFY turnStateChanged)
    Q_PROPERTY(int currentLoopIteration READ currentLoopIteration NOTIFY turnStateChanged)
    Q_PROPERTY(QString streamingText READ streamingText NOTIFY streamingTextChanged)
    Q_PROPERTY(QVariantList toolTrail READ toolTrailForView NOTIFY toolTrailChanged)
    Q_PROPERTY(QVariantList subagentRuns READ subagentRunsForView NOTIFY subagentRunsChanged)
    Q_PROPERTY(int queuedCount READ queuedCount NOTIFY queueChanged)
    Q_PROPERTY(int newTurnScrollAnchor READ newTurnScrollAnchor NOTIFY newTurnScrollAnchorChanged)
    Q_PROPERTY(int historyDidLoad READ historyDidLoad NOTIFY historyDidLoadChanged)
    Q_PROPERTY(bool isLoadingHistory READ isLoadingHistory NOTIFY isLoadingHistoryChanged)

public:
    static inline const QString pendingSnapshotKey = QStringLiteral("pending-aggregated");
    static inline const QString defaultSessionId = QStringLiteral("default");
    // The merge reads at most this many of the server's newest messages.
    static constexpr int serverHistoryLimit = 400;
    static QString cliSessionIdKey(const QString& sessionId)
    {
        return QStringLiteral("_agentCliSessionId_") + sessionId;
    }

    // An empty `sessionId` is "default". With `replayFromJSONL`, the cards waiting come from
    // the snapshot at once, then the log and the server's copy are replayed and the list of
    // cards is fetched.
    VelmarOSChatStore(
        ChatStoreContext context, QString sessionId, bool replayFromJSONL = false, QObject* parent = nullptr);
    ~VelmarOSChatStore() override;

    // ---- set by the shell when the chat boots ----
    std::function<void(const TimeActivityEffect&)> onTimeEffect;
    std::function<void()> onAuthFailure;
    std::function<QCoro::Task<void>()> onTimeFullRefresh;

    // ---- state ----
    const QString& sessionId() const { return m_sessionId; }
    const std::vector<ChatEvent>& events() const { return m_events; }
    const std::vector<wire::PendingItem>& aggregatedPending() const { return m_aggregatedPending; }
    const QSet<QString>& inFlightTerminal() const { return m_inFlightTerminal; }
    int jumpToPendingTick() const { return m_jumpToPendingTick; }
    int inFlight() const { return m_inFlight; }
    int timeActivityChanged() const { return m_timeActivityChanged; }
    int financeActivityChanged() const { return m_financeActivityChanged; }
    bool agentLoopActive() const { return m_agentLoopActive; }
    const std::optional<QString>& currentToolCall() const { return m_currentToolCall; }
    int currentLoopIteration() const { return m_currentLoopIteration; }
    const QString& streamingText() const { return m_streamingText; }
    const std::vector<ToolTrailEntry>& toolTrail() const { return m_toolTrail; }
    const std::vector<SubagentRun>& subagentRuns() const { return m_subagentRuns; }
    const std::deque<QueuedSubmission>& submissionQueue() const { return m_submissionQueue; }
    int queuedCount() const { return int(m_submissionQueue.size()); }
    int newTurnScrollAnchor() const { return m_newTurnScrollAnchor; }
    int historyDidLoad() const { return m_historyDidLoad; }
    bool isLoadingHistory() const { return m_isLoadingHistory; }
    quint64 turnGeneration() const { return m_turnGeneration; }
    bool hasDrainer() const { return m_drainerRunning; }
    const QString& lastReplayRemoteSig() const { return m_lastReplayRemoteSig; }
    const std::optional<QString>& seededResumeCliSessionId() const { return m_seededResumeCliSessionId; }
    QList<QByteArray> thumbnails(const QUuid& eventId) const { return m_messageThumbnails.value(eventId); }
    SessionJSONLWriter& writer() { return m_writer; }
    // Log posts, card fetches and session patches still on their way to the server.
    int backgroundWrites() const { return m_backgroundWrites; }

    // The agent's resume id kept for this session in the user defaults.
    std::optional<QString> agentCliSessionId() const;
    void setAgentCliSessionId(const std::optional<QString>& value);

    // ---- turns (VelmarOSChatStore.cpp) ----
    // Shows the sentence, logs it, posts it, and queues it; returns at once.
    void submit(QString text, std::vector<VisionImage> images = {}, QList<QByteArray> thumbnailData = {},
        std::optional<QString> modelOverride = std::nullopt);
    // Ends the running turn quietly and drops the queue; what is on screen stays.
    Q_INVOKABLE void cancelCurrentTurn();
    QCoro::Task<void> clearChatHistory();
    // A resume id learnt from the server; it wins over the local one. Empty changes nothing.
    void seedResumeCliSessionId(const std::optional<QString>& id);

    // The model id sent for a tier word: haiku and opus by name, sonnet as the server's default.
    static std::optional<QString> agentModelFor(const std::optional<QString>& modelOverride);
    // The first positive dollar amount in a tool's preview.
    static std::optional<double> parseCostUSD(const QString& text);
    // "HH:mm" of an ISO 8601 instant in the local zone; the first 16 characters of what does
    // not read; empty for nothing.
    static QString shortClock(const std::optional<QString>& timestamp);

    // ---- confirmations (VelmarOSChatStorePending.cpp) ----
    // Ids and items by value: a caller may hand in a reference into this store's own events.
    void confirm(QString pendingId);
    void reject(QString pendingId);
    // The cards waiting, from the server; the ones being confirmed right now stay away.
    QCoro::Task<void> refreshAggregated();
    // An item saved by the edit sheet replaces its card and its entry in the list.
    void applyEditedPending(wire::PendingItem item);
    void confirmProposedDelete(QUuid eventId);
    void cancelProposedDelete(QUuid eventId);
    // The oldest card still waiting, where the screen jumps on jumpToPendingTick.
    std::optional<QUuid> firstPendingEventID() const;
    // The line shown after a confirm: "✓ 已记 餐饮 A$50.00" ...
    static QString commitConfirmation(const wire::PendingItem& item);
    void bumpJumpToPendingTick();

    // ---- history (VelmarOSChatStoreHistory.cpp) ----
    // The local log on screen, then the server's copy merged in.
    QCoro::Task<void> replayHistory();
    // Merges the server's copy when it changed and no turn is running.
    QCoro::Task<void> replayFromServer();
    QCoro::Task<void> syncMessagesIfChanged() { return replayFromServer(); }
    // The local log as server messages (seq 0), in file order.
    std::vector<wire::ChatMessageDTO> localMessageDTOs() const;

    // ---- for the screens ----
    QVariantList eventsForView() const;
    QVariantList aggregatedPendingForView() const;
    QString firstPendingEventIDText() const;
    QString currentToolCallText() const { return m_currentToolCall.value_or(QString()); }
    QVariantList toolTrailForView() const;
    QVariantList subagentRunsForView() const;
    // An empty override is the session's own model.
    Q_INVOKABLE void submitText(const QString& text, const QString& modelOverride = {});
    // Each image: {"mediaType", "base64", "thumbnail" (bytes, optional)}.
    Q_INVOKABLE void submitWithImages(
        const QString& text, const QVariantList& images, const QString& modelOverride = {});
    Q_INVOKABLE void confirmPending(const QString& pendingId) { confirm(pendingId); }
    Q_INVOKABLE void rejectPending(const QString& pendingId) { reject(pendingId); }
    Q_INVOKABLE void confirmDelete(const QString& eventId);
    Q_INVOKABLE void cancelDelete(const QString& eventId);
    Q_INVOKABLE void applyEditedPendingItem(const QVariantMap& item);
    Q_INVOKABLE void reloadPending();
    Q_INVOKABLE void syncNow();
    Q_INVOKABLE void clearHistory();
    Q_INVOKABLE void jumpToPending() { bumpJumpToPendingTick(); }

signals:
    void eventsChanged();
    void aggregatedPendingChanged();
    void jumpToPendingTickChanged();
    void inFlightChanged();
    void timeActivityChangedChanged();
    void financeActivityChangedChanged();
    void turnStateChanged();
    void streamingTextChanged();
    void toolTrailChanged();
    void subagentRunsChanged();
    void queueChanged();
    void newTurnScrollAnchorChanged();
    void historyDidLoadChanged();
    void isLoadingHistoryChanged();
    // A turn ended, whatever the way (also a cancelled one).
    void turnFinished();
    void backgroundWritesChanged();
    // The user said something (the visible text); the session list notes it.
    void submitted(const QString& text);

private:
    enum class Flow { Continue, Stop };
    struct TurnLocals {
        QString textBuffer;
        bool hadAnyOutput = false;
        QString trimmed;
    };

    LumenAPIClient& api() const { return *m_context.store.api; }
    AgentClient& agent() const;
    QDateTime now() const { return m_context.store.clock->now(); }
    QString nowText() const;

    // ---- turns ----
    static QCoro::Task<void> drainSubmissionQueue(QPointer<VelmarOSChatStore> self, quint64 drainer);
    static QCoro::Task<void> runOneTurn(QPointer<VelmarOSChatStore> self, QueuedSubmission submission);
    static QCoro::Task<void> submitViaAgentBackend(
        QPointer<VelmarOSChatStore> self, quint64 generation, QueuedSubmission submission);
    Flow applyAgentEvent(const AgentEvent& event, TurnLocals& turn);
    void persistAgentEvent(const AgentEvent& event, const TurnLocals& turn);
    void flush(TurnLocals& turn);
    // Logs one record, and posts it to the server when its kind goes there.
    void persistEvent(const QString& kind, const QJsonObject& fields, bool syncToServer);
    void postInBackground(wire::ChatMessageCreate message);
    void patchSessionInBackground(wire::ChatSessionPatch patch);
    void runTimeFullRefresh();
    static QCoro::Task<void> postMessage(
        QPointer<VelmarOSChatStore> self, LumenAPIClient* api, QString sessionId, wire::ChatMessageCreate message);
    static QCoro::Task<void> patchSession(
        QPointer<VelmarOSChatStore> self, LumenAPIClient* api, QString sessionId, wire::ChatSessionPatch patch);
    static QCoro::Task<void> awaitTimeFullRefresh(QPointer<VelmarOSChatStore> self);
    static QCoro::Task<void> clearServerMessages(QPointer<VelmarOSChatStore> self, LumenAPIClient* api, QString id);
    void beginBackgroundWrite();
    void endBackgroundWrite();

    // ---- confirmations ----
    std::optional<wire::PendingItem> extractEmbeddedPending(const QString& id) const;
    // The card to confirm or reject: the waiting list first, then the cards on screen.
    std::optional<wire::PendingItem> pendingForAction(const QString& pendingId) const;
    // What a confirm or reject puts back when the server refuses it.
    struct SettleSnapshot {
        std::vector<wire::PendingItem> pending;
        std::vector<ChatEvent> events;
    };
    // Shows the card as settled before the server answers.
    SettleSnapshot settleOptimistically(const wire::PendingItem& item, const QString& status);
    // Puts cards and events back as they were before an optimistic confirm or reject.
    LoadError rollBackSettle(
        const QString& pendingId, const QString& prefix, std::exception_ptr failure, SettleSnapshot before);
    void updatePendingInPlace(const wire::PendingItem& item);
    static QCoro::Task<void> finishConfirm(
        QPointer<VelmarOSChatStore> self, wire::PendingItem item, SettleSnapshot before, QString line);
    static QCoro::Task<void> finishReject(
        QPointer<VelmarOSChatStore> self, wire::PendingItem item, SettleSnapshot before);
    static QCoro::Task<void> finishProposedDelete(QPointer<VelmarOSChatStore> self, QUuid eventId);
    static QCoro::Task<void> refreshAggregatedDetached(QPointer<VelmarOSChatStore> self);
    static QString errorMessage(std::exception_ptr error);
    ChatEvent* eventWithId(const QUuid& id);

    // ---- history ----
    static QCoro::Task<void> startReplay(QPointer<VelmarOSChatStore> self);
    bool mergeMayRebuild() const;

    // ---- guarded setters ----
    void setEvents(std::vector<ChatEvent> value);
    void appendEvent(ChatEvent event);
    void setAggregatedPending(std::vector<wire::PendingItem> value);
    void setInFlight(int value);
    void setTurnState(bool active, std::optional<QString> toolCall, int iteration);
    void setStreamingText(QString value);
    void setToolTrail(std::vector<ToolTrailEntry> value);
    void setSubagentRuns(std::vector<SubagentRun> value);
    void setLoadingHistory(bool value);
    void bumpTimeActivity();
    void bumpFinanceActivity();

    ChatStoreContext m_context;
    QString m_sessionId;
    SessionJSONLWriter m_writer;

    std::vector<ChatEvent> m_events;
    std::vector<wire::PendingItem> m_aggregatedPending;
    QSet<QString> m_inFlightTerminal;
    int m_jumpToPendingTick = 0;
    int m_inFlight = 0;
    int m_timeActivityChanged = 0;
    int m_financeActivityChanged = 0;
    bool m_agentLoopActive = false;
    std::optional<QString> m_currentToolCall;
    int m_currentLoopIteration = 0;
    std::vector<ToolTrailEntry> m_toolTrail;
    std::vector<SubagentRun> m_subagentRuns;
    QString m_streamingText;
    int m_newTurnScrollAnchor = 0;
    int m_historyDidLoad = 0;
    bool m_isLoadingHistory = false;
    QHash<QUuid, QList<QByteArray>> m_messageThumbnails;
    std::deque<QueuedSubmission> m_submissionQueue;
    QString m_lastReplayRemoteSig;
    // The current turn's stream, so a cancel can end it.
    QPointer<AgentStream> m_currentStream;
    // The drainer "task": running, and which one (a cancel retires it).
    bool m_drainerRunning = false;
    quint64 m_drainerGeneration = 0;
    quint64 m_turnGeneration = 0;
    // Turns up to this generation were cancelled: their late events are not shown.
    quint64 m_cancelledThrough = 0;
    // Server clears under way: a merge meanwhile would bring back what was cleared.
    int m_clearsInFlight = 0;
    std::optional<QString> m_seededResumeCliSessionId;
    int m_backgroundWrites = 0;
};

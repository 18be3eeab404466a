// VelmarOSChatStore: the cards waiting for a yes or no — optimistic confirm and reject with
// their roll-back, the list of all waiting cards and its race guard, the line after a
// confirm, and the deletes the agent proposes.
#include "VelmarOSChatStore.h"

#include "AgentClient.h"
#include "ChatSyncEncoding.h"

#include "session/LoadError.h"
#include "session/LumenAPIClient.h"
#include "session/WidgetCache.h"
#include "time/TimeCache.h"

#include <QLocale>

#include <algorithm>

namespace {

const QString kCommitted = QStringLiteral("committed");
const QString kRejected = QStringLiteral("rejected");
const QString kPending = QStringLiteral("pending");

QString optionalString(const wire::AnyDict& payload, const QString& key, const QString& fallback)
{
    const auto found = payload.find(key);
    if (found == payload.end())
        return fallback;
    return found->second.stringValue().value_or(fallback);
}

std::optional<double> number(const wire::AnyDict& payload, const QString& key)
{
    const auto found = payload.find(key);
    if (found == payload.end())
        return std::nullopt;
    return found->second.doubleValue();
}

QString currencySymbol(const QString& code)
{
    if (code == QLatin1String("CNY"))
        return QStringLiteral("¥");
    if (code == QLatin1String("USD"))
        return QStringLiteral("$");
    if (code == QLatin1String("AUD"))
        return QStringLiteral("A$");
    if (code == QLatin1String("EUR"))
        return QStringLiteral("€");
    if (code == QLatin1String("HKD"))
        return QStringLiteral("HK$");
    return code + QLatin1Char(' ');
}

QString durationText(qint64 minutes)
{
    if (minutes < 60)
        return QStringLiteral("%1m").arg(minutes);
    const qint64 hours = minutes / 60;
    const qint64 rest = minutes % 60;
    return rest == 0 ? QStringLiteral("%1h").arg(hours) : QStringLiteral("%1h%2m").arg(hours).arg(rest);
}

bool isFinanceDomain(const QString& domain)
{
    return domain == QLatin1String("finance") || domain == QLatin1String("transfer")
        || domain == QLatin1String("account");
}

} // namespace

QString VelmarOSChatStore::commitConfirmation(const wire::PendingItem& item)
{
    const QString plain = QStringLiteral("✓ 已记");
    if (item.domain == QLatin1String("finance")) {
        const std::optional<double> amount = number(item.payload, QStringLiteral("amount"));
        if (!amount)
            return plain;
        const QString category = optionalString(item.payload, QStringLiteral("category"), QString());
        const QString currency = optionalString(item.payload, QStringLiteral("currency"), QStringLiteral("CNY"));
        const QString account = optionalString(item.payload, QStringLiteral("account"), QString());
        // The screens speak Chinese: thousands grouped, two decimals.
        const QString figure = QLocale(QLocale::Chinese, QLocale::China).toString(*amount, 'f', 2);
        QString line = plain + QLatin1Char(' ');
        if (!category.isEmpty())
            line += category + QLatin1Char(' ');
        line += currencySymbol(currency) + figure;
        if (!account.isEmpty())
            line += QStringLiteral(" · ") + account;
        return line;
    }
    if (item.domain == QLatin1String("time")) {
        const std::optional<double> minutes = number(item.payload, QStringLiteral("duration_min"));
        if (!minutes)
            return plain;
        const QString activity = optionalString(item.payload, QStringLiteral("activity"), QString());
        return QStringLiteral("%1 %2 · %3").arg(plain, activity, durationText(qint64(*minutes)));
    }
    return plain;
}

QString VelmarOSChatStore::errorMessage(std::exception_ptr error)
{
    return formatLoadError(error).message;
}

std::optional<wire::PendingItem> VelmarOSChatStore::extractEmbeddedPending(const QString& id) const
{
    for (const ChatEvent& event : m_events) {
        if (const auto* card = event.as<ChatEvent::PendingEmitted>(); card && card->item.id == id)
            return card->item;
    }
    return std::nullopt;
}

void VelmarOSChatStore::updatePendingInPlace(const wire::PendingItem& item)
{
    std::vector<ChatEvent> events = m_events;
    for (ChatEvent& event : events) {
        if (auto* card = event.as<ChatEvent::PendingEmitted>(); card && card->item.id == item.id)
            card->item = item;
    }
    setEvents(std::move(events));
}

ChatEvent* VelmarOSChatStore::eventWithId(const QUuid& id)
{
    for (ChatEvent& event : m_events) {
        if (event.id() == id)
            return &event;
    }
    return nullptr;
}

std::optional<QUuid> VelmarOSChatStore::firstPendingEventID() const
{
    for (const ChatEvent& event : m_events) {
        const auto* card = event.as<ChatEvent::PendingEmitted>();
        if (!card)
            continue;
        const bool waiting = std::any_of(m_aggregatedPending.begin(), m_aggregatedPending.end(),
            [&](const wire::PendingItem& item) { return item.id == card->item.id; });
        if (waiting)
            return event.id();
    }
    return std::nullopt;
}

QString VelmarOSChatStore::firstPendingEventIDText() const
{
    const auto id = firstPendingEventID();
    return id ? ChatSyncEncoding::uuidText(*id) : QString();
}

// ---- confirm and reject ----

std::optional<wire::PendingItem> VelmarOSChatStore::pendingForAction(const QString& pendingId) const
{
    const auto found = std::ranges::find(m_aggregatedPending, pendingId, &wire::PendingItem::id);
    if (found != m_aggregatedPending.end())
        return *found;
    return extractEmbeddedPending(pendingId);
}

VelmarOSChatStore::SettleSnapshot VelmarOSChatStore::settleOptimistically(
    const wire::PendingItem& item, const QString& status)
{
    SettleSnapshot before { m_aggregatedPending, m_events };
    wire::PendingItem optimistic = item;
    optimistic.status = status;
    const QString stamp = now().toUTC().toString(Qt::ISODate);
    if (status == kCommitted)
        optimistic.committed_at = stamp;
    else
        optimistic.rejected_at = stamp;
    updatePendingInPlace(optimistic);
    std::vector<wire::PendingItem> pending = m_aggregatedPending;
    std::erase_if(pending, [&](const wire::PendingItem& candidate) { return candidate.id == item.id; });
    setAggregatedPending(std::move(pending));
    m_inFlightTerminal.insert(item.id);
    return before;
}

LoadError VelmarOSChatStore::rollBackSettle(
    const QString& pendingId, const QString& prefix, std::exception_ptr failure, SettleSnapshot before)
{
    const LoadError error = formatLoadError(failure);
    const QString message = prefix + error.message;
    setAggregatedPending(std::move(before.pending));
    setEvents(std::move(before.events));
    appendEvent(ChatEvent(QUuid::createUuid(), now(), ChatEvent::ErrorMessage { message }));
    m_inFlightTerminal.remove(pendingId);
    persistEvent(QStringLiteral("error"), { { QStringLiteral("message"), message } }, true);
    return error;
}

void VelmarOSChatStore::confirm(QString pendingId)
{
    const std::optional<wire::PendingItem> item = pendingForAction(pendingId);
    if (!item)
        return;

    SettleSnapshot before = settleOptimistically(*item, kCommitted);

    const QString line = commitConfirmation(*item);
    if (!line.isEmpty())
        appendEvent(ChatEvent(QUuid::createUuid(), now(), ChatEvent::AssistantText { line }));
    finishConfirm(this, *item, std::move(before), line);
}

QCoro::Task<void> VelmarOSChatStore::finishConfirm(
    QPointer<VelmarOSChatStore> self, wire::PendingItem item, SettleSnapshot before, QString line)
{
    std::exception_ptr failure;
    wire::PendingItem committed;
    try {
        committed = co_await self->api().commitPending(item.id);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;

    if (failure) {
        const LoadError error = self->rollBackSettle(item.id, QStringLiteral("确认失败："), failure, std::move(before));
        refreshAggregatedDetached(self);
        if (error.isAuthFailure && self->onAuthFailure)
            self->onAuthFailure();
        co_return;
    }

    self->updatePendingInPlace(committed);
    self->m_inFlightTerminal.remove(item.id);
    if (item.domain == QLatin1String("time")) {
        const auto date = item.payload.find(QStringLiteral("date"));
        if (date != item.payload.end() && date->second.stringValue() && self->m_context.timeCache)
            self->m_context.timeCache->invalidateAround(*date->second.stringValue());
        self->runTimeFullRefresh();
        self->bumpTimeActivity();
    } else if (isFinanceDomain(item.domain)) {
        self->bumpFinanceActivity();
    }
    refreshAggregatedDetached(self);
    if (!self)
        co_return;
    self->m_writer.append(
        { { QStringLiteral("type"), QStringLiteral("pending_committed") }, { QStringLiteral("pending_id"), item.id },
            { QStringLiteral("committed_ref"), committed.committed_ref.value_or(QString()) } });
    self->persistEvent(QStringLiteral("assistant_text"), { { QStringLiteral("text"), line } }, true);
}

void VelmarOSChatStore::reject(QString pendingId)
{
    const std::optional<wire::PendingItem> item = pendingForAction(pendingId);
    if (!item)
        return;

    SettleSnapshot before = settleOptimistically(*item, kRejected);
    finishReject(this, *item, std::move(before));
}

QCoro::Task<void> VelmarOSChatStore::finishReject(
    QPointer<VelmarOSChatStore> self, wire::PendingItem item, SettleSnapshot before)
{
    std::exception_ptr failure;
    wire::PendingItem rejected;
    try {
        rejected = co_await self->api().rejectPending(item.id);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;

    if (failure) {
        const LoadError error = self->rollBackSettle(item.id, QStringLiteral("撤销失败："), failure, std::move(before));
        if (error.isAuthFailure && self->onAuthFailure)
            self->onAuthFailure();
        co_return;
    }
    self->updatePendingInPlace(rejected);
    self->m_inFlightTerminal.remove(item.id);
    self->m_writer.append(
        { { QStringLiteral("type"), QStringLiteral("pending_rejected") }, { QStringLiteral("pending_id"), item.id } });
}

// ---- the list of waiting cards ----

QCoro::Task<void> VelmarOSChatStore::refreshAggregated()
{
    QPointer<VelmarOSChatStore> self(this);
    std::vector<wire::PendingItem> items;
    try {
        items = co_await api().listPending(kPending, std::nullopt);
    } catch (...) {
        co_return;
    }
    if (!self)
        co_return;
    // A list read just before a commit or reject must not bring that card back.
    std::erase_if(items, [&](const wire::PendingItem& item) { return m_inFlightTerminal.contains(item.id); });
    WidgetCache::saveSync(pendingSnapshotKey, items, m_context.store.paths.widgetCacheDir());
    QSet<QString> waiting;
    for (const wire::PendingItem& item : items)
        waiting.insert(item.id);
    setAggregatedPending(std::move(items));

    // A card on screen that left the list was settled elsewhere (another machine, say):
    // show how, so it does not offer a confirm that can only fail.
    QStringList settledElsewhere;
    for (const ChatEvent& event : m_events) {
        const auto* card = event.as<ChatEvent::PendingEmitted>();
        if (card && card->item.status == kPending && !waiting.contains(card->item.id)
            && !m_inFlightTerminal.contains(card->item.id) && !settledElsewhere.contains(card->item.id))
            settledElsewhere.append(card->item.id);
    }
    for (const QString& id : settledElsewhere) {
        try {
            const wire::PendingItem item = co_await api().getPending(id);
            if (!self)
                co_return;
            if (item.status != kPending && !m_inFlightTerminal.contains(id))
                updatePendingInPlace(item);
        } catch (...) {
            if (!self)
                co_return;
        }
    }
}

QCoro::Task<void> VelmarOSChatStore::refreshAggregatedDetached(QPointer<VelmarOSChatStore> self)
{
    if (!self)
        co_return;
    try {
        co_await self->refreshAggregated();
    } catch (...) {
    }
}

void VelmarOSChatStore::applyEditedPending(wire::PendingItem item)
{
    updatePendingInPlace(item);
    std::vector<wire::PendingItem> pending = m_aggregatedPending;
    for (wire::PendingItem& candidate : pending) {
        if (candidate.id == item.id)
            candidate = item;
    }
    setAggregatedPending(std::move(pending));
}

// ---- deletes the agent proposed ----

void VelmarOSChatStore::confirmProposedDelete(QUuid eventId)
{
    ChatEvent* event = eventWithId(eventId);
    auto* proposal = event ? event->as<ChatEvent::ProposedDelete>() : nullptr;
    if (!proposal)
        return;
    proposal->status = ProposedDeleteStatus::deleting;
    emit eventsChanged();
    finishProposedDelete(this, eventId);
}

QCoro::Task<void> VelmarOSChatStore::finishProposedDelete(QPointer<VelmarOSChatStore> self, QUuid eventId)
{
    const ChatEvent::ProposedDelete proposal = *self->eventWithId(eventId)->as<ChatEvent::ProposedDelete>();
    std::exception_ptr failure;
    try {
        co_await self->agent().confirmDelete(proposal.deleteEndpoint);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    ChatEvent* event = self->eventWithId(eventId);
    auto* current = event ? event->as<ChatEvent::ProposedDelete>() : nullptr;
    if (failure) {
        if (current) {
            current->status = ProposedDeleteStatus::pending;
            emit self->eventsChanged();
        }
        const QString message = QStringLiteral("删除失败：") + errorMessage(failure);
        self->appendEvent(ChatEvent(QUuid::createUuid(), self->now(), ChatEvent::ErrorMessage { message }));
        co_return;
    }
    if (current) {
        current->status = ProposedDeleteStatus::confirmed;
        emit self->eventsChanged();
    }
    if (proposal.domain == QLatin1String("finance"))
        self->bumpFinanceActivity();
    else if (proposal.domain == QLatin1String("time"))
        self->bumpTimeActivity();
}

void VelmarOSChatStore::cancelProposedDelete(QUuid eventId)
{
    ChatEvent* event = eventWithId(eventId);
    auto* proposal = event ? event->as<ChatEvent::ProposedDelete>() : nullptr;
    if (!proposal)
        return;
    proposal->status = ProposedDeleteStatus::cancelled;
    emit eventsChanged();
}

// ---- for the screens ----

void VelmarOSChatStore::confirmDelete(const QString& eventId)
{
    confirmProposedDelete(QUuid::fromString(eventId));
}

void VelmarOSChatStore::cancelDelete(const QString& eventId)
{
    cancelProposedDelete(QUuid::fromString(eventId));
}

void VelmarOSChatStore::applyEditedPendingItem(const QVariantMap& item)
{
    try {
        applyEditedPending(wire::fromJson<wire::PendingItem>(QJsonObject::fromVariantMap(item)));
    } catch (const wire::DecodeError& error) {
        qWarning().noquote() << "[VelmarOSChatStore] edited card not applied:" << error.description();
    }
}

void VelmarOSChatStore::reloadPending()
{
    refreshAggregatedDetached(this);
}

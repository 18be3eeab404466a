// Follow-ups about what the conversation did last: "删掉刚才那笔", "改成 60".

#include "BuiltinAgent.h"
#include "RecordPreview.h"
#include "TurnChannel.h"

#include "Backend.h"
#include "services/ApiError.h"
#include "services/LocalClock.h"

namespace lumen::agent {

namespace {

const QString kFinance = QStringLiteral("finance");
const QString kTime = QStringLiteral("time");
const QString kPending = QStringLiteral("pending");
const QString kCommitted = QStringLiteral("committed");

const QString kEditHelp = QStringLiteral("想改成什么呢？比如「改成 60」「分类改成交通」「日期改成昨天」。");
const QString kNothingToEdit
    = QStringLiteral("这段对话里还没有可以修改的记录。想记新的一笔，直接说就行，比如「今天午餐 60」。");

QString recordWord(const QString& domain)
{
    return domain == kTime ? QStringLiteral("一段时间") : QStringLiteral("一笔账");
}

bool isUpdate(const wire::AnyDict& payload)
{
    const auto kind = payload.find(QStringLiteral("_kind"));
    return kind != payload.end() && kind->second.stringValue() == QStringLiteral("update");
}

} // namespace

std::optional<BuiltinAgent::LastThing> BuiltinAgent::recordOf(const Turn& turn, const QString& domain, qint64 id)
{
    const qint64 userId = turn.request.user.userId;
    try {
        if (domain == kFinance) {
            const wire::Transaction line = m_backend.financeLedger().transaction(userId, id);
            return LastThing { kFinance, std::nullopt, line, std::nullopt, RecordPreview::line(line) };
        }
        if (domain == kTime) {
            const wire::TimeEntry entry = m_backend.timeLedger().entry(userId, id);
            return LastThing { kTime, std::nullopt, std::nullopt, entry, RecordPreview::entry(entry) };
        }
    } catch (const ApiError&) {
        // Deleted since: nothing left to refer to.
    }
    return std::nullopt;
}

std::optional<BuiltinAgent::LastThing> BuiltinAgent::lastThing(const Turn& turn)
{
    const qint64 userId = turn.request.user.userId;
    TurnContext memory = turn.memory;
    // A conversation the server no longer remembers (a restart, a new resume id) still has
    // its proposals, filed under its chat session.
    const auto& chatSession = turn.request.chat.chat_session_id;
    if (memory.lastPendingId.isEmpty() && memory.lastRecordId == 0 && chatSession && !chatSession->isEmpty()) {
        if (const auto item = m_backend.pending().newestFromSession(userId, *chatSession)) {
            memory.lastPendingId = item->id;
            memory.lastPendingDomain = item->domain;
        }
    }
    if (!memory.lastPendingId.isEmpty()) {
        wire::PendingItem item;
        try {
            item = m_backend.pending().get(userId, memory.lastPendingId);
        } catch (const ApiError&) {
            return std::nullopt;
        }
        if (item.status == kPending)
            return LastThing { item.domain, item, std::nullopt, std::nullopt, RecordPreview::proposal(item) };
        // Confirmed: "that one" is now the record it became ("finance:12").
        if (item.status == kCommitted && item.committed_ref) {
            const QStringList parts = item.committed_ref->split(u':');
            if (parts.size() == 2)
                return recordOf(turn, parts[0], parts[1].toLongLong());
        }
        return std::nullopt;
    }
    if (memory.lastRecordId > 0)
        return recordOf(turn, memory.lastRecordDomain, memory.lastRecordId);
    return std::nullopt;
}

void BuiltinAgent::proposeDelete(Turn& turn)
{
    const qint64 userId = turn.request.user.userId;
    const language::RecordDomain target = turn.intent.target;
    auto wanted = [&](const QString& domain) {
        return target == language::RecordDomain::any
            || (target == language::RecordDomain::finance && domain == kFinance)
            || (target == language::RecordDomain::time && domain == kTime);
    };
    const QString tool = turn.channel.startTool(QStringLiteral("find_last_record"),
        { { QStringLiteral("domain"),
            target == language::RecordDomain::finance    ? kFinance
                : target == language::RecordDomain::time ? kTime
                                                         : QStringLiteral("any") } });

    struct Candidate {
        QString domain;
        qint64 id = 0;
        QString preview;
        QString endpoint;
        qint64 writtenAt = 0;
        bool pending = false;
    };
    std::optional<Candidate> chosen;
    // What this conversation did last is what "刚才那笔" means: its proposal while it waits,
    // or the record it became.
    if (const auto last = lastThing(turn); last && wanted(last->domain)) {
        if (last->proposal) {
            chosen = Candidate { last->domain, last->proposal->id.toLongLong(), last->preview,
                QStringLiteral("/pending/%1/reject").arg(last->proposal->id), 0, true };
        } else if (last->line) {
            chosen = Candidate { kFinance, last->line->id, last->preview,
                QStringLiteral("/finance/transactions/%1/delete").arg(last->line->id), 0, false };
        } else if (last->entry) {
            chosen = Candidate { kTime, last->entry->id, last->preview,
                QStringLiteral("/time/%1/delete").arg(last->entry->id), 0, false };
        }
    }
    // Otherwise the newest thing the user made anywhere.
    if (!chosen) {
        auto consider = [&](Candidate candidate) {
            if (wanted(candidate.domain) && (!chosen || candidate.writtenAt > chosen->writtenAt))
                chosen = std::move(candidate);
        };
        if (const auto item = m_backend.pending().newestPending(userId)) {
            consider({ item->first.domain, item->first.id.toLongLong(), RecordPreview::proposal(item->first),
                QStringLiteral("/pending/%1/reject").arg(item->first.id), item->second, true });
        }
        if (const auto line = m_backend.financeLedger().lastWrittenBy(userId)) {
            consider({ kFinance, line->first.id, RecordPreview::line(line->first),
                QStringLiteral("/finance/transactions/%1/delete").arg(line->first.id), line->second, false });
        }
        if (const auto entry = m_backend.timeLedger().lastWritten(userId)) {
            consider({ kTime, entry->first.id, RecordPreview::entry(entry->first),
                QStringLiteral("/time/%1/delete").arg(entry->first.id), entry->second, false });
        }
    }
    if (!chosen) {
        turn.channel.finishTool(tool, false, QStringLiteral("没有找到记录"));
        turn.channel.say(QStringLiteral("没有找到可以删除的记录。"));
        return;
    }
    turn.channel.finishTool(tool, true, chosen->preview);
    if (chosen->pending)
        turn.channel.say(QStringLiteral("刚才那条还没入账，要撤销吗：%1？确认后撤销。").arg(chosen->preview));
    else if (chosen->domain == kTime)
        turn.channel.say(QStringLiteral("要删掉这段时间吗：%1？确认后删除。").arg(chosen->preview));
    else
        turn.channel.say(QStringLiteral("要删掉这笔吗：%1？确认后删除。").arg(chosen->preview));
    turn.channel.send(AgentEvent::proposedDelete(chosen->domain, chosen->id, chosen->preview, chosen->endpoint));
}

std::optional<wire::AnyDict> BuiltinAgent::edited(
    const Turn& turn, const QString& domain, wire::AnyDict payload, const language::Edit& edit)
{
    bool changed = false;
    auto set = [&](const char* key, wire::AnyCodableValue value) {
        payload.insert_or_assign(QString::fromLatin1(key), std::move(value));
        changed = true;
    };
    if (edit.date)
        set("date", LocalClock::dayText(*edit.date));
    if (domain == kFinance) {
        if (edit.amount) {
            // A new total: the items said before no longer add up to it.
            payload.erase(QStringLiteral("items"));
            set("amount", *edit.amount);
        }
        if (!edit.currency.isEmpty())
            set("currency", edit.currency);
        if (!edit.category.isEmpty())
            set("category", edit.category);
        if (!edit.spender.isEmpty())
            set("spender", edit.spender);
        if (!edit.description.isEmpty())
            set("description", edit.description);
    } else if (domain == kTime) {
        if (!edit.activity.isEmpty())
            set("activity", edit.activity);
        if (edit.startTime && edit.endTime) {
            set("start_time", edit.startTime->toString(QStringLiteral("HH:mm")));
            set("end_time", edit.endTime->toString(QStringLiteral("HH:mm")));
            set("duration_min",
                LocalClock::durationMinutes(
                    edit.startTime->msecsSinceStartOfDay() / 60000, edit.endTime->msecsSinceStartOfDay() / 60000));
        }
        if (!edit.category.isEmpty()) {
            const auto activity = payload.find(QStringLiteral("activity"));
            const QString named = activity == payload.end() ? QString() : activity->second.displayText();
            if (const auto category = timeCategoryFor(turn, edit.category, named))
                set("category_id", *category);
        }
    }
    return changed ? std::optional<wire::AnyDict>(std::move(payload)) : std::nullopt;
}

void BuiltinAgent::editLast(Turn& turn)
{
    const language::Edit edit = turn.intent.edit.value_or(language::Edit {});
    if (edit.isEmpty()) {
        turn.channel.say(kEditHelp);
        return;
    }
    const QString tool = turn.channel.startTool(
        QStringLiteral("find_last_record"), { { QStringLiteral("domain"), QStringLiteral("any") } });
    const auto last = lastThing(turn);
    if (!last) {
        turn.channel.finishTool(tool, false, QStringLiteral("没有找到记录"));
        turn.channel.say(kNothingToEdit);
        return;
    }
    turn.channel.finishTool(tool, true, last->preview);
    if (last->proposal)
        changeProposal(turn, *last->proposal, edit);
    else
        proposeChange(turn, *last, edit);
}

void BuiltinAgent::changeProposal(Turn& turn, const wire::PendingItem& item, const language::Edit& edit)
{
    const auto payload = edited(turn, item.domain, item.payload, edit);
    if (!payload) {
        turn.channel.say(
            QStringLiteral("刚才那条是%1，这样改不了；可以点卡片上的「编辑」来改。").arg(recordWord(item.domain)));
        return;
    }
    const QString tool = turn.channel.startTool(QStringLiteral("update_pending"),
        { { QStringLiteral("pending_id"), item.id }, { QStringLiteral("payload"), wire::toJson(*payload) } });
    wire::PendingItem changed;
    try {
        changed = m_backend.pending().update(turn.request.user.userId, item.id, wire::PendingUpdate { *payload });
    } catch (const ApiError& error) {
        // Confirmed or rejected a moment ago on another screen.
        turn.channel.finishTool(tool, false, error.detail());
        turn.channel.say(QStringLiteral("没能修改：%1").arg(error.detail()));
        return;
    }
    turn.channel.finishTool(tool, true, QStringLiteral("待确认 #%1").arg(changed.id));
    turn.channel.say(QStringLiteral("好的，改成 %1，%2。")
                         .arg(RecordPreview::payload(changed.domain, changed.payload),
                             isUpdate(changed.payload) ? QStringLiteral("确认后生效") : QStringLiteral("确认后入账")));
    turn.channel.send(AgentEvent::pendingCard(changed));
    turn.memory.lastPendingId = changed.id;
    turn.memory.lastPendingDomain = changed.domain;
    turn.memory.lastRecordId = 0;
}

void BuiltinAgent::proposeChange(Turn& turn, const LastThing& last, const language::Edit& edit)
{
    // The record as it stands, as a whole payload, so the card shows what it will become.
    wire::AnyDict current;
    qint64 target = 0;
    if (last.line) {
        const wire::Transaction& line = *last.line;
        target = line.id;
        current = {
            { QStringLiteral("amount"), line.amount },
            { QStringLiteral("currency"), line.currency.value_or(turn.request.household.currency) },
            { QStringLiteral("category"), line.category.value_or(QString()) },
            { QStringLiteral("date"), line.date },
            { QStringLiteral("description"), line.desc.value_or(QString()) },
            { QStringLiteral("spender"), line.spender.value_or(QString()) },
            { QStringLiteral("direction"), line.direction.value_or(QStringLiteral("expense")) },
        };
    } else if (last.entry && last.entry->end_time) {
        const wire::TimeEntry& entry = *last.entry;
        target = entry.id;
        current = {
            { QStringLiteral("date"), entry.date },
            { QStringLiteral("start_time"), entry.start_time },
            { QStringLiteral("end_time"), *entry.end_time },
            { QStringLiteral("activity"), entry.activity },
            { QStringLiteral("duration_min"), entry.duration_min.value_or(0) },
            { QStringLiteral("source"), entry.source },
        };
        if (entry.category_id)
            current.emplace(QStringLiteral("category_id"), *entry.category_id);
    } else {
        turn.channel.say(kNothingToEdit);
        return;
    }
    auto payload = edited(turn, last.domain, current, edit);
    if (!payload) {
        turn.channel.say(
            QStringLiteral("刚才那条是%1，这样改不了；可以到账本里直接修改。").arg(recordWord(last.domain)));
        return;
    }
    payload->insert_or_assign(QStringLiteral("_kind"), QStringLiteral("update"));
    payload->insert_or_assign(QStringLiteral("target_id"), target);
    const QString what = last.domain == kTime ? QStringLiteral("这段时间已经记下了") : QStringLiteral("这笔已经入账了");
    propose(turn, last.domain, *payload,
        QStringLiteral("%1，改成 %2 需要你再确认一次。").arg(what, RecordPreview::payload(last.domain, *payload)));
}

} // namespace lumen::agent

#include "BuiltinAgent.h"

#include "ReplyText.h"
#include "TurnChannel.h"

#include "Backend.h"
#include "services/ApiError.h"
#include "services/LocalClock.h"

#include "IntentClassifier.h"
#include "Lexicon.h"

namespace lumen::agent {

namespace {

const QString kFinance = QStringLiteral("finance");
const QString kTime = QStringLiteral("time");
const QString kChatSource = QStringLiteral("velmar-os-chat");

const QString kHelp
    = QStringLiteral("我可以帮你记账（比如「今天午餐 50」）、记时间（比如「上午 9 点到 11 点 coding」），"
                     "开始或结束计时（「开始 coding」「结束」），也可以回答「这个月花了多少」「今天做了什么」。");
const QString kImagesHelp
    = QStringLiteral("我现在还看不懂图片。把金额和内容打成一句话发给我吧，比如「超市 牛奶 5 面包 3.5」。");

QString intentPreview(const language::Intent& intent)
{
    switch (intent.kind) {
    case language::IntentKind::booking:
        return QStringLiteral("记账：%1 %2")
            .arg(intent.finance.category, ReplyText::money(*intent.finance.amount, intent.finance.currency));
    case language::IntentKind::timeBlock:
        return QStringLiteral("时间块：%1").arg(intent.time.activity);
    case language::IntentKind::timeStart:
        return QStringLiteral("开始计时：%1").arg(intent.time.activity);
    case language::IntentKind::timeStop:
        return QStringLiteral("结束计时");
    case language::IntentKind::query:
        return QStringLiteral("查询");
    case language::IntentKind::deleteLast:
        return QStringLiteral("删除上一条");
    case language::IntentKind::editLast:
        return QStringLiteral("修改上一条");
    case language::IntentKind::none:
        break;
    }
    return QStringLiteral("没有可记录的内容");
}

QString clockText(const std::optional<QTime>& time)
{
    return time ? time->toString(QStringLiteral("HH:mm")) : QString();
}

} // namespace

BuiltinAgent::BuiltinAgent(Backend& backend, TurnContextStore& contexts)
    : m_backend(backend)
    , m_contexts(contexts)
{
}

void BuiltinAgent::run(const TurnRequest& request, TurnChannel& channel)
{
    Turn turn { request, channel, m_backend.lexicons().lexiconFor(request.household.id), {}, {},
        request.chat.message.trimmed(), m_contexts.get(request.user.userId, request.sessionId) };
    turn.context.now = request.receivedAt;
    turn.context.zone = LocalClock(m_backend.clock(), request.household.timezone).zone();
    turn.context.defaultCurrency = request.household.currency;
    if (const QStringList members = m_backend.households().memberNames(request.household.id); !members.isEmpty())
        turn.context.members = members;
    turn.context.lexicon = turn.lexicon.get();

    const bool withImages = request.chat.images && !request.chat.images->empty();
    if (withImages) {
        // The sentence that goes with pictures is about the pictures; they cannot be read here.
        turn.channel.say(kImagesHelp);
        return;
    }

    const QString parse
        = channel.startTool(QStringLiteral("parse_sentence"), { { QStringLiteral("text"), turn.sentence } });
    turn.intent = language::understand(turn.sentence, turn.context);
    channel.finishTool(parse, turn.intent.kind != language::IntentKind::none, intentPreview(turn.intent));

    switch (turn.intent.kind) {
    case language::IntentKind::booking:
        book(turn);
        break;
    case language::IntentKind::timeBlock:
        proposeBlock(turn);
        break;
    case language::IntentKind::timeStart:
        startActivity(turn);
        break;
    case language::IntentKind::timeStop:
        stopActivity(turn);
        break;
    case language::IntentKind::query:
        answerQuery(turn);
        break;
    case language::IntentKind::deleteLast:
        proposeDelete(turn);
        break;
    case language::IntentKind::editLast:
        editLast(turn);
        break;
    case language::IntentKind::none:
        channel.say(kHelp);
        break;
    }
    m_contexts.put(request.user.userId, request.sessionId, turn.memory);
}

void BuiltinAgent::propose(Turn& turn, const QString& domain, const wire::AnyDict& payload, const QString& reply)
{
    const QString tool = turn.channel.startTool(QStringLiteral("create_pending"),
        { { QStringLiteral("domain"), domain }, { QStringLiteral("payload"), wire::toJson(payload) } });
    wire::PendingItem item;
    try {
        const wire::PendingCreate create { domain, payload, turn.request.chat.chat_session_id, turn.sentence };
        item = m_backend.pending().create(turn.request.user.userId, create);
    } catch (const ApiError& error) {
        turn.channel.finishTool(tool, false, error.detail());
        throw;
    }
    turn.channel.finishTool(tool, true, QStringLiteral("待确认 #%1").arg(item.id));
    turn.channel.say(reply);
    turn.channel.send(AgentEvent::pendingCard(item));
    turn.memory.lastPendingId = item.id;
    turn.memory.lastPendingDomain = domain;
    turn.memory.lastRecordId = 0;
}

void BuiltinAgent::book(Turn& turn)
{
    const language::FinanceParse& parse = turn.intent.finance;
    const QDate today = turn.context.today();
    const QString currency = parse.currency.isEmpty() ? turn.request.household.currency : parse.currency;
    const QString category = parse.category.isEmpty() ? language::Lexicon::otherExpense() : parse.category;
    const QDate date = parse.date.isValid() ? parse.date : today;
    const QString spender = parse.spender.isEmpty() ? turn.request.user.displayName : parse.spender;

    wire::AnyDict payload {
        { QStringLiteral("amount"), *parse.amount },
        { QStringLiteral("currency"), currency },
        { QStringLiteral("category"), category },
        { QStringLiteral("date"), LocalClock::dayText(date) },
        { QStringLiteral("description"), parse.description },
        { QStringLiteral("spender"), spender },
        { QStringLiteral("direction"), parse.isIncome() ? QStringLiteral("income") : QStringLiteral("expense") },
        { QStringLiteral("_kind"), QStringLiteral("create") },
    };
    QStringList itemNames;
    if (!parse.items.isEmpty()) {
        wire::AnyCodableValue::Array items;
        for (const language::FinanceItem& item : parse.items) {
            items.push_back(wire::AnyCodableValue::Dict {
                { QStringLiteral("name"), item.name }, { QStringLiteral("amount"), item.amount } });
            itemNames.append(item.name);
        }
        payload.emplace(QStringLiteral("items"), items);
    }

    QString what = parse.isIncome() ? QStringLiteral("收入 %1").arg(category) : category;
    if (date != today)
        what = ReplyText::day(date, today) + QStringLiteral("的") + what;
    QString reply = QStringLiteral("好的，记一笔%1 %2").arg(what, ReplyText::money(*parse.amount, currency));
    if (!itemNames.isEmpty())
        reply += QStringLiteral("（%1）").arg(itemNames.join(u'、'));
    if (spender != turn.request.user.displayName)
        reply += QStringLiteral("，记在 %1 名下")
                     .arg(spender == QLatin1String("shared") ? QStringLiteral("共同") : spender);
    reply += QStringLiteral("，确认后入账。");
    propose(turn, kFinance, payload, reply);
}

std::optional<int> BuiltinAgent::timeCategoryFor(const Turn& turn, const QString& categoryName, const QString& activity)
{
    db::Connection& connection = m_backend.database().connection();
    if (!categoryName.isEmpty()) {
        if (const auto id = TimeCategoryService::liveIdByName(connection, turn.request.household.id, categoryName))
            return id;
    }
    return m_backend.timeLedger().guessCategoryIn(
        connection, turn.request.user.userId, turn.request.household.id, activity);
}

void BuiltinAgent::proposeBlock(Turn& turn)
{
    const language::TimeParse& parse = turn.intent.time;
    if (!parse.startTime || !parse.endTime) {
        turn.channel.say(QStringLiteral("这段%1是几点到几点呢？比如「下午 3 点到 4 点 %2」。")
                             .arg(parse.activity.isEmpty() ? QStringLiteral("时间") : parse.activity,
                                 parse.activity.isEmpty() ? QStringLiteral("跑步") : parse.activity));
        return;
    }
    if (parse.activity.isEmpty()) {
        turn.channel.say(QStringLiteral("这段时间做的是什么呢？比如「上午 9 点到 11 点 coding」。"));
        return;
    }
    const QString start = clockText(parse.startTime);
    const QString end = clockText(parse.endTime);
    const double minutes = LocalClock::durationMinutes(
        parse.startTime->msecsSinceStartOfDay() / 60000, parse.endTime->msecsSinceStartOfDay() / 60000);
    const QDate date = parse.date.isValid() ? parse.date : turn.context.today();
    wire::AnyDict payload {
        { QStringLiteral("date"), LocalClock::dayText(date) },
        { QStringLiteral("start_time"), start },
        { QStringLiteral("end_time"), end },
        { QStringLiteral("activity"), parse.activity },
        { QStringLiteral("duration_min"), minutes },
        { QStringLiteral("source"), kChatSource },
        { QStringLiteral("_kind"), QStringLiteral("create") },
    };
    QString label = parse.activity;
    if (const auto category = timeCategoryFor(turn, parse.category, parse.activity)) {
        payload.emplace(QStringLiteral("category_id"), *category);
        if (!parse.category.isEmpty() && parse.category != parse.activity)
            label = parse.category + u'：' + parse.activity;
    }
    QString when = ReplyText::clockRange(start, end);
    if (date != turn.context.today())
        when = ReplyText::day(date, turn.context.today()) + u' ' + when;
    propose(turn, kTime, payload,
        QStringLiteral("好的，记一段%1 %2（%3），确认后入账。").arg(label, when, ReplyText::duration(minutes)));
}

void BuiltinAgent::startActivity(Turn& turn)
{
    const language::TimeParse& parse = turn.intent.time;
    const QString activity = parse.activity.trimmed();
    if (activity.isEmpty()) {
        turn.channel.say(QStringLiteral("要开始做什么呢？比如「开始 coding」。"));
        return;
    }
    wire::TimeStartRequest start;
    start.activity = activity;
    start.category_id = timeCategoryFor(turn, parse.category, activity);
    start.source = kChatSource;
    // A start said with its own clock ("9 点开始写论文") begins then; otherwise now.
    if (parse.startTime) {
        const LocalClock local(m_backend.clock(), turn.request.household.timezone);
        const QDateTime said = local.at(
            parse.date.isValid() ? parse.date : local.today(), parse.startTime->msecsSinceStartOfDay() / 60000);
        if (said < turn.request.receivedAt.addSecs(-60))
            start.start_time = said.toUTC().toString(Qt::ISODate);
    }
    QJsonObject input { { QStringLiteral("activity"), activity } };
    if (start.category_id)
        input.insert(QStringLiteral("category_id"), *start.category_id);
    const QString tool = turn.channel.startTool(QStringLiteral("time_start"), input);
    TimeStartResult result;
    try {
        result = m_backend.timeLedger().start(turn.request.user.userId, start);
    } catch (const ApiError& error) {
        turn.channel.finishTool(tool, false, error.detail());
        turn.channel.say(QStringLiteral("没能开始计时：%1").arg(error.detail()));
        return;
    }
    QString reply = QStringLiteral("好的，开始记录 %1。").arg(activity);
    QString preview = QStringLiteral("已开始：%1").arg(activity);
    if (result.stopped) {
        const QString ended = QStringLiteral("%1 已结束（%2）")
                                  .arg(result.stopped->activity, ReplyText::duration(result.stopped->durationMin));
        reply = QStringLiteral("%1，开始记录 %2。").arg(ended, activity);
        preview = ended + QStringLiteral("；") + preview;
        if (!result.stopped->entries.empty()) {
            turn.memory.lastRecordId = result.stopped->entries.back().id;
            turn.memory.lastRecordDomain = kTime;
            turn.memory.lastPendingId.clear();
        }
    }
    turn.channel.finishTool(tool, true, preview);
    turn.channel.say(reply);
    if (result.stopped) {
        turn.channel.send(AgentEvent::timeEffect(QStringLiteral("stopped"), result.stopped->activity,
            result.stopped->endedAt.toUTC().toString(Qt::ISODate)));
    }
    turn.channel.send(
        AgentEvent::timeEffect(QStringLiteral("started"), activity, result.current.start_time.value_or(QString())));
}

void BuiltinAgent::stopActivity(Turn& turn)
{
    const QString tool = turn.channel.startTool(QStringLiteral("time_stop"), {});
    TimeStopResult result;
    try {
        result = m_backend.timeLedger().stop(turn.request.user.userId, {});
    } catch (const ApiError& error) {
        turn.channel.finishTool(tool, false, error.detail());
        turn.channel.say(error.status() == 400 ? QStringLiteral("现在没有正在记录的活动。")
                                               : QStringLiteral("没能结束计时：%1").arg(error.detail()));
        return;
    }
    const QString reply = QStringLiteral("好的，%1 结束了，共 %2，已记入时间账本。")
                              .arg(result.activity, ReplyText::duration(result.durationMin));
    turn.channel.finishTool(
        tool, true, QStringLiteral("已结束：%1（%2）").arg(result.activity, ReplyText::duration(result.durationMin)));
    if (!result.entries.empty()) {
        turn.memory.lastRecordId = result.entries.back().id;
        turn.memory.lastRecordDomain = kTime;
        turn.memory.lastPendingId.clear();
    }
    turn.channel.say(reply);
    turn.channel.send(AgentEvent::timeEffect(
        QStringLiteral("stopped"), result.activity, result.endedAt.toUTC().toString(Qt::ISODate)));
}

} // namespace lumen::agent

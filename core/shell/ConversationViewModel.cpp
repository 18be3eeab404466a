#include "ConversationViewModel.h"

#include "chat/ChatModel.h"
#include "chat/SessionsStore.h"
#include "chat/VelmarOSChatStore.h"
#include "session/AppState.h"
#include "session/LoadError.h"
#include "session/LumenAPIClient.h"
#include "time/TimeDomain.h"

#include <QJsonObject>
#include <QLocale>
#include <QUuid>

#include <cmath>
#include <span>

namespace {

struct FieldName {
    const char* key;
    const char* label;
};

// The payload fields a card shows, in order, by domain; others follow under their own key.
const FieldName financeFields[] = { { "category", "分类" }, { "date", "日期" }, { "description", "说明" },
    { "spender", "记在" }, { "account", "账户" }, { "currency", "币种" } };
const FieldName timeFields[] = { { "date", "日期" }, { "start_time", "开始" }, { "end_time", "结束" } };
const FieldName otherLabels[]
    = { { "activity", "活动" }, { "amount", "金额" }, { "duration_min", "时长（分钟）" }, { "note", "备注" },
          { "from_account", "转出" }, { "to_account", "转入" }, { "name", "名称" }, { "direction", "方向" } };

// Kept off the card and out of the edit form: bookkeeping, not something a person says.
bool isHiddenKey(const QString& key)
{
    return key.startsWith(QLatin1Char('_')) || key == QStringLiteral("source") || key == QStringLiteral("target_id")
        || key == QStringLiteral("category_id");
}

QString labelFor(const QString& key)
{
    for (const FieldName& field : financeFields)
        if (key == QLatin1String(field.key))
            return QString::fromUtf8(field.label);
    for (const FieldName& field : timeFields)
        if (key == QLatin1String(field.key))
            return QString::fromUtf8(field.label);
    for (const FieldName& field : otherLabels)
        if (key == QLatin1String(field.key))
            return QString::fromUtf8(field.label);
    return key;
}

QString valueText(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Double: {
        const double number = value.toDouble();
        return number == std::floor(number) ? QString::number(qint64(number)) : QString::number(number, 'f', 2);
    }
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("是") : QStringLiteral("否");
    case QMetaType::QVariantList: {
        QStringList parts;
        for (const QVariant& entry : value.toList()) {
            const QVariantMap map = entry.toMap();
            if (map.contains(QStringLiteral("name")))
                parts << map.value(QStringLiteral("name")).toString()
                        + (map.contains(QStringLiteral("amount"))
                                ? QStringLiteral(" ") + valueText(map.value(QStringLiteral("amount")))
                                : QString());
            else
                parts << valueText(entry);
        }
        return parts.join(QStringLiteral("、"));
    }
    default:
        return value.toString();
    }
}

bool isNumber(const QVariant& value)
{
    return value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Int
        || value.typeId() == QMetaType::LongLong;
}

QString spenderText(const QString& spender)
{
    return spender == QStringLiteral("shared") ? QStringLiteral("共同") : spender;
}

} // namespace

ConversationViewModel::ConversationViewModel(QObject* parent)
    : QObject(parent)
{
}

void ConversationViewModel::setAppState(AppState* appState)
{
    if (m_appState == appState)
        return;
    for (const auto& connection : m_connections)
        disconnect(connection);
    m_connections.clear();
    m_appState = appState;
    if (SessionsStore* list = sessions()) {
        m_connections << connect(list, &SessionsStore::activeSessionIdChanged, this, [this] {
            emit storeChanged();
            emit modelChanged();
        });
        m_connections << connect(
            list, &SessionsStore::activeSessionChanged, this, &ConversationViewModel::modelChanged);
    }
    emit appStateChanged();
    emit storeChanged();
    emit modelChanged();
}

SessionsStore* ConversationViewModel::sessions() const
{
    return m_appState ? m_appState->chatSessions() : nullptr;
}

VelmarOSChatStore* ConversationViewModel::store() const
{
    SessionsStore* list = sessions();
    return list ? list->activeStore() : nullptr;
}

QVariantList ConversationViewModel::models() const
{
    QVariantList out;
    for (const ChatModel& model : ChatModel::all())
        out << QVariantMap { { QStringLiteral("id"), model.id() },
            { QStringLiteral("displayName"), model.displayName() }, { QStringLiteral("roleHint"), model.roleHint() } };
    return out;
}

QString ConversationViewModel::modelId() const
{
    SessionsStore* list = sessions();
    return list ? list->activeSession().model.id() : ChatModel::sonnet().id();
}

bool ConversationViewModel::send(const QString& text, const QVariantList& images)
{
    VelmarOSChatStore* chat = store();
    if (!chat || (text.trimmed().isEmpty() && images.isEmpty()))
        return false;
    chat->submitWithImages(text, images, modelId());
    return true;
}

void ConversationViewModel::selectModel(const QString& modelId)
{
    SessionsStore* list = sessions();
    if (!list || !ChatModel::fromId(modelId))
        return;
    list->setModelFor(list->activeSessionId(), modelId);
    emit modelChanged();
}

QString ConversationViewModel::currencySymbol(const QString& code)
{
    if (code == QStringLiteral("CNY"))
        return QStringLiteral("¥");
    if (code == QStringLiteral("USD"))
        return QStringLiteral("$");
    if (code == QStringLiteral("AUD"))
        return QStringLiteral("A$");
    if (code == QStringLiteral("EUR"))
        return QStringLiteral("€");
    if (code == QStringLiteral("HKD"))
        return QStringLiteral("HK$");
    return code + QLatin1Char(' ');
}

QVariantMap ConversationViewModel::pendingCard(const QVariantMap& item)
{
    const QString domain = item.value(QStringLiteral("domain")).toString();
    const QVariantMap payload = item.value(QStringLiteral("payload")).toMap();
    const QString status = item.value(QStringLiteral("status")).toString();
    const QString kind = payload.value(QStringLiteral("_kind"), QStringLiteral("create")).toString();

    QString title = domain;
    QString headline;
    QList<const FieldName*> order;
    if (domain == QStringLiteral("finance")) {
        const bool income = payload.value(QStringLiteral("direction")).toString() == QStringLiteral("income");
        title = income ? QStringLiteral("收入") : QStringLiteral("记账");
        if (isNumber(payload.value(QStringLiteral("amount")))) {
            const QString currency = payload.value(QStringLiteral("currency"), QStringLiteral("CNY")).toString();
            headline = currencySymbol(currency)
                + QLocale::c().toString(payload.value(QStringLiteral("amount")).toDouble(), 'f', 2);
        }
        for (const FieldName& field : financeFields)
            order << &field;
    } else if (domain == QStringLiteral("time")) {
        title = QStringLiteral("时间");
        const QString activity = payload.value(QStringLiteral("activity")).toString();
        headline = activity;
        if (isNumber(payload.value(QStringLiteral("duration_min"))))
            headline += (headline.isEmpty() ? QString() : QStringLiteral(" · "))
                + timeHM(payload.value(QStringLiteral("duration_min")).toDouble());
        for (const FieldName& field : timeFields)
            order << &field;
    } else if (domain == QStringLiteral("transfer")) {
        title = QStringLiteral("转账");
    } else if (domain == QStringLiteral("account")) {
        title = QStringLiteral("账户");
    }

    QVariantList fields;
    QStringList shown;
    auto add = [&](const QString& key) {
        const QVariant value = payload.value(key);
        QString text = valueText(value);
        if (key == QStringLiteral("spender"))
            text = spenderText(text);
        shown << key;
        if (text.isEmpty())
            return;
        fields << QVariantMap { { QStringLiteral("label"), labelFor(key) }, { QStringLiteral("value"), text } };
    };
    for (const FieldName* field : order) {
        if (payload.contains(QLatin1String(field->key)))
            add(QLatin1String(field->key));
    }
    // What the headline already says stays off the list.
    shown << QStringLiteral("activity") << QStringLiteral("duration_min") << QStringLiteral("direction");
    if (!headline.isEmpty() && domain == QStringLiteral("finance"))
        shown << QStringLiteral("amount");
    for (auto it = payload.cbegin(); it != payload.cend(); ++it) {
        if (!shown.contains(it.key()) && !isHiddenKey(it.key()))
            add(it.key());
    }

    QString kindText;
    if (kind == QStringLiteral("update"))
        kindText = QStringLiteral("修改");
    else if (kind == QStringLiteral("delete"))
        kindText = QStringLiteral("删除");

    QString statusText = QStringLiteral("待确认");
    if (status == QStringLiteral("committed"))
        statusText = QStringLiteral("已确认");
    else if (status == QStringLiteral("rejected"))
        statusText = QStringLiteral("已撤销");

    return { { QStringLiteral("title"), title }, { QStringLiteral("kindText"), kindText },
        { QStringLiteral("headline"), headline }, { QStringLiteral("fields"), fields },
        { QStringLiteral("status"), status }, { QStringLiteral("statusText"), statusText },
        { QStringLiteral("sourceText"), item.value(QStringLiteral("source_text")).toString() } };
}

QVariantList ConversationViewModel::editableFields(const QVariantMap& item)
{
    const QVariantMap payload = item.value(QStringLiteral("payload")).toMap();
    QStringList keys;
    const QString domain = item.value(QStringLiteral("domain")).toString();
    if (domain == QStringLiteral("finance"))
        keys << QStringLiteral("amount");
    if (domain == QStringLiteral("time"))
        keys << QStringLiteral("activity") << QStringLiteral("duration_min");
    const std::span<const FieldName> named = domain == QStringLiteral("time")
        ? std::span<const FieldName>(timeFields)
        : std::span<const FieldName>(financeFields);
    for (const FieldName& field : named)
        keys << QString::fromLatin1(field.key);
    for (auto it = payload.cbegin(); it != payload.cend(); ++it)
        keys << it.key();
    keys.removeDuplicates();

    QVariantList out;
    for (const QString& key : keys) {
        if (!payload.contains(key) || isHiddenKey(key))
            continue;
        const QVariant value = payload.value(key);
        const bool numeric = isNumber(value);
        if (!numeric && value.typeId() != QMetaType::QString)
            continue;
        out << QVariantMap { { QStringLiteral("key"), key }, { QStringLiteral("label"), labelFor(key) },
            { QStringLiteral("value"), numeric ? valueText(value) : value.toString() },
            { QStringLiteral("numeric"), numeric } };
    }
    return out;
}

void ConversationViewModel::setEditState(const QString& error, bool saving)
{
    if (m_editError == error && m_isSavingEdit == saving)
        return;
    m_editError = error;
    m_isSavingEdit = saving;
    emit editStateChanged();
}

void ConversationViewModel::clearEditError()
{
    setEditState(QString(), m_isSavingEdit);
}

void ConversationViewModel::savePendingEdit(const QVariantMap& item, const QVariantMap& values)
{
    [](QPointer<ConversationViewModel> self, QVariantMap edited, QVariantMap changes) -> QCoro::Task<void> {
        try {
            if (self)
                co_await self->savePendingEditAsync(edited, changes);
        } catch (...) {
        }
    }(this, item, values);
}

QCoro::Task<bool> ConversationViewModel::savePendingEditAsync(QVariantMap item, QVariantMap values)
{
    if (!m_appState || m_isSavingEdit)
        co_return false;
    QVariantMap payload = item.value(QStringLiteral("payload")).toMap();
    for (const QVariant& entry : editableFields(item)) {
        const QVariantMap field = entry.toMap();
        const QString key = field.value(QStringLiteral("key")).toString();
        if (!values.contains(key))
            continue;
        const QString text = values.value(key).toString().trimmed();
        if (field.value(QStringLiteral("numeric")).toBool()) {
            bool ok = false;
            const double number = text.toDouble(&ok);
            if (!ok) {
                setEditState(
                    QStringLiteral("「%1」需要一个数字").arg(field.value(QStringLiteral("label")).toString()), false);
                co_return false;
            }
            payload.insert(key, number);
        } else {
            payload.insert(key, text);
        }
    }

    QPointer<ConversationViewModel> self(this);
    QPointer<AppState> appState = m_appState;
    const QString id = item.value(QStringLiteral("id")).toString();
    setEditState(QString(), true);
    std::optional<wire::PendingItem> saved;
    std::exception_ptr failure;
    try {
        const wire::AnyDict body = wire::fromJson<wire::AnyDict>(QJsonObject::fromVariantMap(payload));
        saved = co_await appState->api().updatePending(id, body);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return false;
    if (failure) {
        setEditState(QStringLiteral("保存失败：%1").arg(formatLoadError(failure).message), false);
        co_return false;
    }
    if (VelmarOSChatStore* chat = store())
        chat->applyEditedPending(*saved);
    setEditState(QString(), false);
    emit editSaved();
    co_return true;
}

QStringList ConversationViewModel::thumbnailUrls(const QString& eventId) const
{
    QStringList out;
    VelmarOSChatStore* chat = store();
    if (!chat)
        return out;
    for (const QByteArray& bytes : chat->thumbnails(QUuid::fromString(eventId))) {
        const bool jpeg = bytes.startsWith("\xFF\xD8");
        out << QStringLiteral("data:%1;base64,").arg(jpeg ? QStringLiteral("image/jpeg") : QStringLiteral("image/png"))
                + QString::fromLatin1(bytes.toBase64());
    }
    return out;
}

QString ConversationViewModel::durationText(const QVariant& milliseconds)
{
    if (!milliseconds.isValid() || milliseconds.isNull())
        return {};
    const qint64 ms = std::max<qint64>(0, milliseconds.toLongLong());
    if (ms < 10000)
        return QStringLiteral("%1s").arg(QLocale::c().toString(ms / 1000.0, 'f', 1));
    const qint64 seconds = ms / 1000;
    if (seconds < 60)
        return QStringLiteral("%1s").arg(seconds);
    return QStringLiteral("%1m%2s").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

QString ConversationViewModel::sessionTitle(const QVariantMap& session)
{
    const QString title = session.value(QStringLiteral("title")).toString().trimmed();
    return title.isEmpty() ? QStringLiteral("新会话") : title;
}

QString ConversationViewModel::sessionTime(const QVariantMap& session) const
{
    const QDateTime at = session.value(QStringLiteral("lastActiveAt")).toDateTime().toLocalTime();
    if (!at.isValid())
        return {};
    const QDateTime now = (m_appState ? m_appState->deps().clock->now() : QDateTime::currentDateTime()).toLocalTime();
    if (at.date() == now.date())
        return QLocale::c().toString(at, QStringLiteral("HH:mm"));
    if (at.date() == now.date().addDays(-1))
        return QStringLiteral("昨天");
    if (at.date().year() == now.date().year())
        return QStringLiteral("%1月%2日").arg(at.date().month()).arg(at.date().day());
    return QLocale::c().toString(at.date(), QStringLiteral("yyyy-MM-dd"));
}

#include "PendingPayloads.h"

#include "ApiError.h"
#include "FinanceInput.h"
#include "LocalClock.h"

#include <QRegularExpression>

#include <cmath>

namespace lumen {

namespace {

constexpr int kMaxTextLength = 500;

std::optional<QString> text(const wire::AnyDict& payload, const char* key)
{
    const auto found = payload.find(QString::fromLatin1(key));
    if (found == payload.end() || found->second.isNull())
        return std::nullopt;
    if (const auto value = found->second.stringValue())
        return value->trimmed();
    throw ApiError::unprocessable(QStringLiteral("字段 %1 应为文字").arg(QString::fromLatin1(key)));
}

std::optional<double> number(const wire::AnyDict& payload, const char* key)
{
    const auto found = payload.find(QString::fromLatin1(key));
    if (found == payload.end() || found->second.isNull())
        return std::nullopt;
    if (const auto value = found->second.doubleValue())
        return *value;
    // A figure typed into the edit sheet may arrive as text.
    if (const auto written = found->second.stringValue()) {
        bool ok = false;
        const double value = written->trimmed().toDouble(&ok);
        if (ok)
            return value;
    }
    throw ApiError::unprocessable(QStringLiteral("字段 %1 应为数字").arg(QString::fromLatin1(key)));
}

QString limited(const QString& value, const char* key)
{
    if (value.size() > kMaxTextLength)
        throw ApiError::unprocessable(
            QStringLiteral("字段 %1 最多 %2 个字").arg(QString::fromLatin1(key)).arg(kMaxTextLength));
    return value;
}

QDate day(const wire::AnyDict& payload, std::optional<QDate> fallback)
{
    const auto written = text(payload, "date");
    if (!written || written->isEmpty()) {
        if (fallback)
            return *fallback;
        throw ApiError::unprocessable(QStringLiteral("缺少日期 date"));
    }
    if (const auto parsed = LocalClock::parseDay(*written))
        return *parsed;
    // The ledger's other form of a day.
    const QDate dmy = QDate::fromString(*written, QStringLiteral("dd/MM/yyyy"));
    if (dmy.isValid())
        return dmy;
    throw ApiError::unprocessable(QStringLiteral("日期格式应为 yyyy-MM-dd：%1").arg(written->left(40)));
}

int clock(const wire::AnyDict& payload, const char* key)
{
    const auto written = text(payload, key);
    if (!written || written->isEmpty())
        throw ApiError::unprocessable(QStringLiteral("缺少时间 %1").arg(QString::fromLatin1(key)));
    const auto minutes = LocalClock::parseClock(*written);
    if (!minutes)
        throw ApiError::unprocessable(QStringLiteral("时间格式应为 HH:mm：%1").arg(written->left(40)));
    return *minutes;
}

} // namespace

QString PendingPayloads::kindOf(const wire::AnyDict& payload)
{
    const auto found = payload.find(QStringLiteral("_kind"));
    if (found == payload.end())
        return QStringLiteral("create");
    return found->second.stringValue().value_or(QStringLiteral("create"));
}

qint64 PendingPayloads::targetOf(const wire::AnyDict& payload)
{
    const auto target = number(payload, "target_id");
    if (!target || *target < 1 || *target != std::floor(*target))
        throw ApiError::unprocessable(QStringLiteral("修改缺少要改的记录 target_id"));
    return qint64(*target);
}

wire::TimeEntryUpdateRequest PendingPayloads::timeChange(const wire::AnyDict& payload)
{
    const NewTimeEntry entry = time(payload);
    wire::TimeEntryUpdateRequest change;
    change.date = LocalClock::dayText(entry.date);
    change.start_time = LocalClock::clockText(entry.startMinutes);
    change.end_time = LocalClock::clockText(*entry.endMinutes);
    change.activity = entry.activity;
    change.category_id = entry.categoryId;
    return change;
}

NewTransaction PendingPayloads::finance(const wire::AnyDict& payload, const FinanceDefaults& defaults)
{
    NewTransaction line;
    line.amount = FinanceInput::positiveAmount(number(payload, "amount"), QStringLiteral("金额"));
    line.currency = FinanceInput::currency(text(payload, "currency").value_or(QString()), defaults.currency);
    line.category = limited(text(payload, "category").value_or(QString()), "category");
    if (line.category.isEmpty())
        line.category = QStringLiteral("其他");
    const auto written = text(payload, "date");
    line.date = written && !written->isEmpty() ? FinanceInput::day(*written) : defaults.today;
    line.description = limited(text(payload, "description").value_or(QString()), "description");
    line.spender = limited(text(payload, "spender").value_or(QString()), "spender");
    if (line.spender.isEmpty())
        line.spender = defaults.spender;
    if (const auto direction = text(payload, "direction"); direction && !direction->isEmpty()) {
        if (*direction != QLatin1String("expense") && *direction != QLatin1String("income"))
            throw ApiError::unprocessable(QStringLiteral("direction 只能是 expense 或 income"));
        line.direction = *direction;
    }
    if (const auto account = text(payload, "account"); account && !account->isEmpty())
        line.accountName = limited(*account, "account");
    if (const auto note = text(payload, "note"); note && !note->isEmpty())
        line.note = limited(*note, "note");

    const auto items = payload.find(QStringLiteral("items"));
    if (items != payload.end() && !items->second.isNull()) {
        const auto* list = items->second.arrayValue();
        if (!list)
            throw ApiError::unprocessable(QStringLiteral("明细 items 应为列表"));
        int index = 0;
        for (const wire::AnyCodableValue& value : *list) {
            ++index;
            const auto* item = value.dictValue();
            if (!item)
                throw ApiError::unprocessable(QStringLiteral("明细第 %1 项格式错误").arg(index));
            const QString name = limited(text(*item, "name").value_or(QString()), "items.name");
            if (name.isEmpty())
                throw ApiError::unprocessable(QStringLiteral("明细第 %1 项缺少名称").arg(index));
            line.items.push_back({ name,
                FinanceInput::positiveAmount(
                    number(*item, "amount"), QStringLiteral("明细第 %1 项的金额").arg(index)) });
        }
    }
    return line;
}

NewTimeEntry PendingPayloads::time(const wire::AnyDict& payload)
{
    NewTimeEntry entry;
    entry.date = day(payload, std::nullopt);
    entry.startMinutes = clock(payload, "start_time");
    entry.endMinutes = clock(payload, "end_time");
    entry.activity = limited(text(payload, "activity").value_or(QString()), "activity");
    if (entry.activity.isEmpty())
        throw ApiError::unprocessable(QStringLiteral("活动名称不能为空"));
    if (const auto category = number(payload, "category_id")) {
        if (*category != std::floor(*category) || *category < 1)
            throw ApiError::unprocessable(QStringLiteral("时间分类应为正整数"));
        entry.categoryId = int(*category);
    }
    entry.source = text(payload, "source").value_or(QString());
    if (entry.source.isEmpty())
        entry.source = QStringLiteral("velmar-os-chat");
    if (const auto note = text(payload, "raw_note"); note && !note->isEmpty())
        entry.rawNote = limited(*note, "raw_note");
    return entry;
}

} // namespace lumen

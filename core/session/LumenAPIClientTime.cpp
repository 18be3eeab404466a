// The /time operations of LumenAPIClient.
#include "LumenAPIClient.h"

namespace {

QString entryPath(int id)
{
    return QStringLiteral("/time/%1").arg(id);
}

QString categoryPath(int id)
{
    return QStringLiteral("/time/categories/%1").arg(id);
}

} // namespace

QCoro::Task<wire::TimeCurrent> LumenAPIClient::timeCurrent()
{
    co_return co_await request<wire::TimeCurrent>(QStringLiteral("/time/current"));
}

QCoro::Task<wire::AnyCodableValue> LumenAPIClient::timeStart(wire::TimeStartRequest body)
{
    co_return co_await request<wire::AnyCodableValue>(QStringLiteral("/time/start"), QStringLiteral("POST"), body);
}

QCoro::Task<wire::AnyCodableValue> LumenAPIClient::timeStop(wire::TimeStopRequest body)
{
    co_return co_await request<wire::AnyCodableValue>(QStringLiteral("/time/stop"), QStringLiteral("POST"), body);
}

QCoro::Task<std::vector<wire::TimeEntry>> LumenAPIClient::timeList(
    std::optional<QString> date, int limit, std::optional<int> confirmed)
{
    Query query;
    query.insert(QStringLiteral("limit"), QString::number(limit));
    if (date)
        query.insert(QStringLiteral("date"), *date);
    if (confirmed)
        query.insert(QStringLiteral("confirmed"), QString::number(*confirmed));
    co_return co_await request<std::vector<wire::TimeEntry>>(
        QStringLiteral("/time/list"), QStringLiteral("GET"), std::nullopt, query);
}

QCoro::Task<std::vector<wire::TimeEntry>> LumenAPIClient::timeListUnconfirmed()
{
    Query query;
    query.insert(QStringLiteral("confirmed"), QStringLiteral("0"));
    query.insert(QStringLiteral("limit"), QStringLiteral("200"));
    co_return co_await request<std::vector<wire::TimeEntry>>(
        QStringLiteral("/time/list"), QStringLiteral("GET"), std::nullopt, query);
}

QCoro::Task<std::vector<wire::TimeCategory>> LumenAPIClient::timeCategories()
{
    co_return co_await request<std::vector<wire::TimeCategory>>(QStringLiteral("/time/categories"));
}

QCoro::Task<wire::TimeSummary> LumenAPIClient::timeSummary(QString from, QString to)
{
    Query query;
    query.insert(QStringLiteral("from"), from);
    query.insert(QStringLiteral("to"), to);
    co_return co_await request<wire::TimeSummary>(
        QStringLiteral("/time/summary"), QStringLiteral("GET"), std::nullopt, query);
}

QCoro::Task<wire::TimeManualResponse> LumenAPIClient::timeManual(wire::TimeManualRequest body)
{
    co_return co_await request<wire::TimeManualResponse>(QStringLiteral("/time/manual"), QStringLiteral("POST"), body);
}

QCoro::Task<wire::GenericOK> LumenAPIClient::timeUpdateEntry(int id, wire::TimeEntryUpdateRequest body)
{
    co_return co_await request<wire::GenericOK>(entryPath(id), QStringLiteral("PATCH"), body);
}

QCoro::Task<wire::GenericOK> LumenAPIClient::timeDeleteEntry(int id)
{
    co_return co_await request<wire::GenericOK>(entryPath(id), QStringLiteral("DELETE"));
}

QCoro::Task<wire::TimeConfirmResponse> LumenAPIClient::timeConfirmEntry(
    int id, std::optional<int> categoryId, std::optional<QString> activity)
{
    wire::TimeEntryUpdateRequest body;
    body.activity = std::move(activity);
    body.category_id = categoryId;
    body.confirmed = 1;
    co_return co_await request<wire::TimeConfirmResponse>(entryPath(id), QStringLiteral("PATCH"), body);
}

QCoro::Task<wire::TimeConfirmResponse> LumenAPIClient::timePatchRestQuality(int id, QString quality)
{
    wire::TimeEntryUpdateRequest body;
    body.rest_quality = std::move(quality);
    co_return co_await request<wire::TimeConfirmResponse>(entryPath(id), QStringLiteral("PATCH"), body);
}

QCoro::Task<wire::TimeCategoryCreateResponse> LumenAPIClient::timeCreateCategory(wire::TimeCategoryCreateRequest body)
{
    co_return co_await request<wire::TimeCategoryCreateResponse>(
        QStringLiteral("/time/categories"), QStringLiteral("POST"), body);
}

QCoro::Task<wire::GenericOK> LumenAPIClient::timeUpdateCategory(int id, wire::TimeCategoryUpdateRequest body)
{
    co_return co_await request<wire::GenericOK>(categoryPath(id), QStringLiteral("PATCH"), body);
}

QCoro::Task<wire::GenericOK> LumenAPIClient::timeDeleteCategory(int id)
{
    co_return co_await request<wire::GenericOK>(categoryPath(id), QStringLiteral("DELETE"));
}

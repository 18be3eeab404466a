// The /pending operations of LumenAPIClient: the agent's proposals waiting for a yes or no.
#include "LumenAPIClient.h"

namespace {

// Ids come from the server; encoded so that no id can reach another path.
QString itemPath(const QString& id, const QString& action = {})
{
    QString path = QStringLiteral("/pending/") + QString::fromLatin1(QUrl::toPercentEncoding(id));
    if (!action.isEmpty())
        path += QLatin1Char('/') + action;
    return path;
}

} // namespace

QCoro::Task<wire::PendingItem> LumenAPIClient::createPending(wire::PendingCreate body)
{
    co_return co_await request<wire::PendingItem>(QStringLiteral("/pending"), QStringLiteral("POST"), body);
}

QCoro::Task<std::vector<wire::PendingItem>> LumenAPIClient::listPending(QString status, std::optional<QString> domain)
{
    Query query;
    query.insert(QStringLiteral("status"), status);
    if (domain)
        query.insert(QStringLiteral("domain"), *domain);
    co_return co_await request<std::vector<wire::PendingItem>>(
        QStringLiteral("/pending"), QStringLiteral("GET"), std::nullopt, query);
}

QCoro::Task<wire::PendingItem> LumenAPIClient::getPending(QString id)
{
    co_return co_await request<wire::PendingItem>(itemPath(id));
}

QCoro::Task<wire::PendingItem> LumenAPIClient::updatePending(QString id, wire::AnyDict payload)
{
    const wire::PendingUpdate body { std::move(payload) };
    co_return co_await request<wire::PendingItem>(itemPath(id), QStringLiteral("PATCH"), body);
}

// Commit and reject carry no fields; the empty object keeps every server happy with a length.
QCoro::Task<wire::PendingItem> LumenAPIClient::commitPending(QString id)
{
    const wire::EmptyBody body;
    co_return co_await request<wire::PendingItem>(itemPath(id, QStringLiteral("commit")), QStringLiteral("POST"), body);
}

QCoro::Task<wire::PendingItem> LumenAPIClient::rejectPending(QString id)
{
    const wire::EmptyBody body;
    co_return co_await request<wire::PendingItem>(itemPath(id, QStringLiteral("reject")), QStringLiteral("POST"), body);
}

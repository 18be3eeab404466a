#include "PendingRoutes.h"

#include "Backend.h"
#include "services/ApiError.h"

namespace lumen::routes {

namespace {

QString itemId(const httplib::Request& req)
{
    return QString::fromStdString(req.matches[1]);
}

} // namespace

void registerPendingRoutes(httplib::Server& server, RouteContext& context)
{
    Backend& backend = context.backend;

    server.Post("/pending",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const auto request = decodeBody<wire::PendingCreate>(req);
            send(res, backend.pending().create(user.userId, request));
        }));

    server.Get("/pending",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const QString status = queryText(req, "status").value_or(QStringLiteral("pending")).trimmed();
            const auto domain = queryText(req, "domain");
            const qint64 limit = queryInteger(req, "limit").value_or(200);
            if (limit < 1 || limit > 1000)
                throw ApiError::unprocessable(QStringLiteral("limit 应为 1 到 1000 之间的整数"));
            send(res,
                backend.pending().list(
                    user.userId, status.isEmpty() ? QStringLiteral("pending") : status, domain, int(limit)));
        }));

    server.Get(R"(/pending/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res, backend.pending().get(user.userId, itemId(req)));
        }));

    server.Patch(R"(/pending/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const QString id = itemId(req);
            const auto request = decodeBody<wire::PendingUpdate>(req);
            send(res, backend.pending().update(user.userId, id, request));
        }));

    server.Post(R"(/pending/([^/]+)/commit)",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res, backend.pending().commit(user.userId, itemId(req)));
        }));

    server.Post(R"(/pending/([^/]+)/reject)",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res, backend.pending().reject(user.userId, itemId(req)));
        }));
}

} // namespace lumen::routes

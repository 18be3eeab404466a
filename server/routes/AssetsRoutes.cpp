#include "AssetsRoutes.h"

#include "Backend.h"

namespace lumen::routes {

void registerAssetsRoutes(httplib::Server& server, RouteContext& context)
{
    Backend& backend = context.backend;

    // Registered first: the slug pattern below would take "list" too.
    server.Get("/assets/list",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request&, httplib::Response& res) {
            send(res, backend.assets().list(user.userId));
        }));

    server.Get(R"(/assets/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res, backend.assets().get(user.userId, QString::fromStdString(req.matches[1])));
        }));
}

} // namespace lumen::routes

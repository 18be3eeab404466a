#include "FinanceRoutes.h"

#include "Backend.h"
#include "session/SessionModels.h"

namespace lumen::routes {

void registerFinanceRoutes(httplib::Server& server, RouteContext& context)
{
    Backend& backend = context.backend;

    // A POST, as the chat confirms a delete the agent proposed.
    server.Post(R"(/finance/transactions/([^/]+)/delete)",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.financeLedger().remove(user.userId, pathId(req, 1, QStringLiteral("账目不存在")));
            send(res, wire::GenericOK { true });
        }));

    server.Get("/finance/keywords",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request&, httplib::Response& res) {
            send(res, backend.lexicons().financeWords(user.userId));
        }));

    server.Post("/finance/keywords",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const auto request = decodeBody<wire::FinanceKeywordCreate>(req);
            send(res, backend.lexicons().addFinanceWord(user.userId, request));
        }));

    server.Delete(R"(/finance/keywords/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.lexicons().removeFinanceWord(user.userId, pathId(req, 1, QStringLiteral("关键词不存在")));
            send(res, wire::GenericOK { true });
        }));
}

} // namespace lumen::routes

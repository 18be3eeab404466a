#include "ChatSessionRoutes.h"

#include "Backend.h"

#include "session/SessionModels.h"

namespace lumen::routes {

namespace {

QString sessionId(const httplib::Request& req)
{
    return QString::fromStdString(req.matches[1]);
}

const wire::GenericOK kOk { true };

} // namespace

void registerChatSessionRoutes(httplib::Server& server, RouteContext& context)
{
    ChatSessionService& sessions = context.backend.chatSessions();

    server.Get("/chat/sessions",
        signedIn(context, [&sessions](const AuthUser& user, const httplib::Request&, httplib::Response& res) {
            send(res, sessions.list(user.userId));
        }));

    server.Post("/chat/sessions",
        signedIn(context, [&sessions](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res, sessions.create(user.userId, decodeBody<wire::ChatSessionCreate>(req)).first);
        }));

    server.Patch(R"(/chat/sessions/([^/]+))",
        signedIn(context, [&sessions](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const auto patch = decodeBodyOrEmpty<wire::ChatSessionPatch>(req);
            send(res, sessions.update(user.userId, sessionId(req), patch));
        }));

    server.Delete(R"(/chat/sessions/([^/]+))",
        signedIn(context, [&sessions](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            sessions.remove(user.userId, sessionId(req));
            send(res, kOk);
        }));

    server.Get(R"(/chat/sessions/([^/]+)/messages)",
        signedIn(context, [&sessions](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const qint64 limit = queryInteger(req, "limit").value_or(ChatSessionService::defaultMessageLimit);
            const int clamped = int(std::clamp<qint64>(limit, 1, ChatSessionService::maxMessageLimit));
            send(res, sessions.messages(user.userId, sessionId(req), clamped));
        }));

    server.Post(R"(/chat/sessions/([^/]+)/messages)",
        signedIn(context, [&sessions](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const auto message = decodeBody<wire::ChatMessageCreate>(req);
            send(res, wire::ChatMessagePostResult { true, sessions.post(user.userId, sessionId(req), message) });
        }));

    server.Delete(R"(/chat/sessions/([^/]+)/messages)",
        signedIn(context, [&sessions](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            sessions.clear(user.userId, sessionId(req));
            send(res, kOk);
        }));
}

} // namespace lumen::routes

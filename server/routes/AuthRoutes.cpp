#include "AuthRoutes.h"

#include "Backend.h"
#include "services/ApiError.h"
#include "session/SessionModels.h"

namespace lumen::routes {

namespace {

struct BindAnswer {
    bool ok = true;
    qint64 household_id = 0;
    wire::UserRelation member;

    static BindAnswer fromJson(const wire::ObjectReader& in)
    {
        return { in.required<bool>("ok"), in.required<qint64>("household_id"),
            in.required<wire::UserRelation>("member") };
    }
    void writeJson(wire::ObjectWriter& out) const
    {
        out.set("ok", ok).set("household_id", household_id).set("member", member);
    }
};

struct TransferAnswer {
    bool ok = true;
    qint64 household_id = 0;
    qint64 owner_id = 0;
    qint64 previous_owner_id = 0;

    static TransferAnswer fromJson(const wire::ObjectReader& in)
    {
        return { in.required<bool>("ok"), in.required<qint64>("household_id"), in.required<qint64>("owner_id"),
            in.required<qint64>("previous_owner_id") };
    }
    void writeJson(wire::ObjectWriter& out) const
    {
        out.set("ok", ok)
            .set("household_id", household_id)
            .set("owner_id", owner_id)
            .set("previous_owner_id", previous_owner_id);
    }
};

qint64 idFrom(const std::string& text)
{
    bool ok = false;
    const qint64 id = QString::fromStdString(text).toLongLong(&ok);
    if (!ok || id <= 0)
        throw ApiError::notFound(QStringLiteral("该成员未绑定在你的家庭中"));
    return id;
}

} // namespace

void registerAuthRoutes(httplib::Server& server, RouteContext& context)
{
    Backend& backend = context.backend;

    server.Post("/auth/login", open([&backend](const httplib::Request& req, httplib::Response& res) {
        const auto request = decodeBody<wire::LoginRequest>(req);
        send(res, backend.accounts().login(request.username, request.password));
    }));

    server.Post("/auth/logout",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request&, httplib::Response& res) {
            backend.accounts().logout(user);
            send(res, wire::GenericOK { true });
        }));

    server.Get("/auth/me",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request&, httplib::Response& res) {
            send(res, backend.accounts().profile(user));
        }));

    server.Post("/auth/relations/transfer",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const auto request = decodeBody<wire::TransferOwnerRequest>(req);
            const TransferResult result = backend.households().transfer(user.userId, request.member_id);
            send(res, TransferAnswer { true, result.householdId, result.ownerId, result.previousOwnerId });
        }));

    server.Post("/auth/relations",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const auto request = decodeBody<wire::AddRelationRequest>(req);
            const BindResult result = backend.households().bind(user.userId, request.username, request.role);
            send(res, BindAnswer { true, result.householdId, result.member });
        }));

    server.Delete(R"(/auth/relations/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.households().remove(user.userId, idFrom(req.matches[1]));
            send(res, wire::GenericOK { true });
        }));
}

} // namespace lumen::routes

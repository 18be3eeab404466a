#include "TimeRoutes.h"

#include "Backend.h"
#include "services/ApiError.h"
#include "services/LocalClock.h"
#include "session/SessionModels.h"
#include "time/TimeDomainModels.h"

namespace lumen::routes {

namespace {

const QString kNoEntry = QStringLiteral("时间记录不存在");
const QString kNoCategory = QStringLiteral("时间分类不存在");

struct StopAnswer {
    bool ok = true;
    double duration_min = 0;
    std::vector<wire::TimeEntry> entries;

    static StopAnswer fromJson(const wire::ObjectReader& in)
    {
        return { in.required<bool>("ok"), in.required<double>("duration_min"),
            in.required<std::vector<wire::TimeEntry>>("entries") };
    }
    void writeJson(wire::ObjectWriter& out) const
    {
        out.set("ok", ok).set("duration_min", duration_min).set("entries", entries);
    }
};

struct StartAnswer {
    bool ok = true;
    wire::TimeCurrent current;
    std::optional<StopAnswer> stopped;

    static StartAnswer fromJson(const wire::ObjectReader& in)
    {
        return { in.required<bool>("ok"), in.required<wire::TimeCurrent>("current"),
            in.optional<StopAnswer>("stopped") };
    }
    void writeJson(wire::ObjectWriter& out) const { out.set("ok", ok).set("current", current).set("stopped", stopped); }
};

struct ManualAnswer {
    bool ok = true;
    double duration_min = 0;
    int id = 0;

    static ManualAnswer fromJson(const wire::ObjectReader& in)
    {
        return { in.required<bool>("ok"), in.required<double>("duration_min"), in.required<int>("id") };
    }
    void writeJson(wire::ObjectWriter& out) const { out.set("ok", ok).set("duration_min", duration_min).set("id", id); }
};

StopAnswer stopAnswer(const TimeStopResult& result)
{
    return { true, result.durationMin, result.entries };
}

int categoryId(const httplib::Request& req)
{
    return int(pathId(req, 1, kNoCategory));
}

} // namespace

void registerTimeRoutes(httplib::Server& server, RouteContext& context)
{
    Backend& backend = context.backend;

    server.Get("/time/current",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request&, httplib::Response& res) {
            send(res, backend.timeLedger().current(user.userId));
        }));

    server.Post("/time/start",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const auto request = decodeBody<wire::TimeStartRequest>(req);
            const TimeStartResult result = backend.timeLedger().start(user.userId, request);
            send(res,
                StartAnswer { true, result.current,
                    result.stopped ? std::optional<StopAnswer>(stopAnswer(*result.stopped)) : std::nullopt });
        }));

    server.Post("/time/stop",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const auto request = decodeBodyOrEmpty<wire::TimeStopRequest>(req);
            send(res, stopAnswer(backend.timeLedger().stop(user.userId, request)));
        }));

    server.Get("/time/list",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            TimeListQuery query;
            const qint64 limit = queryInteger(req, "limit").value_or(100);
            if (limit < 1 || limit > 5000)
                throw ApiError::unprocessable(QStringLiteral("limit 应为 1 到 5000 之间的整数"));
            query.limit = int(limit);
            if (const auto date = queryText(req, "date"); date && !date->isEmpty()) {
                query.date = LocalClock::parseDay(*date);
                if (!query.date)
                    throw ApiError::unprocessable(QStringLiteral("日期格式应为 yyyy-MM-dd：%1").arg(date->left(40)));
            }
            if (const auto confirmed = queryInteger(req, "confirmed")) {
                if (*confirmed != 0 && *confirmed != 1)
                    throw ApiError::unprocessable(QStringLiteral("confirmed 只能是 0 或 1"));
                query.confirmed = int(*confirmed);
            }
            send(res, backend.timeLedger().list(user.userId, query));
        }));

    server.Get("/time/summary",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const auto from = queryText(req, "from");
            const auto to = queryText(req, "to");
            if (!from || !to)
                throw ApiError::unprocessable(QStringLiteral("需要参数 from 和 to（yyyy-MM-dd）"));
            send(res, backend.timeLedger().summary(user.userId, *from, *to));
        }));

    server.Post("/time/manual",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const auto request = decodeBody<wire::TimeManualRequest>(req);
            std::optional<QString> clientKey;
            if (req.has_header("Idempotency-Key"))
                clientKey = QString::fromStdString(req.get_header_value("Idempotency-Key"));
            const wire::TimeEntry entry = backend.timeLedger().addManual(user.userId, request, clientKey);
            send(res, ManualAnswer { true, entry.duration_min.value_or(0), entry.id });
        }));

    server.Get("/time/categories",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request&, httplib::Response& res) {
            send(res, backend.timeCategories().list(user.userId));
        }));

    server.Post("/time/categories",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const auto request = decodeBody<wire::TimeCategoryCreateRequest>(req);
            send(res, backend.timeCategories().create(user.userId, request));
        }));

    server.Patch(R"(/time/categories/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const int id = categoryId(req);
            const auto request = decodeBody<wire::TimeCategoryUpdateRequest>(req);
            backend.timeCategories().update(user.userId, id, request);
            send(res, wire::GenericOK { true });
        }));

    server.Delete(R"(/time/categories/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.timeCategories().remove(user.userId, categoryId(req));
            send(res, wire::GenericOK { true });
        }));

    server.Patch(R"(/time/([0-9]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const qint64 id = pathId(req, 1, kNoEntry);
            const auto request = decodeBody<wire::TimeEntryUpdateRequest>(req);
            send(res, backend.timeLedger().update(user.userId, id, request));
        }));

    server.Delete(R"(/time/([0-9]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.timeLedger().remove(user.userId, pathId(req, 1, kNoEntry));
            send(res, wire::GenericOK { true });
        }));

    // The same delete as a POST: the form a delete proposed in the chat is confirmed with.
    server.Post(R"(/time/([0-9]+)/delete)",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.timeLedger().remove(user.userId, pathId(req, 1, kNoEntry));
            send(res, wire::GenericOK { true });
        }));
}

} // namespace lumen::routes

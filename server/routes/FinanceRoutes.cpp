#include "FinanceRoutes.h"

#include "Backend.h"
#include "services/ApiError.h"
#include "services/FinanceInput.h"
#include "services/LocalClock.h"
#include "session/SessionModels.h"

#include "finance/FinanceCategory.h"
#include "finance/FinanceReports.h"
#include "finance/PendingImport.h"

namespace lumen::routes {

namespace {

const QString kNoTransaction = QStringLiteral("账目不存在");
const QString kNoItem = QStringLiteral("明细不存在");
const QString kNoCategory = QStringLiteral("分类不存在");
const QString kNoPending = QStringLiteral("待审条目不存在");

struct CreatedAnswer {
    bool ok = true;
    qint64 id = 0;

    static CreatedAnswer fromJson(const wire::ObjectReader& in)
    {
        return { in.required<bool>("ok"), in.required<qint64>("id") };
    }
    void writeJson(wire::ObjectWriter& out) const { out.set("ok", ok).set("id", id); }
};

// The month a report asks for; this month of the household when left out.
QString monthOf(const httplib::Request& req, Backend& backend, const AuthUser& user)
{
    if (const auto month = queryText(req, "month"); month && !month->trimmed().isEmpty())
        return month->trimmed();
    const Household household = backend.households().householdOf(user.userId);
    return LocalClock(backend.clock(), household.timezone).today().toString(QStringLiteral("yyyy-MM"));
}

TransactionQuery transactionQuery(const httplib::Request& req)
{
    TransactionQuery query;
    query.from = FinanceInput::optionalDay(queryText(req, "start_date"));
    query.to = FinanceInput::optionalDay(queryText(req, "end_date"));
    auto filter = [&req](const char* name) -> std::optional<QString> {
        const auto value = queryText(req, name);
        return value && !value->trimmed().isEmpty() ? std::optional(value->trimmed()) : std::nullopt;
    };
    query.category = filter("category");
    query.spender = filter("spender");
    query.direction = filter("direction");
    if (query.direction && *query.direction != QStringLiteral("income")
        && *query.direction != QStringLiteral("expense"))
        throw ApiError::unprocessable(QStringLiteral("direction 只能是 expense 或 income"));
    query.limit = queryInteger(req, "limit");
    if (query.limit && (*query.limit < 1 || *query.limit > 100000))
        throw ApiError::unprocessable(QStringLiteral("limit 应在 1 到 100000 之间"));
    query.offset = queryInteger(req, "offset").value_or(0);
    if (query.offset < 0)
        throw ApiError::unprocessable(QStringLiteral("offset 不能为负"));
    return query;
}

} // namespace

void registerFinanceRoutes(httplib::Server& server, RouteContext& context)
{
    Backend& backend = context.backend;

    // ---- transactions and their items ----

    server.Get("/finance/transactions",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res, backend.financeLedger().list(user.userId, transactionQuery(req)));
        }));

    server.Post("/finance/transactions",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res, backend.financeLedger().create(user.userId, decodeBody<wire::CreateTransactionRequest>(req)));
        }));

    server.Get(R"(/finance/transactions/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res, backend.financeLedger().transaction(user.userId, pathId(req, 1, kNoTransaction)));
        }));

    server.Put(R"(/finance/transactions/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const qint64 id = pathId(req, 1, kNoTransaction);
            backend.financeLedger().update(user.userId, id, decodeBody<wire::UpdateTransactionRequest>(req));
            send(res, wire::GenericOK { true });
        }));

    server.Delete(R"(/finance/transactions/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.financeLedger().remove(user.userId, pathId(req, 1, kNoTransaction));
            send(res, wire::GenericOK { true });
        }));

    // A POST, as the chat confirms a delete the agent proposed.
    server.Post(R"(/finance/transactions/([^/]+)/delete)",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.financeLedger().remove(user.userId, pathId(req, 1, kNoTransaction));
            send(res, wire::GenericOK { true });
        }));

    server.Get(R"(/finance/transactions/([^/]+)/items)",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res,
                wire::TransactionItemsResponse {
                    backend.financeLedger().items(user.userId, pathId(req, 1, kNoTransaction)) });
        }));

    server.Post(R"(/finance/transactions/([^/]+)/items)",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const qint64 id = pathId(req, 1, kNoTransaction);
            send(res, backend.financeLedger().addItem(user.userId, id, decodeBody<wire::CreateTransactionItem>(req)));
        }));

    server.Delete(R"(/finance/transactions/([^/]+)/items/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.financeLedger().removeItem(user.userId, pathId(req, 1, kNoTransaction), pathId(req, 2, kNoItem));
            send(res, wire::GenericOK { true });
        }));

    // ---- categories ----

    server.Get("/finance/categories",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request&, httplib::Response& res) {
            send(res, backend.financeCategories().list(user.userId));
        }));

    server.Post("/finance/categories",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const qint64 id
                = backend.financeCategories().create(user.userId, decodeBody<wire::CreateCategoryRequest>(req));
            send(res, CreatedAnswer { true, id });
        }));

    server.Put(R"(/finance/categories/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const qint64 id = pathId(req, 1, kNoCategory);
            backend.financeCategories().update(user.userId, id, decodeBody<wire::UpdateCategoryRequest>(req));
            send(res, wire::GenericOK { true });
        }));

    server.Delete(R"(/finance/categories/([^/]+))",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.financeCategories().remove(user.userId, pathId(req, 1, kNoCategory));
            send(res, wire::GenericOK { true });
        }));

    // ---- month figures ----

    server.Get("/finance/months",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request&, httplib::Response& res) {
            send(res, backend.financeSummaries().months(user.userId));
        }));

    server.Get("/finance/summary",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res, backend.financeSummaries().summary(user.userId, monthOf(req, backend, user)));
        }));

    server.Get("/finance/trend",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const QString granularity = queryText(req, "granularity").value_or(QStringLiteral("month"));
            send(res, backend.financeSummaries().trend(user.userId, granularity, monthOf(req, backend, user)));
        }));

    server.Get("/finance/cash-flow",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res, backend.financeSummaries().cashFlow(user.userId, monthOf(req, backend, user)));
        }));

    // ---- lines awaiting review ----

    server.Get("/finance/pending",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request&, httplib::Response& res) {
            send(res, backend.financePending().list(user.userId));
        }));

    server.Post("/finance/pending/confirm-batch",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.financePending().confirmBatch(user.userId, decodeBody<wire::BatchIdsRequest>(req));
            send(res, wire::GenericOK { true });
        }));

    server.Post("/finance/pending/skip-batch",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.financePending().skipBatch(user.userId, decodeBody<wire::BatchIdsRequest>(req));
            send(res, wire::GenericOK { true });
        }));

    server.Post(R"(/finance/pending/([^/]+)/confirm)",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            const qint64 id = pathId(req, 1, kNoPending);
            backend.financePending().confirm(user.userId, id, decodeBodyOrEmpty<wire::ConfirmPendingRequest>(req));
            send(res, wire::GenericOK { true });
        }));

    server.Post(R"(/finance/pending/([^/]+)/skip)",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            backend.financePending().skip(user.userId, pathId(req, 1, kNoPending));
            send(res, wire::GenericOK { true });
        }));

    server.Post("/finance/voice/text",
        signedIn(context, [&backend](const AuthUser& user, const httplib::Request& req, httplib::Response& res) {
            send(res, backend.financePending().voiceText(user.userId, decodeBody<wire::VoiceTextRequest>(req)));
        }));

    // ---- the household's own words ----

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

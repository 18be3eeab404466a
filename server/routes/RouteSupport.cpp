#include "RouteSupport.h"

#include "Backend.h"
#include "services/ApiError.h"

#include <QDebug>

namespace lumen::routes {

const char* const kJsonContentType = "application/json; charset=utf-8";

namespace {

std::optional<QString> bearerOf(const httplib::Request& req)
{
    const std::string header = req.get_header_value("Authorization");
    constexpr std::string_view scheme = "bearer ";
    if (header.size() <= scheme.size())
        return std::nullopt;
    for (size_t i = 0; i < scheme.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(header[i])) != scheme[i])
            return std::nullopt;
    }
    const QString token = QString::fromLatin1(header.substr(scheme.size())).trimmed();
    return token.isEmpty() ? std::nullopt : std::optional<QString>(token);
}

void guarded(const httplib::Request& req, httplib::Response& res, const std::function<void()>& body)
{
    try {
        body();
    } catch (const wire::DecodeError& error) {
        sendError(res, 422, QStringLiteral("请求格式错误：%1").arg(error.description()));
    } catch (const ApiError& error) {
        if (error.retryAfter())
            res.set_header("Retry-After", std::to_string(std::max(1, *error.retryAfter())));
        sendError(res, error.status(), error.detail());
    } catch (const std::exception& error) {
        // The path and the failure only: headers and bodies may carry tokens or passwords.
        qWarning().noquote() << "[lumen-api]" << QString::fromStdString(req.method) << QString::fromStdString(req.path)
                             << "failed:" << error.what();
        sendError(res, 500, QStringLiteral("服务器内部错误"));
    } catch (...) {
        qWarning().noquote() << "[lumen-api]" << QString::fromStdString(req.method) << QString::fromStdString(req.path)
                             << "failed with an unknown error";
        sendError(res, 500, QStringLiteral("服务器内部错误"));
    }
}

} // namespace

void sendJson(httplib::Response& res, const QByteArray& body, int status)
{
    res.status = status;
    res.set_content(body.constData(), size_t(body.size()), kJsonContentType);
}

void sendError(httplib::Response& res, int status, const QString& detail)
{
    QJsonObject object;
    object.insert(QStringLiteral("detail"), detail);
    sendJson(res, wire::serialize(object), status);
}

std::optional<QString> queryText(const httplib::Request& req, const char* name)
{
    if (!req.has_param(name))
        return std::nullopt;
    return QString::fromStdString(req.get_param_value(name));
}

std::optional<qint64> queryInteger(const httplib::Request& req, const char* name)
{
    const auto text = queryText(req, name);
    if (!text)
        return std::nullopt;
    bool ok = false;
    const qint64 value = text->trimmed().toLongLong(&ok);
    if (!ok)
        throw ApiError::unprocessable(QStringLiteral("参数 %1 应为整数").arg(QString::fromLatin1(name)));
    return value;
}

qint64 pathId(const httplib::Request& req, int index, const QString& notFoundDetail)
{
    bool ok = false;
    const qint64 id = QString::fromStdString(req.matches[index]).toLongLong(&ok);
    if (!ok || id <= 0)
        throw ApiError::notFound(notFoundDetail);
    return id;
}

httplib::Server::Handler open(OpenHandler handler)
{
    return [handler = std::move(handler)](
               const httplib::Request& req, httplib::Response& res) { guarded(req, res, [&] { handler(req, res); }); };
}

httplib::Server::Handler signedIn(RouteContext& context, UserHandler handler)
{
    return [&context, handler = std::move(handler)](const httplib::Request& req, httplib::Response& res) {
        guarded(req, res, [&] {
            const auto token = bearerOf(req);
            const auto user = token ? context.backend.accounts().authenticate(*token) : std::nullopt;
            if (!user) {
                res.set_header("WWW-Authenticate", "Bearer");
                throw ApiError::unauthorized(QStringLiteral("未登录或登录已失效"));
            }
            handler(*user, req, res);
        });
    };
}

} // namespace lumen::routes

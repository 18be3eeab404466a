#pragma once

#include "services/TokenService.h"
#include "json/JsonCoding.h"

#include <httplib.h>

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

namespace lumen {

class Backend;

namespace routes {

// What every route family is registered with.
struct RouteContext {
    Backend& backend;
};

using OpenHandler = std::function<void(const httplib::Request&, httplib::Response&)>;
using UserHandler = std::function<void(const AuthUser&, const httplib::Request&, httplib::Response&)>;

extern const char* const kJsonContentType;

void sendJson(httplib::Response& res, const QByteArray& body, int status = 200);
void sendError(httplib::Response& res, int status, const QString& detail);

template<class T> void send(httplib::Response& res, const T& record, int status = 200)
{
    sendJson(res, wire::toBytes(record), status);
}

// The request body as the record T; a wire::DecodeError names the offending field.
template<class T> T decodeBody(const httplib::Request& req)
{
    return wire::fromBytes<T>(QByteArray::fromStdString(req.body));
}

// The same, where an empty body stands for an empty object (every field left out).
template<class T> T decodeBodyOrEmpty(const httplib::Request& req)
{
    if (QByteArray::fromStdString(req.body).trimmed().isEmpty())
        return wire::fromJson<T>(QJsonObject());
    return decodeBody<T>(req);
}

// A query parameter; nothing when it is absent.
std::optional<QString> queryText(const httplib::Request& req, const char* name);
// An integer query parameter; throws ApiError 422 naming the parameter when it is not one.
std::optional<qint64> queryInteger(const httplib::Request& req, const char* name);
// The numeric id captured by the path pattern's group `index`; throws ApiError 404 with the
// given detail when it is no positive number, as for an unknown record.
qint64 pathId(const httplib::Request& req, int index, const QString& notFoundDetail);

// The one wrapper of every handler: a DecodeError becomes 422 naming the field, an ApiError
// its own status and detail, anything else a 500 with a generic detail and a log line.
httplib::Server::Handler open(OpenHandler handler);
// The same after authenticating the bearer token; without a valid one, 401.
httplib::Server::Handler signedIn(RouteContext& context, UserHandler handler);

} // namespace routes
} // namespace lumen

#pragma once

#include "services/TokenService.h"
#include "json/JsonCoding.h"

#include <httplib.h>

#include <QByteArray>
#include <QString>

#include <functional>

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

// The one wrapper of every handler: a DecodeError becomes 422 naming the field, an ApiError
// its own status and detail, anything else a 500 with a generic detail and a log line.
httplib::Server::Handler open(OpenHandler handler);
// The same after authenticating the bearer token; without a valid one, 401.
httplib::Server::Handler signedIn(RouteContext& context, UserHandler handler);

} // namespace routes
} // namespace lumen

#include "HealthRoutes.h"

#include "Backend.h"
#include "services/ApiError.h"
#include "session/SessionModels.h"

#ifndef LUMEN_API_VERSION
#define LUMEN_API_VERSION "0"
#endif

namespace lumen::routes {

void registerHealthRoutes(httplib::Server& server, RouteContext& context)
{
    server.Get("/health", open([&context](const httplib::Request&, httplib::Response& res) {
        try {
            context.backend.database().connection().prepare("SELECT 1").step();
        } catch (const std::exception&) {
            throw ApiError(503, QStringLiteral("数据库不可用"));
        }
        const wire::HealthResponse health {
            { QStringLiteral("status"), QStringLiteral("ok") },
            { QStringLiteral("service"), QStringLiteral("lumen-api") },
            { QStringLiteral("version"), QStringLiteral(LUMEN_API_VERSION) },
            { QStringLiteral("database"), QStringLiteral("ok") },
            { QStringLiteral("time"), context.backend.clock().now().toUTC().toString(Qt::ISODate) },
        };
        send(res, health);
    }));
}

} // namespace lumen::routes

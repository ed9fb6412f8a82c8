#include "ApiContext.h"
#include "HttpJson.h"
#include "Router.h"
#include "Routes.h"
#include "storage/Storage.h"
#include "upstream/ModelClient.h"

#include <QStringList>

#include <httplib.h>

namespace quillo::server {

namespace {

void release(const ApiContext& api, httplib::Response& response) {
    if (api.config.releaseVersion.isEmpty() || api.config.releaseUrl.isEmpty())
        return sendError(response, 404, QStringLiteral("no release published"));
    sendJson(response, 200,
             {{QStringLiteral("version"), api.config.releaseVersion},
              {QStringLiteral("url"), api.config.releaseUrl}});
}

bool storageUp(const ApiContext& api) {
    try {
        return api.storage.ping();
    } catch (const StorageError&) {
        return false;
    }
}

void readiness(const ApiContext& api, httplib::Response& response) {
    QStringList down;
    if (!storageUp(api))
        down += QStringLiteral("storage unavailable");
    if (!api.model.reachable())
        down += QStringLiteral("model unreachable");
    if (!down.isEmpty())
        return sendError(response, 503, down.join(QStringLiteral(", ")));
    sendJson(response, 200, {{QStringLiteral("status"), QStringLiteral("ready")}});
}

} // namespace

void addAppRoutes(Router& router, const ApiContext& api) {
    router.get("/v1/apps/mac", [&api](const httplib::Request&, httplib::Response& response) {
        release(api, response);
    });
    router.get("/healthz", [](const httplib::Request&, httplib::Response& response) {
        sendJson(response, 200, {{QStringLiteral("status"), QStringLiteral("ok")}});
    });
    router.get("/readyz", [&api](const httplib::Request&, httplib::Response& response) {
        readiness(api, response);
    });
}

} // namespace quillo::server

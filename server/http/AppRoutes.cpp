// SPDX-License-Identifier: Apache-2.0
#include "ApiContext.h"
#include "HttpJson.h"
#include "Router.h"
#include "Routes.h"
#include "storage/Storage.h"
#include "upstream/ModelClient.h"

#include <QStringList>

namespace quillo::server {

namespace {

void release(const ApiContext& api, HttpResponse& response) {
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

boost::asio::awaitable<void> readiness(const ApiContext& api, HttpResponse& response) {
    QStringList down;
    if (!storageUp(api))
        down += QStringLiteral("storage unavailable");
    if (!co_await api.model.reachable())
        down += QStringLiteral("model unreachable");
    if (!down.isEmpty()) {
        sendError(response, 503, down.join(QStringLiteral(", ")));
        co_return;
    }
    sendJson(response, 200, {{QStringLiteral("status"), QStringLiteral("ready")}});
}

} // namespace

void addAppRoutes(Router& router, const ApiContext& api) {
    router.get("/v1/apps/mac",
               [&api](const HttpRequest&, HttpResponse& response) { release(api, response); });
    router.get("/healthz", [](const HttpRequest&, HttpResponse& response) {
        sendJson(response, 200, {{QStringLiteral("status"), QStringLiteral("ok")}});
    });
    router.getAsync("/readyz", [&api](const HttpRequest&, HttpResponse& response) {
        return readiness(api, response);
    });
}

} // namespace quillo::server

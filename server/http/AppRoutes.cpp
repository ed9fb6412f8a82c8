// SPDX-License-Identifier: Apache-2.0
#include "ApiContext.h"
#include "HttpJson.h"
#include "Router.h"
#include "Routes.h"
#include "storage/Storage.h"
#include "store/AppIdentity.h"
#include "upstream/ModelClient.h"
#include "upstream/TranscribeClient.h"
#include "upstream/UpstreamHttp.h"

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

QJsonObject modelJson(const ModelFinding& found) {
    if (!found.endpoint) {
        return {{QStringLiteral("ready"), false}, {QStringLiteral("problem"), found.problem}};
    }
    return {{QStringLiteral("url"), shownUrl(found.endpoint->url)},
            {QStringLiteral("name"), found.endpoint->name},
            {QStringLiteral("ready"), true}};
}

QJsonObject transcribeJson(const ApiContext& api) {
    QJsonObject transcribe{{QStringLiteral("configured"), api.transcriber.configured()}};
    if (api.transcriber.configured())
        transcribe.insert(QStringLiteral("url"), shownUrl(api.config.transcribeUrl));
    return transcribe;
}

// Ready when the database takes a write and a model serves replies; the answer also says which
// model, what this service is and where dictation goes, for a diagnostic. Asking looks for the
// model afresh.
boost::asio::awaitable<void> readiness(const ApiContext& api, HttpResponse& response) {
    QStringList down;
    if (!storageUp(api))
        down += QStringLiteral("storage unavailable");
    auto looking = api.model.discovery().lookNow();
    const ModelFinding found = co_await std::move(looking);
    if (!found.endpoint)
        down += QStringLiteral("model unreachable");

    QJsonObject body{{QStringLiteral("version"), AppIdentity::version()},
                     {QStringLiteral("model"), modelJson(found)},
                     {QStringLiteral("transcribe"), transcribeJson(api)}};
    if (down.isEmpty())
        body.insert(QStringLiteral("status"), QStringLiteral("ready"));
    else
        body.insert(QStringLiteral("error"), down.join(QStringLiteral(", ")));
    sendJson(response, down.isEmpty() ? 200 : 503, body);
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

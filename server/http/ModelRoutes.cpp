// SPDX-License-Identifier: Apache-2.0
#include "ApiContext.h"
#include "HttpJson.h"
#include "RequestLog.h"
#include "Router.h"
#include "Routes.h"
#include "storage/Storage.h"
#include "upstream/ModelClient.h"
#include "upstream/UpstreamHttp.h"

namespace quillo::server {

namespace {

// A one-token reply from the model that serves replies, for a diagnostic: which endpoint and
// model were asked, and whether they answered. It costs a reply of the day's allowance, taken
// before the model is asked and given back when it does not answer, as a reply's is; a spent
// allowance is a 402, as for a reply.
boost::asio::awaitable<void> check(const ApiContext& api, const HttpRequest& request,
                                   HttpResponse& response) {
    const auto caller = api.authenticate(request, response);
    if (!caller)
        co_return;
    const qint64 day = api.today();
    if (!api.storage.reserve(caller->accountId, day, Allowance::Replies, api.config.dailyLimit)) {
        sendError(response, 402, QStringLiteral("daily limit reached"));
        co_return;
    }
    auto checking = api.model.check();
    const ModelCheck checked = co_await std::move(checking);

    QJsonObject body;
    if (checked.endpoint) {
        body.insert(QStringLiteral("url"), shownUrl(checked.endpoint->url));
        body.insert(QStringLiteral("name"), checked.endpoint->name);
    }
    body.insert(QStringLiteral("ok"), !checked.failure);
    if (checked.failure) {
        api.storage.release(caller->accountId, day, Allowance::Replies);
        qCInfo(lcHttp).noquote() << "model check failed:" << checked.failure->detail;
        body.insert(QStringLiteral("error"), checked.failure->detail);
    }
    sendJson(response, checked.failure ? 503 : 200, body);
}

} // namespace

void addModelRoutes(Router& router, const ApiContext& api) {
    // Nothing is read from the body; a client may still send an empty object.
    router.postAsync("/v1/model/check", BodyRule{1024},
                     [&api](const HttpRequest& request, HttpResponse& response) {
                         return check(api, request, response);
                     });
}

} // namespace quillo::server

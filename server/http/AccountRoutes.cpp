// SPDX-License-Identifier: Apache-2.0
#include "ApiContext.h"
#include "HttpJson.h"
#include "Router.h"
#include "Routes.h"
#include "storage/Storage.h"

namespace quillo::server {

namespace {

void showAccount(const ApiContext& api, const HttpRequest& request, HttpResponse& response) {
    const auto caller = api.authenticate(request, response);
    if (!caller)
        return;
    const auto account = api.storage.account(caller->accountId);
    if (!account)
        return sendError(response, 401, QStringLiteral("session expired"));
    sendJson(response, 200,
             {{QStringLiteral("sessionToken"), caller->token},
              {QStringLiteral("account"), api.accountJson(*account, api.today())},
              {QStringLiteral("replies"), api.repliesJson()}});
}

void deleteAccount(const ApiContext& api, const HttpRequest& request, HttpResponse& response) {
    const auto caller = api.authenticate(request, response);
    if (!caller)
        return;
    api.storage.deleteAccount(caller->accountId);
    sendJson(response, 200, {});
}

} // namespace

void addAccountRoutes(Router& router, const ApiContext& api) {
    router.get("/v1/account", [&api](const HttpRequest& request, HttpResponse& response) {
        showAccount(api, request, response);
    });
    router.remove("/v1/account", [&api](const HttpRequest& request, HttpResponse& response) {
        deleteAccount(api, request, response);
    });
}

} // namespace quillo::server

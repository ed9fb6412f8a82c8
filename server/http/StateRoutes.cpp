// SPDX-License-Identifier: Apache-2.0
#include "ApiContext.h"
#include "HttpJson.h"
#include "Router.h"
#include "Routes.h"
#include "StateUpload.h"
#include "storage/Storage.h"

#include <algorithm>

namespace quillo::server {

namespace {

// The `since` of a download: a non-negative whole number in decimal digits, nothing else.
std::optional<qint64> sinceParameter(const HttpRequest& request) {
    const auto since = request.parameter("since");
    if (!since)
        return std::nullopt;
    const std::string& text = *since;
    if (text.empty() || text.size() > 18 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    return std::stoll(text);
}

void download(const ApiContext& api, const HttpRequest& request, HttpResponse& response) {
    const auto caller = api.authenticate(request, response);
    if (!caller)
        return;
    const auto since = sinceParameter(request);
    if (!since)
        return sendError(response, 400, QStringLiteral("since: expected a whole number"));

    const auto document = api.storage.document(caller->accountId);
    if (!document) {
        return sendJson(response, 200,
                        {{QStringLiteral("updatedAt"), 0}, {QStringLiteral("unchanged"), false}});
    }
    if (*since == document->updatedAt) {
        return sendJson(response, 200,
                        {{QStringLiteral("updatedAt"), document->updatedAt},
                         {QStringLiteral("unchanged"), true}});
    }
    // Assembled by hand so that the document goes out exactly as it was uploaded.
    const QByteArray stamp = QByteArray::number(document->updatedAt);
    QByteArray body;
    body.reserve(document->bytes.size() + 64);
    body += "{\"state\":";
    body += document->bytes;
    body += ",\"updatedAt\":";
    body += stamp;
    body += ",\"unchanged\":false}";
    sendJsonBytes(response, 200, body);
}

void upload(const ApiContext& api, const HttpRequest& request, HttpResponse& response) {
    const auto caller = api.authenticate(request, response);
    if (!caller)
        return;
    const auto upload = StateUpload::parse(
        QByteArray::fromRawData(request.body.data(), qsizetype(request.body.size())));
    if (!upload)
        return sendError(response, 400, upload.error());

    // No screen turns a finished setup back into an unfinished one; an upload that does is a
    // device whose document started afresh and that does not know it. Refused as stale, so that
    // it downloads and merges instead of replacing the account's chats.
    if (!upload->setupCompleted) {
        const auto current = api.storage.document(caller->accountId);
        if (current && setupCompletedIn(current->bytes)) {
            return sendJson(response, 409,
                            {{QStringLiteral("error"), QStringLiteral("would undo the setup")},
                             {QStringLiteral("updatedAt"), current->updatedAt}});
        }
    }
    const PutResult put = api.storage.putDocument(caller->accountId, upload->stateBytes,
                                                  upload->baseUpdatedAt, api.now());
    if (!put.stored) {
        return sendJson(response, 409,
                        {{QStringLiteral("error"), QStringLiteral("stale base")},
                         {QStringLiteral("updatedAt"), put.updatedAt}});
    }
    sendJson(response, 200, {{QStringLiteral("updatedAt"), put.updatedAt}});
}

} // namespace

void addStateRoutes(Router& router, const ApiContext& api) {
    router.get("/v1/state", [&api](const HttpRequest& request, HttpResponse& response) {
        download(api, request, response);
    });
    // The one body worth compressing: the whole document.
    const BodyRule document{size_t(std::max<qint64>(0, api.config.maxBodyBytes)), true};
    router.put("/v1/state", document, [&api](const HttpRequest& request, HttpResponse& response) {
        upload(api, request, response);
    });
}

} // namespace quillo::server

// SPDX-License-Identifier: Apache-2.0
#include "ApiContext.h"

#include "HttpJson.h"
#include "auth/Secrets.h"
#include "storage/Storage.h"
#include "upstream/ModelClient.h"

namespace quillo::server {

namespace {

constexpr qint64 millisPerDay = 24 * 60 * 60 * 1000;

// The token of an "Authorization: Bearer TOKEN" header; empty when there is none.
QString bearerToken(const HttpRequest& request) {
    const QString header = QString::fromStdString(request.header("Authorization")).trimmed();
    const QString scheme = QStringLiteral("bearer ");
    if (!header.startsWith(scheme, Qt::CaseInsensitive))
        return {};
    return header.mid(scheme.size()).trimmed();
}

} // namespace

qint64 ApiContext::today() const {
    const qint64 millis = now();
    return millis >= 0 ? millis / millisPerDay : (millis - millisPerDay + 1) / millisPerDay;
}

QJsonObject ApiContext::accountJson(const AccountRow& account, qint64 day) const {
    return {
        {QStringLiteral("email"), account.email},
        {QStringLiteral("name"), account.name},
        {QStringLiteral("plan"), QStringLiteral("free")},
        {QStringLiteral("repliesToday"), storage.usedOn(account.id, day, Allowance::Replies)},
        {QStringLiteral("dailyLimit"), config.dailyLimit},
        {QStringLiteral("plusDailyLimit"), config.dailyLimit},
        {QStringLiteral("planSource"), QStringLiteral("self-hosted")},
        {QStringLiteral("feedbackToday"), storage.usedOn(account.id, day, Allowance::Feedback)},
        {QStringLiteral("feedbackDailyLimit"), config.dailyFeedbackLimit},
    };
}

QJsonObject ApiContext::repliesJson() const {
    ModelDiscovery& discovery = model.discovery();
    const bool ready = discovery.last().endpoint.has_value();
    discovery.lookInBackgroundIfDue(background);
    return {{QStringLiteral("ready"), ready}};
}

qint64 ApiContext::sessionIdleCutoff() const {
    return now() - qint64(config.sessionIdleDays) * millisPerDay;
}

qint64 ApiContext::accessCodeCutoff() const {
    return now() - qint64(config.codeDays) * millisPerDay;
}

std::string ApiContext::clientAddress(const HttpRequest& request) const {
    const auto trusted = [this](const QString& address) {
        return config.trustedProxies.contains(address);
    };
    QString client = QString::fromStdString(request.remoteAddress);
    if (!trusted(client))
        return request.remoteAddress;
    // Each proxy appends the address it heard from, so the list (over every line of the
    // header, in order) is read from its end.
    QStringList hops;
    for (const auto& [name, value] : request.headers) {
        if (QString::fromStdString(name).compare(u"X-Forwarded-For", Qt::CaseInsensitive) == 0)
            hops += QString::fromStdString(value).split(u',', Qt::SkipEmptyParts);
    }
    for (auto hop = hops.crbegin(); hop != hops.crend(); ++hop) {
        client = hop->trimmed();
        if (!trusted(client))
            break;
    }
    return client.toStdString();
}

std::optional<Caller> ApiContext::authenticate(const HttpRequest& request,
                                               HttpResponse& response) const {
    const QString token = bearerToken(request);
    if (token.isEmpty()) {
        sendError(response, 401, QStringLiteral("missing session token"));
        return std::nullopt;
    }
    const auto session = storage.useSession(sha256(token.toUtf8()), sessionIdleCutoff(), now());
    if (!session) {
        sendError(response, 401, QStringLiteral("session expired"));
        return std::nullopt;
    }
    response.accountId = session->accountId;
    return Caller{session->accountId, token};
}

} // namespace quillo::server

// SPDX-License-Identifier: Apache-2.0
#include "AccessCode.h"
#include "ApiContext.h"
#include "HttpJson.h"
#include "RequestLog.h"
#include "Router.h"
#include "Routes.h"
#include "SignInThrottle.h"
#include "auth/GoogleIdTokenVerifier.h"
#include "auth/Secrets.h"
#include "storage/Storage.h"

namespace quillo::server {

namespace {

bool present(const QJsonValue& value) {
    return !value.isUndefined() && !value.isNull();
}

// Whether the service takes this (verified, lower-case) address: any, when nothing is listed;
// else one listed whole, or one at a listed domain.
bool googleAllowed(const QStringList& allowed, const QString& email) {
    if (allowed.isEmpty())
        return true;
    const QString domain = email.mid(email.lastIndexOf(u'@') + 1);
    return allowed.contains(email) || allowed.contains(domain);
}

// The account a Google ID token proves, or the answer already given.
std::optional<AccountRow> googleAccount(const ApiContext& api, const QJsonValue& idToken,
                                        HttpResponse& response) {
    if (!idToken.isString()) {
        sendError(response, 400, QStringLiteral("idToken: expected text"));
        return std::nullopt;
    }
    if (!api.verifier.isConfigured()) {
        sendError(response, 400, QStringLiteral("Google sign-in is not configured"));
        return std::nullopt;
    }
    const auto identity = api.verifier.verify(idToken.toString());
    if (!identity) {
        // The reason names the failed check, never the token.
        if (GoogleIdTokenVerifier::isKeySetOutage(identity.error())) {
            qCWarning(lcHttp).noquote() << "Google sign-in unavailable:" << identity.error();
            sendError(response, 503, QStringLiteral("sign-in unavailable"));
            return std::nullopt;
        }
        qCInfo(lcHttp).noquote() << "Google sign-in refused:" << identity.error();
        sendError(response, 401, QStringLiteral("sign-in refused"));
        return std::nullopt;
    }
    if (!googleAllowed(api.config.googleAllowed, identity->email)) {
        qCInfo(lcHttp).noquote() << "Google sign-in refused: the account is not on the list";
        sendError(response, 403, QStringLiteral("this Google account may not sign in here"));
        return std::nullopt;
    }
    return api.storage.ensureAccount(identity->email, identity->name, api.now());
}

// The account an access code from `quillo-server invite` belongs to, or the answer given.
std::optional<AccountRow> codeAccount(const ApiContext& api, const QJsonValue& reviewCode,
                                      HttpResponse& response) {
    if (!reviewCode.isString()) {
        sendError(response, 400, QStringLiteral("reviewCode: expected text"));
        return std::nullopt;
    }
    const QByteArray code = normalizedAccessCode(reviewCode.toString());
    std::optional<AccountRow> account;
    if (!code.isEmpty()) {
        if (const auto accountId =
                api.storage.accountForAccessCode(sha256(code), api.accessCodeCutoff()))
            account = api.storage.account(*accountId);
    }
    if (!account)
        sendError(response, 401, QStringLiteral("unknown access code"));
    return account;
}

void tooManyFailures(HttpResponse& response, qint64 waitMillis) {
    const qint64 seconds = (waitMillis + 999) / 1000;
    sendError(response, 429, QStringLiteral("too many failed sign-ins; try again later"));
    response.setHeader("Retry-After", std::to_string(seconds));
}

void signIn(const ApiContext& api, const HttpRequest& request, HttpResponse& response) {
    const auto body = jsonObjectBody(request);
    if (!body)
        return sendError(response, 400, body.error());
    const QJsonValue idToken = body->value(u"idToken");
    const QJsonValue reviewCode = body->value(u"reviewCode");
    if (present(idToken) == present(reviewCode))
        return sendError(response, 400, QStringLiteral("expected idToken or reviewCode"));

    const std::string client = api.clientAddress(request);
    if (const auto wait = api.signInThrottle.waitFor(client, api.now()))
        return tooManyFailures(response, *wait);
    const auto account = present(idToken) ? googleAccount(api, idToken, response)
                                          : codeAccount(api, reviewCode, response);
    if (!account) {
        // Only refusals count: a malformed body or an outage guessed nothing.
        if (response.status == 401 || response.status == 403)
            api.signInThrottle.failed(client, api.now());
        return;
    }
    api.signInThrottle.succeeded(client);
    response.accountId = account->id;
    const QByteArray token = randomToken(32);
    api.storage.createSession(account->id, sha256(token), api.now());
    // Sessions nobody used for longer than they may be idle are gone, not just refused.
    api.storage.purgeSessions(api.sessionIdleCutoff());
    sendJson(response, 200,
             {{QStringLiteral("sessionToken"), QString::fromLatin1(token)},
              {QStringLiteral("account"), api.accountJson(*account, api.today())},
              {QStringLiteral("replies"), api.repliesJson()}});
}

// Signing out: the token stops working here and now, on every device that might hold a copy.
void signOut(const ApiContext& api, const HttpRequest& request, HttpResponse& response) {
    const auto caller = api.authenticate(request, response);
    if (!caller)
        return;
    api.storage.endSession(sha256(caller->token.toUtf8()));
    response.status = 204;
}

} // namespace

void addSessionRoutes(Router& router, const ApiContext& api) {
    // Sign-in takes a code or an ID token: a few kilobytes at most.
    router.post("/v1/session", BodyRule{16 * 1024},
                [&api](const HttpRequest& request, HttpResponse& response) {
                    signIn(api, request, response);
                });
    router.remove("/v1/session", [&api](const HttpRequest& request, HttpResponse& response) {
        signOut(api, request, response);
    });
}

} // namespace quillo::server

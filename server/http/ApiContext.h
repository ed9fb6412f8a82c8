// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "HttpMessage.h"
#include "common/Clock.h"
#include "config/ServerConfig.h"

#include <QJsonObject>
#include <QString>

#include <boost/asio/any_io_executor.hpp>

#include <optional>

namespace quillo::server {

class GoogleIdTokenVerifier;
class ModelClient;
class SignInThrottle;
class Storage;
class TranscribeClient;
struct AccountRow;

// Who is calling: the account behind the bearer token, and the token as presented (GET
// /v1/account hands it back).
struct Caller {
    qint64 accountId = 0;
    QString token;
};

// What every handler works with, and the few rules they share: the day a reply counts on, the
// Account record the app reads, and who a bearer token belongs to.
struct ApiContext {
    const ServerConfig config;
    Storage& storage;
    ModelClient& model;
    TranscribeClient& transcriber;
    GoogleIdTokenVerifier& verifier;
    const Clock& clock;
    SignInThrottle& signInThrottle;
    // The service's threads, for work no request waits for.
    boost::asio::any_io_executor background;

    qint64 now() const { return clock.nowMillis(); }
    // Days since 1970 in UTC: the daily allowance starts afresh at midnight UTC.
    qint64 today() const;

    // The app's Account record: usage of both allowances on `day`, and this server's limits
    // (there is no paid plan on a self-hosted server, so both reply limits are the configured
    // one).
    QJsonObject accountJson(const AccountRow& account, qint64 day) const;
    // {"ready": bool}: whether replies can be produced now, by the model's last finding. Beside
    // every Account record; when no model was found and a look is due, one starts in the
    // background, so the answer never waits for it.
    QJsonObject repliesJson() const;

    // The oldest last use a session may have and still be valid.
    qint64 sessionIdleCutoff() const;
    // The oldest issue time an access code may have and still be taken.
    qint64 accessCodeCutoff() const;

    // Who sent the request: the peer, or, when the peer is a trusted reverse proxy, the
    // nearest address its X-Forwarded-For names that is not a trusted proxy itself.
    std::string clientAddress(const HttpRequest& request) const;

    // The caller of a request that needs a session, its session touched as used. Without one it
    // answers 401 itself and gives nothing.
    std::optional<Caller> authenticate(const HttpRequest& request, HttpResponse& response) const;
};

} // namespace quillo::server

// SPDX-License-Identifier: Apache-2.0
#include "GoogleIdTokenVerifier.h"

#include "Jwks.h"
#include "Jwt.h"

#include <QJsonArray>
#include <QJsonObject>

#include <mutex>
#include <optional>

namespace quillo::server {

namespace {

constexpr qint64 refetchIntervalMillis = 60'000;
const QString keysUnreachable = QStringLiteral("could not get Google's keys: ");
const QString keysNotYet =
    QStringLiteral("no Google keys yet: the last fetch failed under a minute ago");
constexpr double expirySkewSeconds = 60;
// Google stamps iat from its own clock; only a wildly early one says something is wrong.
constexpr double issuedAtSkewSeconds = 300;

bool audienceMatches(const QJsonValue& audience, const QStringList& clientIds) {
    if (audience.isString())
        return clientIds.contains(audience.toString());
    if (audience.isArray()) {
        for (const QJsonValue& entry : audience.toArray()) {
            if (entry.isString() && clientIds.contains(entry.toString()))
                return true;
        }
    }
    return false;
}

Result<GoogleIdentity, QString> identityFromClaims(const QJsonObject& claims,
                                                   const QStringList& clientIds, qint64 nowMillis) {
    const QString issuer = claims.value(u"iss").toString();
    if (issuer != u"accounts.google.com" && issuer != u"https://accounts.google.com")
        return QStringLiteral("token issuer is not Google");
    if (!audienceMatches(claims.value(u"aud"), clientIds))
        return QStringLiteral("token audience is not a configured client id");

    const double now = double(nowMillis) / 1000;
    const QJsonValue expiry = claims.value(u"exp");
    if (!expiry.isDouble())
        return QStringLiteral("token has no expiry");
    if (now > expiry.toDouble() + expirySkewSeconds)
        return QStringLiteral("token expired");
    const QJsonValue issuedAt = claims.value(u"iat");
    if (!issuedAt.isDouble())
        return QStringLiteral("token has no issue time");
    if (issuedAt.toDouble() > now + issuedAtSkewSeconds)
        return QStringLiteral("token issued in the future");
    const QJsonValue notBefore = claims.value(u"nbf");
    if (notBefore.isDouble() && notBefore.toDouble() > now + expirySkewSeconds)
        return QStringLiteral("token not valid yet");

    const QString email = claims.value(u"email").toString().trimmed().toLower();
    if (email.isEmpty())
        return QStringLiteral("token carries no e-mail address");
    const QJsonValue verified = claims.value(u"email_verified");
    // Older Google tokens carried the flag as text.
    if (verified != QJsonValue(true) && verified != QJsonValue(QStringLiteral("true")))
        return QStringLiteral("token e-mail address is not verified");
    return GoogleIdentity{email, claims.value(u"name").toString()};
}

} // namespace

// The cached key set. `mutex` guards the cache for a moment at a time; `fetching` lets one
// request fetch while others asking for an unknown key wait for its result instead of fetching
// again or failing early. The network is never awaited under `mutex`.
struct GoogleIdTokenVerifier::Keys {
    std::mutex mutex;
    QMap<QString, PublicKey> byId;
    std::optional<qint64> lastFetchMillis;
    std::mutex fetching;

    PublicKey cached(const QString& keyId) {
        const std::lock_guard lock(mutex);
        return byId.value(keyId);
    }

    Result<PublicKey, QString> find(const QString& keyId, const QString& url, const Clock& clock) {
        if (PublicKey key = cached(keyId))
            return key;
        const std::lock_guard fetchLock(fetching);
        {
            const std::lock_guard lock(mutex);
            if (PublicKey key = byId.value(keyId))
                return key; // another request fetched it while we waited
            const qint64 now = clock.nowMillis();
            // Unknown key ids cost anyone nothing to send: they must not make us hammer Google.
            // A clock set back must not hold the next fetch off for as long as it moved.
            const qint64 sinceLast = lastFetchMillis ? now - *lastFetchMillis : -1;
            if (sinceLast >= 0 && sinceLast < refetchIntervalMillis) {
                return byId.isEmpty() ? keysNotYet
                                      : QStringLiteral("token signed by an unknown key");
            }
            lastFetchMillis = now;
        }
        auto fetched = Jwks::fetch(url);
        const std::lock_guard lock(mutex);
        if (!fetched)
            return keysUnreachable + fetched.error();
        byId = std::move(fetched).value().keys;
        if (PublicKey key = byId.value(keyId))
            return key;
        return QStringLiteral("token signed by an unknown key");
    }
};

GoogleIdTokenVerifier::GoogleIdTokenVerifier(QString jwksUrl, QStringList clientIds,
                                             const Clock& clock)
    : m_jwksUrl(std::move(jwksUrl))
    , m_clientIds(std::move(clientIds))
    , m_clock(clock)
    , m_keys(std::make_unique<Keys>()) {
    m_clientIds.removeAll(QString());
}

GoogleIdTokenVerifier::~GoogleIdTokenVerifier() = default;

bool GoogleIdTokenVerifier::isKeySetOutage(const QString& failure) {
    return failure.startsWith(keysUnreachable) || failure == keysNotYet;
}

bool GoogleIdTokenVerifier::isConfigured() const {
    return !m_clientIds.isEmpty();
}

Result<GoogleIdentity, QString> GoogleIdTokenVerifier::verify(const QString& idToken) {
    if (!isConfigured())
        return QStringLiteral("no Google client ids are configured");
    // Checked before converting, so an enormous string costs nothing more.
    if (idToken.size() > Jwt::maxSize)
        return QStringLiteral("token too large");
    auto jwt = Jwt::parse(idToken.toUtf8());
    if (!jwt)
        return std::move(jwt).error();
    auto key = m_keys->find(jwt->keyId, m_jwksUrl, m_clock);
    if (!key)
        return std::move(key).error();
    if (!verifyRs256(key->get(), jwt->signingInput, jwt->signature))
        return QStringLiteral("token signature does not verify");
    return identityFromClaims(jwt->payload, m_clientIds, m_clock.nowMillis());
}

} // namespace quillo::server

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <memory>
#include <optional>

namespace quillo::server {

// Plays Google for sign-in tests: publishes a JSON Web Key Set over HTTP on 127.0.0.1 (an
// ephemeral port, served from a background thread) and signs ID tokens with those keys the way
// Google does: RS256, the key id in the header.
//
// Each fixture generates its own RSA-2048 key. rotateKey() adds a fresh key that signs from then
// on; older keys stay published, as Google keeps the previous key listed for a while.
//
//     JwksFixture google;
//     ManualClock clock;
//     GoogleIdTokenVerifier verifier(google.url(), {JwksFixture::clientId()}, clock);
//     const QString token =
//         google.sign(JwksFixture::claims(QStringLiteral("ana@example.com"), clock.nowMillis()));
//
// Key generation takes a moment (tens of milliseconds), so a suite that signs many tokens can
// keep one fixture for all its cases. Everything here is safe to call while the server thread
// answers.
class JwksFixture {
public:
    JwksFixture();
    ~JwksFixture();
    JwksFixture(const JwksFixture&) = delete;
    JwksFixture& operator=(const JwksFixture&) = delete;

    // Where the key set is served, to hand to the verifier (QUILLO_GOOGLE_JWKS_URL).
    QString url() const;

    // A signed compact token carrying `claims`. `keyId` puts another key id in the header while
    // the current key still signs: name an unpublished id for an unknown key, or an older key's
    // id for a signature that does not match its key.
    QString sign(const QJsonObject& claims, const std::optional<QString>& keyId = {}) const;

    // Adds and publishes a new key, which signs from now on. Gives its key id.
    QString rotateKey();
    QString currentKeyId() const;

    // How many times the key set has been requested so far.
    int fetchCount() const;
    // While failing, the key set answers 503 (the fetch still counts).
    void setFailing(bool failing);

    // The OAuth client id the claims below are addressed to.
    static QString clientId();

    // A complete, valid claim set as Google issues it for a verified account, issued at
    // `nowMillis` and good for an hour. Tests change single claims from here.
    static QJsonObject claims(const QString& email, qint64 nowMillis,
                              const QString& audience = clientId());

    // A token from its parts with any signature bytes, for tokens that must be refused
    // ("alg": "none", HMAC, forged signatures).
    static QString compact(const QJsonObject& header, const QJsonObject& claims,
                           const QByteArray& signature);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace quillo::server

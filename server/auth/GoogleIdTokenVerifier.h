// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "common/Result.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace quillo::server {

struct GoogleIdentity {
    QString email; // lower-cased, verified by Google
    QString name;
};

// Checks a Google ID token: an RS256 signature by a key of the JWKS at `jwksUrl` (fetched on
// first use and again when a token names an unknown key id, at most once a minute), issuer
// accounts.google.com, an audience among `clientIds`, not expired, and a verified e-mail.
// The failure text is for the log only: it names what failed, never the token.
// Safe to call from many request threads at once. A call that needs the key set waits for its
// fetch (5 s connect and read timeouts); every other call is local work.
class GoogleIdTokenVerifier {
public:
    GoogleIdTokenVerifier(QString jwksUrl, QStringList clientIds, const Clock& clock);
    ~GoogleIdTokenVerifier();

    bool isConfigured() const; // any client id configured
    Result<GoogleIdentity, QString> verify(const QString& idToken);
    // Whether a failure of verify() says nothing about the token: Google's keys could not be
    // had, so the same token may pass once they can.
    static bool isKeySetOutage(const QString& failure);

private:
    struct Keys;
    QString m_jwksUrl;
    QStringList m_clientIds;
    const Clock& m_clock;
    std::unique_ptr<Keys> m_keys; // cached JWKS, guarded for concurrent requests
};

} // namespace quillo::server

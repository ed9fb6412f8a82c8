// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Lifetime.h"
#include "common/Result.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;
class QTcpServer;

namespace quillo {

// Where Google sign-in goes: the installed-app client and its endpoints.
struct GoogleSignInConfig {
    // How the browser comes back: to a loopback address this process listens on (Google's
    // desktop clients), or to the reversed client id as a URL scheme the desktop entry
    // registers (its installed-app clients).
    enum class Redirect { Loopback, Scheme };

    QString clientId;
    // The secret Google issues with a desktop client. It keeps nothing secret in an installed
    // app, but Google's token endpoint wants it with the PKCE verifier in the loopback flow;
    // the scheme flow's clients have none, so it is never sent there.
    QString clientSecret;
    QUrl authorizationEndpoint{QStringLiteral("https://accounts.google.com/o/oauth2/v2/auth")};
    QUrl tokenEndpoint{QStringLiteral("https://oauth2.googleapis.com/token")};
    Redirect redirect = Redirect::Loopback;

    // QUILLO_GOOGLE_CLIENT_ID (nothing without it), QUILLO_GOOGLE_CLIENT_SECRET (the desktop
    // client's secret), QUILLO_GOOGLE_REDIRECT ("loopback" or "scheme"), and
    // QUILLO_GOOGLE_AUTH_URL / QUILLO_GOOGLE_TOKEN_URL to replace the endpoints.
    static std::optional<GoogleSignInConfig> fromEnvironment();

    // "com.googleusercontent.apps.<id without its domain suffix>".
    QString scheme() const;
};

// A Google ID token through the browser: the authorization-code flow with PKCE for a public
// client. One sign-in waits at a time; `handle` takes the browser's answer.
class GoogleSignIn : public QObject {
    Q_OBJECT

public:
    struct Failure {
        enum class Kind { Refused, Cancelled };
        Kind kind = Kind::Refused;
        QString message; // what the sign-in screen shows; empty for a cancelled sign-in

        friend bool operator==(const Failure&, const Failure&) = default;
    };
    using Outcome = Result<QString, Failure>;
    // Opens the URL in the user's browser; false when that failed.
    using Opener = std::function<bool(const QUrl&)>;

    GoogleSignIn(GoogleSignInConfig config, Opener opener, QObject* parent = nullptr);
    ~GoogleSignIn() override;

    // The ID token, once the user is back from the browser and the code is exchanged. A new
    // call while one waits cancels the waiting one.
    QCoro::Task<Outcome> idToken();
    // True when `url` is the awaited callback, which then ends the wait.
    bool handle(const QUrl& url);
    // Ends a waiting sign-in as cancelled.
    void cancel();
    bool waiting() const { return m_pending.has_value(); }

    // 32 bytes of the secure generator in unpadded Base64url: 43 characters.
    static QString randomToken();
    // The S256 challenge of a PKCE verifier.
    static QString codeChallenge(const QString& verifier);
    QUrl authorizationUrl(const QString& redirectUri, const QString& challenge,
                          const QString& state) const;

Q_SIGNALS:
    void waitingChanged();
    // A waiting attempt ended (its own arrival says how).
    void resumed();

private:
    // How one attempt ended: the callback URL, or a failure.
    struct Arrival {
        bool done = false;
        QUrl callback;
        std::optional<Failure> failure;
    };
    struct Pending {
        QString state;
        QString redirectUri;
        std::shared_ptr<Arrival> arrival;
    };

    std::optional<QString> listenForRedirect();
    void answerBrowser();
    void finish(const Failure& failure);
    // Ends the waiting attempt, `how` filling in its arrival; every ending goes through here,
    // so an attempt ends exactly once.
    void end(const std::function<void(Arrival&)>& how);
    QCoro::Task<Outcome> exchange(QString code, QString verifier, QString redirectUri);

    GoogleSignInConfig m_config;
    Opener m_opener;
    std::optional<Pending> m_pending;
    std::unique_ptr<QTcpServer> m_loopback;
    std::shared_ptr<QNetworkAccessManager> m_network;
    Lifetime m_lifetime;
};

} // namespace quillo

// SPDX-License-Identifier: Apache-2.0
#include "desktop/GoogleSignIn.h"
#include "GoogleFixture.h"
#include "common/WaitForResult.h"

#include <QCoreApplication>
#include <QUrlQuery>

#include <gtest/gtest.h>

using namespace quillo;
using Failure = GoogleSignIn::Failure;
using quillo::apptest::GoogleFixture;

TEST(GoogleSignIn, RandomTokensAndTheChallengeAreUrlSafe) {
    const QString token = GoogleSignIn::randomToken();
    EXPECT_EQ(token.size(), 43);
    for (const QChar c : token)
        EXPECT_TRUE(c.isLetterOrNumber() || c == u'-' || c == u'_') << token.toStdString();
    EXPECT_NE(token, GoogleSignIn::randomToken());
    // The example of RFC 7636, appendix B.
    EXPECT_EQ(GoogleSignIn::codeChallenge(u"dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"_qs),
              u"E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
}

TEST(GoogleSignIn, AGoodRunAsksInOrderAndExchangesTheCodeWithTheDesktopClientsSecret) {
    GoogleFixture google;
    GoogleSignIn signIn(google.config(), google.browser());
    const GoogleSignIn::Outcome outcome = waitForResult(signIn.idToken());
    ASSERT_TRUE(outcome.ok()) << outcome.error().message.toStdString();
    EXPECT_EQ(outcome.value(), u"the-id-token");
    EXPECT_FALSE(signIn.waiting());

    std::lock_guard lock(google.mutex);
    QStringList names;
    for (const auto& item : QUrlQuery(google.authorizationQuery).queryItems())
        names.append(item.first);
    EXPECT_EQ(names, (QStringList{u"client_id"_qs, u"redirect_uri"_qs, u"response_type"_qs,
                                  u"scope"_qs, u"code_challenge"_qs, u"code_challenge_method"_qs,
                                  u"state"_qs, u"prompt"_qs}));
    const QUrlQuery asked(google.authorizationQuery);
    EXPECT_EQ(asked.queryItemValue(u"scope"_qs, QUrl::FullyDecoded), u"openid email profile");
    EXPECT_TRUE(asked.queryItemValue(u"redirect_uri"_qs, QUrl::FullyDecoded)
                    .startsWith(u"http://127.0.0.1:"))
        << "Google's desktop clients come back to loopback";

    const QUrlQuery exchanged(QString::fromLatin1(google.tokenRequest));
    QStringList sent;
    for (const auto& item : exchanged.queryItems())
        sent.append(item.first);
    EXPECT_EQ(sent, (QStringList{u"code"_qs, u"client_id"_qs, u"client_secret"_qs,
                                 u"code_verifier"_qs, u"grant_type"_qs, u"redirect_uri"_qs}));
    EXPECT_EQ(exchanged.queryItemValue(u"code"_qs, QUrl::FullyDecoded), u"4/code-from-google");
    EXPECT_EQ(exchanged.queryItemValue(u"client_secret"_qs, QUrl::FullyDecoded),
              u"GOCSPX-desktop+client/secret");
    const QString verifier = exchanged.queryItemValue(u"code_verifier"_qs, QUrl::FullyDecoded);
    EXPECT_EQ(GoogleSignIn::codeChallenge(verifier),
              asked.queryItemValue(u"code_challenge"_qs, QUrl::FullyDecoded));
}

TEST(GoogleSignIn, AWrongStateKeepsWaitingUntilCancelled) {
    GoogleFixture google;
    google.stateOverride = u"forged"_qs;
    std::unique_ptr<GoogleSignIn> signIn;
    // Once the forged callback has come and gone, the user gives up.
    signIn = std::make_unique<GoogleSignIn>(google.config(), google.browser([&signIn] {
        EXPECT_TRUE(signIn->waiting());
        signIn->cancel();
    }));
    const GoogleSignIn::Outcome outcome = waitForResult(signIn->idToken());
    ASSERT_FALSE(outcome.ok());
    EXPECT_EQ(outcome.error(), (Failure{Failure::Kind::Cancelled, {}}));
    std::lock_guard lock(google.mutex);
    EXPECT_TRUE(google.tokenRequest.isEmpty());
}

TEST(GoogleSignIn, AnErrorCallbackAndAStrictTokenAnswerAreRefusals) {
    GoogleFixture google;
    google.callbackItems = {{u"error"_qs, u"access_denied"_qs}};
    GoogleSignIn signIn(google.config(), google.browser());
    GoogleSignIn::Outcome outcome = waitForResult(signIn.idToken());
    ASSERT_FALSE(outcome.ok());
    EXPECT_EQ(outcome.error().message, u"Google sign-in didn't finish. Try again.");

    google.callbackItems = {{u"code"_qs, u"abc"_qs}};
    google.tokenStatus = 201;
    outcome = waitForResult(signIn.idToken());
    ASSERT_FALSE(outcome.ok());
    EXPECT_EQ(outcome.error().message, u"Google didn't accept the sign-in. Try again.");

    google.tokenStatus = 200;
    google.tokenBody = "{\"id_token\":";
    outcome = waitForResult(signIn.idToken());
    ASSERT_FALSE(outcome.ok());
    EXPECT_EQ(outcome.error().message,
              u"Couldn't reach Google. Check your connection and try again.");

    // A desktop client configured without its secret: Google refuses the exchange.
    GoogleSignInConfig secretless = google.config();
    secretless.clientSecret.clear();
    GoogleSignIn withoutSecret(secretless, google.browser());
    outcome = waitForResult(withoutSecret.idToken());
    ASSERT_FALSE(outcome.ok());
    EXPECT_EQ(outcome.error().message, u"Google didn't accept the sign-in. Try again.");

    GoogleSignIn noBrowser(google.config(), [](const QUrl&) { return false; });
    outcome = waitForResult(noBrowser.idToken());
    ASSERT_FALSE(outcome.ok());
    EXPECT_EQ(outcome.error().message, u"Couldn't open your browser. Try again.");
    EXPECT_FALSE(noBrowser.waiting());
}

TEST(GoogleSignIn, TheCustomSchemeCallbackIsHandledByStateAloneAndSendsNoSecret) {
    GoogleFixture google;
    GoogleSignInConfig config = google.config(); // a secret is set, and must stay unsent
    config.redirect = GoogleSignInConfig::Redirect::Scheme;
    EXPECT_EQ(config.scheme(), u"com.googleusercontent.apps.123456-abcdef");
    QUrl opened;
    GoogleSignIn signIn(config, [&opened](const QUrl& url) {
        opened = url;
        return true;
    });
    auto waiting = signIn.idToken();
    ASSERT_TRUE(signIn.waiting());
    const QString state = QUrlQuery(opened).queryItemValue(u"state"_qs, QUrl::FullyDecoded);
    EXPECT_EQ(QUrlQuery(opened).queryItemValue(u"redirect_uri"_qs, QUrl::FullyDecoded),
              u"com.googleusercontent.apps.123456-abcdef:/oauthredirect");

    EXPECT_FALSE(signIn.handle(QUrl(u"https://example.com/oauthredirect?state="_qs + state)));
    EXPECT_FALSE(signIn.handle(
        QUrl(u"com.googleusercontent.apps.123456-abcdef:/oauthredirect?code=x&state=other"_qs)));
    EXPECT_TRUE(signIn.waiting());
    EXPECT_TRUE(signIn.handle(
        QUrl(u"com.googleusercontent.apps.123456-abcdef:/oauthredirect?code=x&state="_qs + state)));
    EXPECT_FALSE(signIn.handle(
        QUrl(u"com.googleusercontent.apps.123456-abcdef:/oauthredirect?code=x&state="_qs + state)))
        << "a callback is taken once";
    const GoogleSignIn::Outcome outcome = waitForResult(std::move(waiting));
    ASSERT_TRUE(outcome.ok()) << outcome.error().message.toStdString();
    EXPECT_EQ(outcome.value(), u"the-id-token");
    std::lock_guard lock(google.mutex);
    EXPECT_FALSE(
        QUrlQuery(QString::fromLatin1(google.tokenRequest)).hasQueryItem(u"client_secret"_qs));
}

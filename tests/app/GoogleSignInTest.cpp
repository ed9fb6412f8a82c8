#include "desktop/GoogleSignIn.h"
#include "common/WaitForResult.h"

#include <QCoreApplication>
#include <QUrlQuery>

#include <httplib.h>

#include <gtest/gtest.h>

#include <mutex>
#include <thread>

using namespace quillo;
using Failure = GoogleSignIn::Failure;

namespace {

// Google's two endpoints on loopback. The authorization endpoint sends the browser back to
// the redirect URI at once, as if the user had picked an account; what it sends back can be
// changed. The token endpoint answers with a fixed status and body and records what it got.
class GoogleFixture {
public:
    std::mutex mutex;
    // Query items the authorization endpoint adds to the redirect; "state" is echoed unless
    // set here.
    QList<std::pair<QString, QString>> callbackItems{{u"code"_qs, u"4/code-from-google"_qs}};
    std::optional<QString> stateOverride;
    int tokenStatus = 200;
    QByteArray tokenBody = R"({"access_token":"ignored","id_token":"the-id-token"})";
    QString authorizationQuery;
    QByteArray tokenRequest;

    GoogleFixture() {
        m_server.Get("/auth", [this](const httplib::Request& request, httplib::Response& response) {
            std::lock_guard lock(mutex);
            authorizationQuery = QString::fromStdString(request.target).section(u'?', 1);
            const QUrlQuery asked(authorizationQuery);
            QUrl back(asked.queryItemValue(u"redirect_uri"_qs, QUrl::FullyDecoded));
            QUrlQuery answer;
            for (const auto& [name, value] : callbackItems)
                answer.addQueryItem(name, value);
            answer.addQueryItem(u"state"_qs, stateOverride.value_or(asked.queryItemValue(
                                                 u"state"_qs, QUrl::FullyDecoded)));
            back.setQuery(answer);
            response.set_redirect(back.toString(QUrl::FullyEncoded).toStdString());
        });
        m_server.Post("/token",
                      [this](const httplib::Request& request, httplib::Response& response) {
                          std::lock_guard lock(mutex);
                          tokenRequest = QByteArray::fromStdString(request.body);
                          response.status = tokenStatus;
                          response.set_content(tokenBody.toStdString(), "application/json");
                      });
        m_server.set_keep_alive_max_count(1);
        m_port = m_server.bind_to_any_port("127.0.0.1");
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
    }
    ~GoogleFixture() {
        while (!m_server.is_running())
            std::this_thread::yield();
        m_server.stop();
        m_thread.join();
        for (std::thread& browser : m_browsers)
            browser.join();
    }

    GoogleSignInConfig config() const {
        GoogleSignInConfig config;
        config.clientId = u"123456-abcdef.apps.googleusercontent.com"_qs;
        config.authorizationEndpoint = QUrl(QStringLiteral("http://127.0.0.1:%1/auth").arg(m_port));
        config.tokenEndpoint = QUrl(QStringLiteral("http://127.0.0.1:%1/token").arg(m_port));
        return config;
    }

    // Plays the browser: follows the authorization URL and its redirect, off the main thread;
    // then runs `afterwards` on the main thread.
    GoogleSignIn::Opener browser(std::function<void()> afterwards = {}) {
        return [this, afterwards](const QUrl& url) {
            m_browsers.emplace_back([url, afterwards] {
                httplib::Client client("127.0.0.1", url.port());
                client.set_follow_location(true);
                client.Get(
                    url.toString(QUrl::FullyEncoded | QUrl::RemoveScheme | QUrl::RemoveAuthority)
                        .toStdString());
                if (afterwards)
                    QMetaObject::invokeMethod(qApp, afterwards, Qt::QueuedConnection);
            });
            return true;
        };
    }

private:
    httplib::Server m_server;
    int m_port = 0;
    std::thread m_thread;
    std::vector<std::thread> m_browsers;
};

} // namespace

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

TEST(GoogleSignIn, AGoodRunAsksInOrderAndExchangesTheCodeWithoutASecret) {
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
    EXPECT_EQ(sent, (QStringList{u"code"_qs, u"client_id"_qs, u"code_verifier"_qs, u"grant_type"_qs,
                                 u"redirect_uri"_qs}));
    EXPECT_EQ(exchanged.queryItemValue(u"code"_qs, QUrl::FullyDecoded), u"4/code-from-google");
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

    GoogleSignIn noBrowser(google.config(), [](const QUrl&) { return false; });
    outcome = waitForResult(noBrowser.idToken());
    ASSERT_FALSE(outcome.ok());
    EXPECT_EQ(outcome.error().message, u"Couldn't open your browser. Try again.");
    EXPECT_FALSE(noBrowser.waiting());
}

TEST(GoogleSignIn, TheCustomSchemeCallbackIsHandledByStateAlone) {
    GoogleFixture google;
    GoogleSignInConfig config = google.config();
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
}

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "desktop/GoogleSignIn.h"
#include "support/LoopbackServer.h"

#include <QCoreApplication>
#include <QUrlQuery>

#include <httplib.h>

#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace quillo::apptest {

// Google's two endpoints on loopback. The authorization endpoint sends the browser back to
// the redirect URI at once, as if the user had picked an account; what it sends back can be
// changed. The token endpoint records what it got and holds the client to Google's rules: a
// desktop client (coming back to loopback) must send its secret, an installed-app client
// (coming back to its URL scheme) has none to send; past that it answers with a fixed status
// and body.
class GoogleFixture {
public:
    std::mutex mutex;
    // Query items the authorization endpoint adds to the redirect; "state" is echoed unless
    // set here.
    QList<std::pair<QString, QString>> callbackItems{{u"code"_qs, u"4/code-from-google"_qs}};
    std::optional<QString> stateOverride;
    int tokenStatus = 200;
    QByteArray tokenBody = R"({"access_token":"ignored","id_token":"the-id-token"})";
    QString clientId = u"123456-abcdef.apps.googleusercontent.com"_qs;
    QString clientSecret = u"GOCSPX-desktop+client/secret"_qs;
    QString authorizationQuery;
    QByteArray tokenRequest;

    GoogleFixture() {
        m_http.server().Get(
            "/auth", [this](const httplib::Request& request, httplib::Response& response) {
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
        m_http.server().Post("/token",
                             [this](const httplib::Request& request, httplib::Response& response) {
                                 std::lock_guard lock(mutex);
                                 tokenRequest = QByteArray::fromStdString(request.body);
                                 if (const char* refusal = clientRefusal()) {
                                     response.status = 400;
                                     response.set_content(refusal, "application/json");
                                     return;
                                 }
                                 response.status = tokenStatus;
                                 response.set_content(tokenBody.toStdString(), "application/json");
                             });
        m_http.server().set_keep_alive_max_count(1);
        m_http.start();
    }
    ~GoogleFixture() {
        m_http.stop();
        for (std::thread& browser : m_browsers)
            browser.join();
    }

    GoogleSignInConfig config() const {
        GoogleSignInConfig config;
        config.clientId = clientId;
        config.clientSecret = clientSecret;
        config.authorizationEndpoint = QUrl(m_http.url(u"/auth"_qs));
        config.tokenEndpoint = QUrl(m_http.url(u"/token"_qs));
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
    // What Google says when the token request breaks its rules for the client's kind; null when
    // it keeps them.
    const char* clientRefusal() const {
        const QUrlQuery form(QString::fromLatin1(tokenRequest));
        const bool desktop =
            form.queryItemValue(u"redirect_uri"_qs, QUrl::FullyDecoded).startsWith(u"http://");
        const bool sent = form.hasQueryItem(u"client_secret"_qs);
        if (desktop && !sent)
            return R"({"error":"invalid_request","error_description":"client_secret is missing."})";
        if (desktop && form.queryItemValue(u"client_secret"_qs, QUrl::FullyDecoded) != clientSecret)
            return R"({"error":"invalid_client","error_description":"Unauthorized"})";
        if (!desktop && sent)
            return R"({"error":"invalid_client","error_description":"Unauthorized"})";
        return nullptr;
    }

    testsupport::LoopbackServer m_http;
    std::vector<std::thread> m_browsers;
};

} // namespace quillo::apptest

#pragma once

#include "desktop/GoogleSignIn.h"

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
    QString clientId = u"123456-abcdef.apps.googleusercontent.com"_qs;
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
        config.clientId = clientId;
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

} // namespace quillo::apptest

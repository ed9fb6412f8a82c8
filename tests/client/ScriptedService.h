// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/LoopbackServer.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <httplib.h>

#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace quillo::clienttest {

// The service's answer to a reply request whose model wrote `modelText`.
inline std::string answer(const QString& modelText) {
    return QJsonDocument(QJsonObject{{QStringLiteral("content"), modelText}})
        .toJson(QJsonDocument::Compact)
        .toStdString();
}

inline const std::string hola = answer(QStringLiteral("{\"message\":\"¡Hola!\"}"));

// A stand-in for the reply endpoint on loopback: answers from a script, in order, and keeps
// every request body in the order they arrived.
class ScriptedService {
public:
    ScriptedService() {
        m_http.server().set_keep_alive_max_count(1);
        m_http.server().Post("/v1/reply",
                             [this](const httplib::Request& request, httplib::Response& response) {
                                 const std::lock_guard lock(m_mutex);
                                 m_bodies.push_back(request.body);
                                 std::pair<int, std::string> next{200, hola};
                                 if (!m_script.empty()) {
                                     next = m_script.front();
                                     m_script.pop_front();
                                 }
                                 response.status = next.first;
                                 response.set_content(next.second, "application/json");
                             });
        m_http.start();
    }
    ~ScriptedService() { m_http.stop(); }

    // From now on nothing answers on the port.
    void stop() { m_http.stop(); }

    QUrl url() const { return QUrl(m_http.url()); }

    void script(std::initializer_list<std::pair<int, std::string>> answers) {
        const std::lock_guard lock(m_mutex);
        m_script.assign(answers);
    }
    void script(const QList<std::pair<int, std::string>>& answers) {
        const std::lock_guard lock(m_mutex);
        m_script.assign(answers.begin(), answers.end());
    }
    int received() const {
        const std::lock_guard lock(m_mutex);
        return int(m_bodies.size());
    }
    QJsonObject request(int index) const {
        const std::lock_guard lock(m_mutex);
        return QJsonDocument::fromJson(QByteArray::fromStdString(m_bodies.at(size_t(index))))
            .object();
    }

private:
    testsupport::LoopbackServer m_http;
    mutable std::mutex m_mutex;
    std::deque<std::pair<int, std::string>> m_script;
    std::vector<std::string> m_bodies;
};

} // namespace quillo::clienttest

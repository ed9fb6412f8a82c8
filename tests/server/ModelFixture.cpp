// SPDX-License-Identifier: Apache-2.0
#include "ModelFixture.h"

#include "HeldGate.h"
#include "support/LoopbackServer.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <httplib.h>

#include <deque>
#include <mutex>

namespace quillo::server {

struct ModelFixture::State {
    testsupport::LoopbackServer http;

    mutable std::mutex mutex;
    std::deque<Answer> scripted;
    Answer fallback = reply(QStringLiteral("{\"message\":\"Hola\",\"remember\":[]}"));
    HeldGate gate;
    QList<QJsonObject> requests;
    QList<QByteArray> authorizations;
    int modelsRequests = 0;

    void complete(const httplib::Request& request, httplib::Response& response) {
        std::unique_lock lock(mutex);
        requests.append(QJsonDocument::fromJson(QByteArray::fromStdString(request.body)).object());
        authorizations.append(QByteArray::fromStdString(request.get_header_value("Authorization")));
        lock.unlock();
        gate.pass();
        lock.lock();
        Answer answer = fallback;
        if (!scripted.empty()) {
            answer = scripted.front();
            scripted.pop_front();
        }
        response.status = answer.status;
        response.set_content(answer.body.toStdString(), "application/json");
    }
};

ModelFixture::Answer ModelFixture::reply(const QString& content) {
    const QJsonObject message{{QStringLiteral("role"), QStringLiteral("assistant")},
                              {QStringLiteral("content"), content}};
    const QJsonObject body{
        {QStringLiteral("id"), QStringLiteral("chatcmpl-1")},
        {QStringLiteral("object"), QStringLiteral("chat.completion")},
        {QStringLiteral("choices"),
         QJsonArray{QJsonObject{{QStringLiteral("index"), 0},
                                {QStringLiteral("message"), message},
                                {QStringLiteral("finish_reason"), QStringLiteral("stop")}}}},
    };
    return {200, QJsonDocument(body).toJson(QJsonDocument::Compact)};
}

ModelFixture::Answer ModelFixture::status(int status) {
    return {status, QByteArrayLiteral("{\"error\":{\"message\":\"scripted failure\"}}")};
}

ModelFixture::Answer ModelFixture::garbage() {
    return {200, QByteArrayLiteral("<html>upstream proxy error</html>")};
}

ModelFixture::ModelFixture(int threads)
    : m_state(std::make_unique<State>()) {
    State* state = m_state.get();
    const size_t poolSize = size_t(std::max(1, threads));
    httplib::Server& server = state->http.server();
    server.new_task_queue = [poolSize] { return new httplib::ThreadPool(poolSize); };
    server.Post("/v1/chat/completions",
                [state](const httplib::Request& request, httplib::Response& response) {
                    state->complete(request, response);
                });
    server.Get("/v1/models", [state](const httplib::Request&, httplib::Response& response) {
        {
            std::lock_guard lock(state->mutex);
            ++state->modelsRequests;
        }
        response.set_content("{\"object\":\"list\",\"data\":[]}", "application/json");
    });
    state->http.start();
}

ModelFixture::~ModelFixture() {
    release();
    m_state->http.stop();
}

QString ModelFixture::url() const {
    return m_state->http.url(QStringLiteral("/v1"));
}

void ModelFixture::script(const QList<Answer>& answers) {
    std::lock_guard lock(m_state->mutex);
    m_state->scripted.insert(m_state->scripted.end(), answers.begin(), answers.end());
}

void ModelFixture::setDefault(const Answer& answer) {
    std::lock_guard lock(m_state->mutex);
    m_state->fallback = answer;
}

void ModelFixture::hold() {
    m_state->gate.hold();
}

void ModelFixture::release() {
    m_state->gate.release();
}

bool ModelFixture::waitForHeld(int count) const {
    return m_state->gate.waitForHeld(count);
}

QList<QJsonObject> ModelFixture::requests() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->requests;
}

QList<QByteArray> ModelFixture::authorizations() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->authorizations;
}

int ModelFixture::modelsRequests() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->modelsRequests;
}

} // namespace quillo::server

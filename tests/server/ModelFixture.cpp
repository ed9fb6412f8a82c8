// SPDX-License-Identifier: Apache-2.0
#include "ModelFixture.h"

#include "HeldGate.h"
#include "support/LoopbackServer.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <httplib.h>

#include <deque>
#include <mutex>
#include <optional>

namespace quillo::server {

struct ModelFixture::State {
    testsupport::LoopbackServer http;

    mutable std::mutex mutex;
    std::deque<Answer> scripted;
    Answer fallback = reply(QStringLiteral("{\"message\":\"Hola\",\"remember\":[]}"));
    HeldGate gate;
    HeldGate listingGate;
    QList<QJsonObject> requests;
    QList<QByteArray> authorizations;
    int modelsRequests = 0;
    QStringList models{QStringLiteral("test-model")};
    std::optional<Answer> modelsAnswer;

    void complete(const httplib::Request& request, httplib::Response& response) {
        std::unique_lock lock(mutex);
        const QJsonObject body =
            QJsonDocument::fromJson(QByteArray::fromStdString(request.body)).object();
        requests.append(body);
        authorizations.append(QByteArray::fromStdString(request.get_header_value("Authorization")));
        lock.unlock();
        gate.pass();
        lock.lock();
        const QString name = body.value(u"model").toString();
        Answer answer = fallback;
        if (!models.contains(name)) {
            answer = notFound(name);
        } else if (!scripted.empty()) {
            answer = scripted.front();
            scripted.pop_front();
        }
        response.status = answer.status;
        response.set_content(answer.body.toStdString(), "application/json");
    }

    void list(httplib::Response& response) {
        listingGate.pass();
        std::lock_guard lock(mutex);
        ++modelsRequests;
        if (modelsAnswer) {
            response.status = modelsAnswer->status;
            response.set_content(modelsAnswer->body.toStdString(), "application/json");
            return;
        }
        QJsonArray data;
        for (const QString& name : std::as_const(models)) {
            data.append(QJsonObject{{QStringLiteral("id"), name},
                                    {QStringLiteral("object"), QStringLiteral("model")},
                                    {QStringLiteral("owned_by"), QStringLiteral("library")}});
        }
        const QJsonObject body{{QStringLiteral("object"), QStringLiteral("list")},
                               {QStringLiteral("data"), data}};
        response.set_content(QJsonDocument(body).toJson(QJsonDocument::Compact).toStdString(),
                             "application/json");
    }

    // Ollama's answer to a model it does not have.
    static Answer notFound(const QString& name) {
        const QJsonObject error{
            {QStringLiteral("message"),
             QStringLiteral("model \"%1\" not found, try pulling it first").arg(name)},
            {QStringLiteral("type"), QStringLiteral("api_error")}};
        return {404, QJsonDocument(QJsonObject{{QStringLiteral("error"), error}})
                         .toJson(QJsonDocument::Compact)};
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

ModelFixture::ModelFixture(int threads, int port)
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
        state->list(response);
    });
    state->http.start(port);
}

ModelFixture::~ModelFixture() {
    release();
    releaseListing();
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

void ModelFixture::setModels(const QStringList& names) {
    std::lock_guard lock(m_state->mutex);
    m_state->models = names;
}

void ModelFixture::setModelsAnswer(const Answer& answer) {
    std::lock_guard lock(m_state->mutex);
    m_state->modelsAnswer = answer;
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

void ModelFixture::holdListing() {
    m_state->listingGate.hold();
}

void ModelFixture::releaseListing() {
    m_state->listingGate.release();
}

bool ModelFixture::waitForHeldListing(int count) const {
    return m_state->listingGate.waitForHeld(count);
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

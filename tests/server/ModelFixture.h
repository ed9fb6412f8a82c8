// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

namespace quillo::server {

// Plays an OpenAI-compatible model server for the service tests: answers POST
// /v1/chat/completions and GET /v1/models on 127.0.0.1 (an ephemeral port, served from a
// background thread) by a script, and records what it was sent.
//
//     ModelFixture model;
//     model.script({ModelFixture::status(429), ModelFixture::reply(u"hola"_s)});
//
// It lists the models it has (by default only "test-model") and, as Ollama does, answers 404 to
// a completion for any other name, before the script is consulted. Scripted answers are used in
// order; once they run out every request gets the default answer. hold() keeps requests waiting
// until release(), so a test can act while a reply is in flight without sleeping.
class ModelFixture {
public:
    struct Answer {
        int status = 200;
        QByteArray body;
    };
    // A completion whose choices[0].message.content is `content`.
    static Answer reply(const QString& content);
    static Answer status(int status);
    static Answer garbage();

    // `threads`: how many requests it can hold or answer at once; `port`: 0 for any free one.
    explicit ModelFixture(int threads = 8, int port = 0);
    ~ModelFixture();
    ModelFixture(const ModelFixture&) = delete;
    ModelFixture& operator=(const ModelFixture&) = delete;

    // The base URL to configure (QUILLO_MODEL_URL), base path included.
    QString url() const;

    void script(const QList<Answer>& answers);
    void setDefault(const Answer& answer);

    // The model names GET /v1/models lists, in this order, and the only ones it completes for.
    void setModels(const QStringList& names);
    // GET /v1/models answers this instead of the list, from now on.
    void setModelsAnswer(const Answer& answer);

    // Requests wait from now on until release().
    void hold();
    void release();
    // Blocks until `count` requests are waiting (up to 10 seconds); whether they all arrived.
    bool waitForHeld(int count) const;
    // The same for GET /v1/models, held apart from the completions.
    void holdListing();
    void releaseListing();
    bool waitForHeldListing(int count) const;

    // The JSON bodies of the completion requests so far, and their Authorization headers.
    QList<QJsonObject> requests() const;
    QList<QByteArray> authorizations() const;
    int modelsRequests() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace quillo::server

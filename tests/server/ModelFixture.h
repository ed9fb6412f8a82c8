// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <memory>

namespace quillo::server {

// Plays an OpenAI-compatible model server for the service tests: answers POST
// /v1/chat/completions and GET /v1/models on 127.0.0.1 (an ephemeral port, served from a
// background thread) by a script, and records what it was sent.
//
//     ModelFixture model;
//     model.script({ModelFixture::status(429), ModelFixture::reply(u"hola"_s)});
//
// Scripted answers are used in order; once they run out every request gets the default answer.
// hold() keeps requests waiting until release(), so a test can act while a reply is in flight
// without sleeping.
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

    // `threads`: how many requests it can hold or answer at once.
    explicit ModelFixture(int threads = 8);
    ~ModelFixture();
    ModelFixture(const ModelFixture&) = delete;
    ModelFixture& operator=(const ModelFixture&) = delete;

    // The base URL to configure (QUILLO_MODEL_URL), base path included.
    QString url() const;

    void script(const QList<Answer>& answers);
    void setDefault(const Answer& answer);

    // Requests wait from now on until release().
    void hold();
    void release();
    // Blocks until `count` requests are waiting (up to 10 seconds); whether they all arrived.
    bool waitForHeld(int count) const;

    // The JSON bodies of the completion requests so far, and their Authorization headers.
    QList<QJsonObject> requests() const;
    QList<QByteArray> authorizations() const;
    int modelsRequests() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace quillo::server

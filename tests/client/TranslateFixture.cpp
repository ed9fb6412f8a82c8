// SPDX-License-Identifier: Apache-2.0
#include "TranslateFixture.h"

#include "support/LoopbackServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <httplib.h>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace quillo::translatetest {

namespace {

// A form's way of writing text: "+" for a blank, percent escapes for the rest.
QList<std::pair<QString, QString>> formItems(const QByteArray& encoded) {
    QList<std::pair<QString, QString>> items;
    if (encoded.isEmpty())
        return items;
    for (const QByteArray& piece : encoded.split('&')) {
        const qsizetype equals = piece.indexOf('=');
        const auto decode = [](QByteArray part) {
            return QString::fromUtf8(QByteArray::fromPercentEncoding(part.replace('+', ' ')));
        };
        items.append({decode(piece.left(equals < 0 ? piece.size() : equals)),
                      equals < 0 ? QString() : decode(piece.mid(equals + 1))});
    }
    return items;
}

QString translated(const QString& text) {
    return QStringLiteral("tr(") + text + u')';
}

} // namespace

QString TranslateFixture::Request::queryValue(const QString& name) const {
    for (const auto& [key, value] : query) {
        if (key == name)
            return value;
    }
    return {};
}

QByteArray TranslateFixture::Request::header(const QByteArray& name) const {
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

QStringList TranslateFixture::Request::batchTexts() const {
    QStringList texts;
    for (const auto& [key, value] : formItems(body)) {
        if (key == u"q")
            texts.append(value);
    }
    return texts;
}

struct TranslateFixture::State {
    testsupport::LoopbackServer http;

    mutable std::mutex mutex;
    std::condition_variable stopped;
    bool stopping = false;
    Responder lookupResponder;
    Responder batchResponder;
    QList<Request> requests;

    void answer(const httplib::Request& incoming, httplib::Response& response,
                Responder State::*responder) {
        Request request;
        request.method = QByteArray::fromStdString(incoming.method);
        request.path = QString::fromStdString(incoming.path);
        const std::string& target = incoming.target;
        const auto question = target.find('?');
        if (question != std::string::npos)
            request.query = formItems(QByteArray::fromStdString(target.substr(question + 1)));
        for (const auto& [name, value] : incoming.headers)
            request.headers.append(
                {QByteArray::fromStdString(name), QByteArray::fromStdString(value)});
        request.body = QByteArray::fromStdString(incoming.body);

        Responder respond;
        {
            std::lock_guard lock(mutex);
            requests.append(request);
            respond = this->*responder;
        }
        // Outside the lock: a responder may well ask the fixture what it was sent.
        const Answer reply = respond(request);
        if (reply.delay.count() > 0) {
            std::unique_lock lock(mutex);
            stopped.wait_for(lock, reply.delay, [this] { return stopping; });
        }
        response.status = reply.status;
        response.set_content(reply.body.toStdString(), "application/json; charset=UTF-8");
    }
};

TranslateFixture::Answer TranslateFixture::lookup(const QString& translation,
                                                  const QStringList& terms) {
    QJsonObject body{{QStringLiteral("sentences"),
                      QJsonArray{QJsonObject{{QStringLiteral("trans"), translation}}}},
                     {QStringLiteral("src"), QStringLiteral("es")}};
    if (!terms.isEmpty())
        body.insert(
            QStringLiteral("dict"),
            QJsonArray{QJsonObject{{QStringLiteral("pos"), QStringLiteral("noun")},
                                   {QStringLiteral("terms"), QJsonArray::fromStringList(terms)}}});
    return {200, QJsonDocument(body).toJson(QJsonDocument::Compact)};
}

TranslateFixture::Answer TranslateFixture::batch(const QStringList& translations) {
    return {200,
            QJsonDocument(QJsonArray::fromStringList(translations)).toJson(QJsonDocument::Compact)};
}

TranslateFixture::Answer TranslateFixture::status(int status) {
    return {status, QByteArrayLiteral("<html>Too many requests</html>")};
}

TranslateFixture::TranslateFixture()
    : m_state(std::make_unique<State>()) {
    State* state = m_state.get();
    state->lookupResponder = [](const Request& request) {
        return lookup(translated(request.queryValue(QStringLiteral("q"))));
    };
    state->batchResponder = [](const Request& request) {
        QStringList translations;
        for (const QString& text : request.batchTexts())
            translations.append(translated(text));
        return batch(translations);
    };
    httplib::Server& server = state->http.server();
    server.Get("/translate_a/single",
               [state](const httplib::Request& request, httplib::Response& response) {
                   state->answer(request, response, &State::lookupResponder);
               });
    server.Post("/translate_a/t",
                [state](const httplib::Request& request, httplib::Response& response) {
                    state->answer(request, response, &State::batchResponder);
                });
    // One request per connection: an idle keep-alive connection would hold up stop().
    server.set_keep_alive_max_count(1);
    // Nor may a connection whose client went away without closing it (a request still in
    // flight when a test ends): the server waits this long for a request on a connection.
    server.set_keep_alive_timeout(1);
    state->http.start();
}

TranslateFixture::~TranslateFixture() {
    {
        std::lock_guard lock(m_state->mutex);
        m_state->stopping = true;
    }
    m_state->stopped.notify_all();
    m_state->http.stop();
}

QString TranslateFixture::url() const {
    return m_state->http.url();
}

FreeTranslator::Origins TranslateFixture::origins() const {
    return {QUrl(url()), QUrl(url())};
}

void TranslateFixture::setLookupAnswer(const Answer& answer) {
    setLookupResponder([answer](const Request&) { return answer; });
}

void TranslateFixture::setBatchAnswer(const Answer& answer) {
    setBatchResponder([answer](const Request&) { return answer; });
}

void TranslateFixture::setLookupResponder(Responder responder) {
    std::lock_guard lock(m_state->mutex);
    m_state->lookupResponder = std::move(responder);
}

void TranslateFixture::setBatchResponder(Responder responder) {
    std::lock_guard lock(m_state->mutex);
    m_state->batchResponder = std::move(responder);
}

QList<TranslateFixture::Request> TranslateFixture::requests() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->requests;
}

} // namespace quillo::translatetest

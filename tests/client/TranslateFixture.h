// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "language/FreeTranslator.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace quillo::translatetest {

// Plays the public translate endpoints on 127.0.0.1 (an ephemeral port, served from background
// threads): GET /translate_a/single answers a lookup with a JSON object, POST /translate_a/t
// answers a batch with a JSON array, and every request is recorded.
//
//     TranslateFixture endpoints;
//     FreeTranslator translator(endpoints.origins());
//     endpoints.setBatchAnswer(TranslateFixture::batch({QStringLiteral("house")}));
//     endpoints.setLookupAnswer(TranslateFixture::status(429));
//     endpoints.setBatchResponder([](const TranslateFixture::Request& request) {
//         return TranslateFixture::batch(request.batchTexts());
//     });
//
// Until told otherwise a lookup of TEXT answers "tr(TEXT)" without alternatives, and a batch
// answers "tr(TEXT)" for each of its texts, so the count always fits. An answer set for a path
// (fixed or computed) replaces that for every later request to it.
class TranslateFixture {
public:
    // One request as the endpoint saw it.
    struct Request {
        QByteArray method;
        QString path;
        QList<std::pair<QString, QString>> query; // decoded as a form: "+" is a space
        QList<std::pair<QByteArray, QByteArray>> headers;
        QByteArray body;

        // The first value of a query item or header (names of headers ignore case); empty when
        // it is absent.
        QString queryValue(const QString& name) const;
        QByteArray header(const QByteArray& name) const;
        // The texts of a batch: the "q" values of the form body, in order.
        QStringList batchTexts() const;
    };

    struct Answer {
        int status = 200;
        QByteArray body;
        // Silence before the answer starts; cut short when the fixture goes away.
        std::chrono::milliseconds delay{0};
    };
    using Responder = std::function<Answer(const Request&)>;

    // A lookup answer in the endpoint's shape, with the terms as one dictionary entry.
    static Answer lookup(const QString& translation, const QStringList& terms = {});
    // A batch answer: one string per translation.
    static Answer batch(const QStringList& translations);
    static Answer status(int status);

    TranslateFixture();
    ~TranslateFixture();
    TranslateFixture(const TranslateFixture&) = delete;
    TranslateFixture& operator=(const TranslateFixture&) = delete;

    // "http://127.0.0.1:PORT", for QUILLO_TRANSLATE_URL; origins() puts both endpoints there.
    QString url() const;
    FreeTranslator::Origins origins() const;

    void setLookupAnswer(const Answer& answer);
    void setBatchAnswer(const Answer& answer);
    // Called on a server thread for every later request to the path.
    void setLookupResponder(Responder responder);
    void setBatchResponder(Responder responder);

    // Everything asked so far, in arrival order.
    QList<Request> requests() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace quillo::translatetest

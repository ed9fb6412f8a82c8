// SPDX-License-Identifier: Apache-2.0
#include "TranscribeFixture.h"

#include "HeldGate.h"
#include "support/LoopbackServer.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtEndian>

#include <httplib.h>

#include <cmath>
#include <deque>
#include <mutex>
#include <numbers>
#include <thread>

namespace quillo::server {

struct TranscribeFixture::State {
    testsupport::LoopbackServer http;

    mutable std::mutex mutex;
    std::deque<Answer> scripted;
    Answer fallback = text(QStringLiteral("hola"));
    Transcriber transcriber;
    HeldGate gate;
    QList<Request> requests;

    static QString field(const httplib::Request& request, const char* name) {
        return QString::fromStdString(request.get_file_value(name).content);
    }

    void transcribe(const httplib::Request& request, httplib::Response& response) {
        const httplib::MultipartFormData file = request.get_file_value("file");
        Request received{
            QByteArray::fromStdString(file.content),
            QString::fromStdString(file.filename),
            QString::fromStdString(file.content_type),
            field(request, "model"),
            request.has_file("language") ? std::optional(field(request, "language")) : std::nullopt,
            field(request, "response_format"),
            QByteArray::fromStdString(request.get_header_value("Authorization")),
        };

        std::unique_lock lock(mutex);
        requests.append(received);
        lock.unlock();
        gate.pass();
        lock.lock();
        Answer answer = fallback;
        Transcriber transcribing;
        if (!request.has_file("file")) {
            answer = status(400); // as a real server would; the script is kept for later
        } else if (!scripted.empty()) {
            answer = scripted.front();
            scripted.pop_front();
        } else {
            transcribing = transcriber;
        }
        lock.unlock(); // the transcriber may well look at the fixture
        if (transcribing)
            answer = text(transcribing(received.audio, received.language.value_or(QString())));
        response.status = answer.status;
        response.set_content(answer.body.toStdString(), "application/json");
    }
};

TranscribeFixture::Answer TranscribeFixture::text(const QString& text) {
    const QJsonObject body{{QStringLiteral("text"), text}};
    return {200, QJsonDocument(body).toJson(QJsonDocument::Compact)};
}

TranscribeFixture::Answer TranscribeFixture::status(int status) {
    return {status, QByteArrayLiteral("{\"error\":{\"message\":\"scripted failure\"}}")};
}

TranscribeFixture::Answer TranscribeFixture::garbage() {
    return {200, QByteArrayLiteral("<html>upstream proxy error</html>")};
}

QByteArray TranscribeFixture::wav(int milliseconds, int sampleRate) {
    const qint64 samples = qint64(sampleRate) * milliseconds / 1000;
    const auto le32 = [](quint32 value) {
        QByteArray bytes(4, '\0');
        qToLittleEndian(value, bytes.data());
        return bytes;
    };
    const auto le16 = [](quint16 value) {
        QByteArray bytes(2, '\0');
        qToLittleEndian(value, bytes.data());
        return bytes;
    };
    QByteArray data;
    for (qint64 i = 0; i < samples; ++i) {
        const double phase = 2 * std::numbers::pi * 440 * double(i) / sampleRate;
        data += le16(quint16(qint16(std::lround(8000 * std::sin(phase)))));
    }
    QByteArray format = le16(1) + le16(1) + le32(quint32(sampleRate)) +
                        le32(quint32(sampleRate * 2)) + le16(2) + le16(16);
    QByteArray chunks = "WAVE" + QByteArray("fmt ") + le32(quint32(format.size())) + format +
                        "data" + le32(quint32(data.size())) + data;
    return "RIFF" + le32(quint32(chunks.size())) + chunks;
}

TranscribeFixture::TranscribeFixture()
    : m_state(std::make_unique<State>()) {
    State* state = m_state.get();
    state->http.server().Post("/v1/audio/transcriptions", [state](const httplib::Request& request,
                                                                  httplib::Response& response) {
        state->transcribe(request, response);
    });
    state->http.start();
}

TranscribeFixture::~TranscribeFixture() {
    release();
    m_state->http.stop();
}

QString TranscribeFixture::url() const {
    return m_state->http.url(QStringLiteral("/v1"));
}

void TranscribeFixture::script(const QList<Answer>& answers) {
    std::lock_guard lock(m_state->mutex);
    m_state->scripted.insert(m_state->scripted.end(), answers.begin(), answers.end());
}

void TranscribeFixture::setDefault(const Answer& answer) {
    std::lock_guard lock(m_state->mutex);
    m_state->fallback = answer;
    m_state->transcriber = nullptr;
}

void TranscribeFixture::answer(Transcriber transcriber) {
    std::lock_guard lock(m_state->mutex);
    m_state->transcriber = std::move(transcriber);
}

void TranscribeFixture::hold() {
    m_state->gate.hold();
}

void TranscribeFixture::release() {
    m_state->gate.release();
}

bool TranscribeFixture::waitForHeld(int count) const {
    return m_state->gate.waitForHeld(count);
}

QList<TranscribeFixture::Request> TranscribeFixture::requests() const {
    std::lock_guard lock(m_state->mutex);
    return m_state->requests;
}

} // namespace quillo::server

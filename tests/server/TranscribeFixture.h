// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace quillo::server {

// Plays an OpenAI-compatible speech-to-text server for the tests: answers POST
// /v1/audio/transcriptions on 127.0.0.1 (an ephemeral port, served from a background thread)
// and records the multipart form it was sent.
//
//     TranscribeFixture speech;
//     config.transcribeUrl = speech.url();
//     speech.answer([](const QByteArray& wav, const QString& language) { return u"hola"_s; });
//     speech.script({TranscribeFixture::status(429)});
//
// Scripted answers are used in order; once they run out every request gets the default answer,
// which is {"text":"hola"} until answer() or setDefault() says otherwise. hold() keeps requests
// waiting until release(), so a test can act while a transcription is in flight.
class TranscribeFixture {
public:
    struct Answer {
        int status = 200;
        QByteArray body;
    };
    static Answer text(const QString& text); // {"text": text}
    static Answer status(int status);
    static Answer garbage();

    // What the speech server was sent; the fields of the form, as they came.
    struct Request {
        QByteArray audio; // the "file" part
        QString fileName;
        QString fileType;
        QString model;
        std::optional<QString> language; // absent when the form had none
        QString responseFormat;
        QByteArray authorization;
    };

    // The text for a recording in a language ("" when none was given).
    using Transcriber = std::function<QString(const QByteArray& wav, const QString& language)>;

    // A 16-bit PCM WAV as the app records one: a 440 Hz tone, mono.
    static QByteArray wav(int milliseconds = 250, int sampleRate = 16000);

    TranscribeFixture();
    ~TranscribeFixture();
    TranscribeFixture(const TranscribeFixture&) = delete;
    TranscribeFixture& operator=(const TranscribeFixture&) = delete;

    // The base URL to configure (QUILLO_TRANSCRIBE_URL), base path included.
    QString url() const;

    void script(const QList<Answer>& answers);
    void setDefault(const Answer& answer);
    void answer(Transcriber transcriber);

    // Requests wait from now on until release().
    void hold();
    void release();
    // Blocks until `count` requests are waiting (up to 10 seconds); whether they all arrived.
    bool waitForHeld(int count) const;

    QList<Request> requests() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace quillo::server

// SPDX-License-Identifier: Apache-2.0
#include "SpokenRecording.h"
#include "app/EventsUntil.h"
#include "common/Clock.h"
#include "dictation/Dictation.h"
#include "dictation/ServiceRecognizer.h"
#include "dictation/WavFile.h"
#include "dictation/WavFileSource.h"
#include "server/ServerTestSupport.h"
#include "server/TranscribeFixture.h"
#include "service/QuilloAPI.h"

#include <QCoreApplication>
#include <QFile>

#include <cmath>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;
using quillo::apptest::eventsUntil;
using quillo::dictationtest::SpokenRecording;

namespace {

const QString sentence = QStringLiteral("Hola, ¿qué tal? Me llamo Ana y vivo en Madrid.");

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(SpokenAudio, WhatTheSoundToolMeasuresIsWhatDictationReads) {
    const SpokenRecording speech(QStringLiteral("es"), sentence);
    ASSERT_TRUE(speech.problem.isEmpty()) << speech.problem.toStdString();

    const auto converted = wav::decode(readFile(speech.converted));
    ASSERT_TRUE(converted.ok()) << converted.error().toStdString();
    EXPECT_EQ(converted.value().size() / 2, speech.samples);
    // The meter's reading of the whole recording, from the tool's RMS and from ours.
    const double expected = std::clamp((20 * std::log10(speech.rms) + 50) / 40, 0.0, 1.0);
    EXPECT_NEAR(audioLevel(AudioBuffer{converted.value()}), expected, 0.01);
    EXPECT_GT(expected, 0.3) << "speech, not silence";

    // The synthesiser's own 22,050 Hz file, converted by dictation: as long, and as loud.
    const auto resampled = wav::decode(readFile(speech.synthesised));
    ASSERT_TRUE(resampled.ok()) << resampled.error().toStdString();
    EXPECT_NEAR(double(resampled.value().size() / 2), double(speech.samples),
                speech.samples * 0.002);
    EXPECT_NEAR(audioLevel(AudioBuffer{resampled.value()}), expected, 0.01);
}

class DictationThroughTheService : public ApiTest {
protected:
    TranscribeFixture speechServer;
    std::unique_ptr<QuilloAPI> api;
    QString token;

    void SetUp() override {
        config.transcribeUrl = speechServer.url();
        ApiTest::SetUp();
        api = std::make_unique<QuilloAPI>(
            QUrl(QStringLiteral("http://127.0.0.1:") + QString::number(port())));
        token = signIn(QStringLiteral("ana@example.com"));
    }
    void TearDown() override {
        api.reset();
        ApiTest::TearDown();
    }
};

TEST_F(DictationThroughTheService, SpokenSpanishComesBackAsTheFinalTranscript) {
    const SpokenRecording speech(QStringLiteral("es"), sentence);
    ASSERT_TRUE(speech.problem.isEmpty()) << speech.problem.toStdString();
    const QByteArray samples = wav::decode(readFile(speech.converted)).value();
    // The speech model hears more words the more audio it gets; then everything.
    speechServer.answer([&samples](const QByteArray& wav, const QString&) {
        const qsizetype heard = (wav.size() - 44) / 2;
        return heard < samples.size() / 2
                   ? sentence.section(u' ', 0, int(heard / ServiceRecognizer::partialEveryFrames))
                   : sentence;
    });

    // Spoken at the pace of speech, by a clock the test moves on.
    WavFileSource microphone(samples, &clock);
    ServiceRecognizer recognizer(*api, [this] { return std::optional<QString>(token); });
    Dictation dictation(microphone, recognizer, clock);
    QStringList shown;
    QObject::connect(&dictation, &Dictation::textChanged, [&] { shown.append(dictation.text()); });
    std::optional<QString> delivered;
    // The user stops talking when the recording ends.
    QObject::connect(&microphone, &WavFileSource::ended, [&] {
        dictation.finish([&delivered](const QString& text) { delivered = text; });
    });

    dictation.start(QStringLiteral("Spanish"));
    ASSERT_TRUE(dictation.active());
    // Time moves only while no partial result is on its way (one goes for every second of
    // speech), as for a user talking slower than the service answers.
    ASSERT_TRUE(eventsUntil([&] {
        const qsizetype partialsSent =
            microphone.framesPlayed() / ServiceRecognizer::partialEveryFrames;
        if (shown.size() >= partialsSent && microphone.isRunning())
            clock.advance(64);
        return delivered.has_value();
    }));
    EXPECT_EQ(*delivered, sentence);
    EXPECT_EQ(microphone.framesPlayed(), speech.samples);

    const QList<TranscribeFixture::Request> requests = speechServer.requests();
    ASSERT_GE(requests.size(), 2) << "partial results while talking, then the final one";
    for (qsizetype i = 1; i < requests.size(); ++i)
        EXPECT_GT(requests[i].audio.size(), requests[i - 1].audio.size()) << "the audio grows";
    for (const TranscribeFixture::Request& request : requests)
        EXPECT_EQ(request.language, QStringLiteral("es"));
    EXPECT_EQ(requests.last().audio, wav::encode(samples)) << "the final one has every sample";
    // Each partial result was on screen before the next.
    ASSERT_EQ(shown.size(), requests.size()) << shown.join(u'|').toStdString();
    EXPECT_EQ(shown.first(), QStringLiteral("Hola, ¿qué"));
    EXPECT_EQ(shown.last(), sentence);
}

TEST_F(DictationThroughTheService, AFailedFinalTranscriptionIsSaidAndKeepsNothingInvented) {
    speechServer.setDefault(TranscribeFixture::status(500));
    WavFileSource microphone(QByteArray(8000 * 2, '\x20'));
    ServiceRecognizer recognizer(*api, [this] { return std::optional<QString>(token); });
    Dictation dictation(microphone, recognizer, clock);
    QStringList problems;
    dictation.onProblem = [&problems](const QString& line) { problems.append(line); };
    std::optional<QString> delivered;
    QObject::connect(&microphone, &WavFileSource::ended, [&] {
        dictation.finish([&delivered](const QString& text) { delivered = text; });
    });
    dictation.start(QStringLiteral("Spanish"));
    ASSERT_TRUE(eventsUntil([&] { return delivered.has_value(); }));
    EXPECT_EQ(*delivered, QString()) << "nothing was heard";
    EXPECT_TRUE(problems.isEmpty()) << "the user had finished; the empty text says enough";

    // Signed out: the service cannot be asked.
    ServiceRecognizer signedOut(*api, [] { return std::optional<QString>(); });
    Dictation nobody(microphone, signedOut, clock);
    nobody.onProblem = [&problems](const QString& line) { problems.append(line); };
    nobody.start(QStringLiteral("Spanish"));
    EXPECT_EQ(problems,
              QStringList{QStringLiteral("This computer can't listen in Spanish right now.")});
}

TEST_F(DictationThroughTheService, WithoutASpeechModelListeningStopsAtTheFirstAnswerAndSaysSo) {
    const int servedOn = port();
    stop();
    config.transcribeUrl.clear();
    config.listenPort = servedOn;
    start();
    WavFileSource microphone(QByteArray(16'000 * 2 * 3, '\x20'), &clock);
    ServiceRecognizer recognizer(*api, [this] { return std::optional<QString>(token); });
    Dictation dictation(microphone, recognizer, clock);
    QStringList problems;
    dictation.onProblem = [&problems](const QString& line) { problems.append(line); };
    dictation.start(QStringLiteral("Spanish"));
    ASSERT_TRUE(eventsUntil([&] {
        if (microphone.isRunning() && problems.isEmpty() &&
            microphone.framesPlayed() < ServiceRecognizer::partialEveryFrames)
            clock.advance(64);
        return !problems.isEmpty();
    }));
    EXPECT_EQ(problems,
              QStringList{QStringLiteral("This computer can't listen in Spanish right now.")});
    EXPECT_FALSE(dictation.active());
    EXPECT_FALSE(microphone.isRunning()) << "the microphone is let go";
}

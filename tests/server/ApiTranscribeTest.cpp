// SPDX-License-Identifier: Apache-2.0
#include "ServerTestSupport.h"
#include "TranscribeFixture.h"

#include <QtEndian>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

constexpr qsizetype maxAudioBytes = 4 * 1024 * 1024;

// `wav` with a byte changed, as a broken recorder might write it.
QByteArray patched(QByteArray wav, qsizetype at, QByteArrayView bytes) {
    wav.replace(at, bytes.size(), bytes.toByteArray());
    return wav;
}

QByteArray le32(quint32 value) {
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

// `wav` grown to exactly `size` bytes by a trailing chunk that readers skip.
QByteArray grownTo(QByteArray wav, qsizetype size) {
    const qsizetype padding = size - wav.size() - 8;
    wav += "junk" + le32(quint32(padding)) + QByteArray(padding, '\0');
    return patched(wav, 4, le32(quint32(wav.size() - 8)));
}

class ApiTranscribe : public ApiTest {
protected:
    TranscribeFixture speech;
    QString token;

    void SetUp() override {
        config.transcribeUrl = speech.url();
        config.transcribeModel = QStringLiteral("whisper-test");
        ApiTest::SetUp();
        token = signIn(QStringLiteral("ana@example.com"));
    }

    Answer transcribe(const QByteArray& wav, const std::string& query = "?language=es") const {
        return transcribeAs(token, wav, query);
    }
    Answer transcribeAs(const QString& caller, const QByteArray& wav,
                        const std::string& query = "?language=es") const {
        httplib::Client client("127.0.0.1", port());
        httplib::Headers headers;
        if (!caller.isEmpty())
            headers.emplace("Authorization", "Bearer " + caller.toStdString());
        return answerOf(
            client.Post("/v1/transcribe" + query, headers, wav.toStdString(), "audio/wav"));
    }
};

TEST_F(ApiTranscribe, ForwardsTheRecordingAndAnswersWithItsText) {
    config.transcribeKey = QStringLiteral("sk-speech");
    restart();
    speech.answer([](const QByteArray& wav, const QString& language) {
        return QStringLiteral(" ¿Qué tal? %1 %2").arg(language).arg(wav.size());
    });
    const QByteArray wav = TranscribeFixture::wav(500);

    const Answer answer = transcribe(wav, "?language=pt-BR");
    ASSERT_EQ(answer.status, 200) << answer.body.toStdString();
    EXPECT_EQ(answer.contentType, "application/json");
    EXPECT_EQ(answer.body,
              QStringLiteral("{\"text\":\"¿Qué tal? pt %1\"}").arg(wav.size()).toUtf8());

    ASSERT_EQ(speech.requests().size(), 1);
    const TranscribeFixture::Request sent = speech.requests().first();
    EXPECT_EQ(sent.audio, wav);
    EXPECT_EQ(sent.fileName, u"audio.wav");
    EXPECT_EQ(sent.fileType, u"audio/wav");
    EXPECT_EQ(sent.model, u"whisper-test");
    EXPECT_EQ(sent.language, QStringLiteral("pt"));
    EXPECT_EQ(sent.responseFormat, u"json");
    EXPECT_EQ(sent.authorization, "Bearer sk-speech");
}

TEST_F(ApiTranscribe, WithoutALanguageOrKeyNeitherIsSent) {
    const QString unset = QStringLiteral("unset");
    for (const std::string query : {"", "?language="}) {
        EXPECT_EQ(transcribe(TranscribeFixture::wav(), query).json.value(u"text").toString(),
                  u"hola");
        EXPECT_EQ(speech.requests().last().language.value_or(unset), unset);
        EXPECT_TRUE(speech.requests().last().authorization.isEmpty());
    }
}

TEST_F(ApiTranscribe, DoesNotCountAgainstTheDailyLimit) {
    for (int i = 0; i <= config.dailyLimit; ++i)
        ASSERT_EQ(transcribe(TranscribeFixture::wav()).status, 200);
    EXPECT_EQ(get("/v1/account", token).json.value(u"account")[u"repliesToday"].toInt(-1), 0);
    EXPECT_TRUE(model.requests().isEmpty());
}

TEST_F(ApiTranscribe, LanguageCodes) {
    for (const std::string good : {"en", "yue", "es-419", "zh-Hant", "pt-br"}) {
        const Answer answer = transcribe(TranscribeFixture::wav(), "?language=" + good);
        EXPECT_EQ(answer.status, 200) << good << ' ' << answer.body.toStdString();
    }
    EXPECT_EQ(speech.requests().at(1).language, QStringLiteral("yue"));
    EXPECT_EQ(speech.requests().at(2).language, QStringLiteral("es"));

    const std::string bad[] = {"e",     "engl",  "EN",    "En-US",   "e1",
                               "en-",   "en-U",  "en_US", "en-US-x", "en-%C3%9CS",
                               "%20en", "en%00", "-US",   "english"};
    for (const std::string& code : bad) {
        const Answer answer = transcribe(TranscribeFixture::wav(), "?language=" + code);
        EXPECT_EQ(answer.status, 400) << code;
        EXPECT_TRUE(answer.json.value(u"error").toString().startsWith(u"language: ")) << code;
    }
    EXPECT_EQ(speech.requests().size(), 5);
}

TEST_F(ApiTranscribe, RefusesWhatIsNotA16BitPcmWav) {
    const QByteArray wav = TranscribeFixture::wav();
    const QByteArray fmtChunk = wav.mid(12, 24);
    const QByteArray dataChunk = wav.mid(36);
    const QList<QByteArray> bad = {
        {},
        "{\"audio\":\"...\"}",
        wav.left(11),
        patched(wav, 0, "RIFX"),
        patched(wav, 8, "AVI "),
        patched(wav, 20, "\x03"),                        // IEEE float, not PCM
        patched(wav, 34, "\x08"),                        // 8-bit samples
        patched(wav, 22, QByteArrayView("\0\0", 2)),     // no channels
        patched(wav, 16, "\x0e"),                        // fmt chunk too short for its fields
        wav.left(36),                                    // no data chunk
        wav.left(wav.size() - 1),                        // data chunk cut short
        wav.left(44),                                    // the data chunk's header alone
        patched(wav, 40, QByteArrayView("\0\0\0\0", 4)), // no samples either
        wav.left(12) + dataChunk + fmtChunk,             // data before its format
    };
    for (const QByteArray& body : bad) {
        const Answer answer = transcribe(body);
        EXPECT_EQ(answer.status, 400) << body.left(48).toHex().toStdString();
        EXPECT_TRUE(answer.json.value(u"error").toString().startsWith(u"audio: "))
            << answer.body.toStdString();
    }
    EXPECT_TRUE(speech.requests().isEmpty());

    // Chunks the service does not need are walked over, odd sizes padded to even ones.
    const QByteArray list = "LIST" + le32(3) + QByteArray("abc\0", 4);
    const QByteArray extended = wav.left(12) + list + fmtChunk + dataChunk + list;
    EXPECT_EQ(transcribe(extended).status, 200);
    ASSERT_EQ(speech.requests().size(), 1);
    EXPECT_EQ(speech.requests().first().audio, extended);
}

TEST_F(ApiTranscribe, RecordingsOver4MiBGet413) {
    config.maxBodyBytes = 3 * maxAudioBytes;
    restart();
    const Answer tooLarge = transcribe(grownTo(TranscribeFixture::wav(), maxAudioBytes + 1));
    EXPECT_EQ(tooLarge.status, 413);
    EXPECT_EQ(tooLarge.json.value(u"error").toString(), u"audio too large");
    EXPECT_TRUE(speech.requests().isEmpty());

    const QByteArray largest = grownTo(TranscribeFixture::wav(), maxAudioBytes);
    EXPECT_EQ(transcribe(largest).status, 200);
    ASSERT_EQ(speech.requests().size(), 1);
    EXPECT_EQ(speech.requests().first().audio.size(), maxAudioBytes);
}

TEST_F(ApiTranscribe, NeedsASessionAndAConfiguredEndpoint) {
    EXPECT_EQ(transcribeAs({}, TranscribeFixture::wav()).status, 401);
    EXPECT_EQ(transcribeAs(QStringLiteral("nobody"), TranscribeFixture::wav()).status, 401);
    EXPECT_TRUE(speech.requests().isEmpty());

    config.transcribeUrl.clear();
    restart();
    const Answer off = transcribe(TranscribeFixture::wav());
    EXPECT_EQ(off.status, 503);
    EXPECT_EQ(off.body, "{\"error\":\"transcription not configured\"}");
    EXPECT_EQ(transcribeAs({}, TranscribeFixture::wav()).status, 401);
}

TEST_F(ApiTranscribe, TranscriberFailuresAnswerRetryableStatuses) {
    speech.script({TranscribeFixture::status(429),
                   TranscribeFixture::status(500),
                   TranscribeFixture::garbage(),
                   {200, "{\"text\":7}"},
                   {200, "{}"}});
    const int expected[] = {429, 502, 502, 502, 502};
    for (const int status : expected) {
        const Answer answer = transcribe(TranscribeFixture::wav());
        EXPECT_EQ(answer.status, status) << answer.body.toStdString();
        EXPECT_FALSE(answer.json.value(u"error").toString().isEmpty());
        EXPECT_FALSE(answer.json.contains(u"text"));
    }

    config.transcribeUrl = QStringLiteral("http://127.0.0.1:%1/v1").arg(freeLoopbackPort());
    restart();
    const Answer unreachable = transcribe(TranscribeFixture::wav());
    EXPECT_EQ(unreachable.status, 503);
    EXPECT_EQ(unreachable.json.value(u"error").toString(), u"transcriber unreachable");
}

} // namespace

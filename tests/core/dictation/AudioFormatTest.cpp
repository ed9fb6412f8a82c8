// SPDX-License-Identifier: Apache-2.0
#include "dictation/AudioBuffer.h"
#include "dictation/SpeechLocale.h"
#include "dictation/WavFile.h"

#include <QtEndian>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace quillo;

namespace {

// A sine of `amplitude` (of full scale) at 440 Hz, `frames` long.
QByteArray sine(double amplitude, qsizetype frames, int rate = dictationSampleRate) {
    QByteArray samples;
    for (qsizetype i = 0; i < frames; ++i) {
        const double value = amplitude * std::sin(2 * std::numbers::pi * 440 * double(i) / rate);
        char bytes[2];
        qToLittleEndian(qint16(std::lround(value * 32767)), bytes);
        samples.append(bytes, 2);
    }
    return samples;
}

} // namespace

TEST(AudioLevel, SilenceFullScaleAndMinusThirtyDecibels) {
    EXPECT_EQ(audioLevel(AudioBuffer{}), 0.0f) << "no frames";
    EXPECT_EQ(audioLevel(AudioBuffer{QByteArray(2048, '\0')}), 0.0f);

    QByteArray square;
    for (int i = 0; i < 1024; ++i)
        square.append(i % 2 ? QByteArray::fromHex("0180") : QByteArray::fromHex("ff7f"));
    EXPECT_FLOAT_EQ(audioLevel(AudioBuffer{square}), 1.0f);

    // A sine's RMS is its amplitude over √2; −30 dB RMS sits halfway up the meter.
    const double amplitude = std::pow(10.0, -30.0 / 20) * std::numbers::sqrt2;
    EXPECT_NEAR(audioLevel(AudioBuffer{sine(amplitude, 16'000)}), 0.5f, 0.002f);
    // −60 dB is below the floor.
    EXPECT_EQ(audioLevel(AudioBuffer{sine(0.001 * std::numbers::sqrt2, 16'000)}), 0.0f);
}

TEST(WavFile, DictationAudioRoundTripsAndOtherRecordingsAreConverted) {
    const QByteArray samples = sine(0.5, 3000);
    const QByteArray file = wav::encode(samples);
    EXPECT_EQ(file.size(), 44 + samples.size());
    EXPECT_EQ(wav::decode(file).value(), samples);

    // Stereo at 22,050 Hz, as speech synthesisers write: the first channel, at 16 kHz.
    QByteArray stereo;
    const QByteArray left = sine(0.5, 22'050, 22'050);
    for (qsizetype i = 0; i < 22'050; ++i)
        stereo.append(left.mid(2 * i, 2)).append("\x00\x00", 2);
    QByteArray recording = wav::encode(stereo);
    qToLittleEndian<quint16>(2, recording.data() + 22);          // channels
    qToLittleEndian<quint32>(22'050, recording.data() + 24);     // rate
    qToLittleEndian<quint32>(22'050 * 4, recording.data() + 28); // bytes per second
    qToLittleEndian<quint16>(4, recording.data() + 32);          // bytes per frame
    const auto converted = wav::decode(recording);
    ASSERT_TRUE(converted.ok()) << converted.error().toStdString();
    EXPECT_EQ(converted.value().size() / 2, 16'000);
    EXPECT_NEAR(audioLevel(AudioBuffer{converted.value()}),
                audioLevel(AudioBuffer{sine(0.5, 16'000)}), 0.01f);

    EXPECT_FALSE(wav::decode(QByteArray("RIFF....WAVE")).ok()) << "no samples";
    EXPECT_FALSE(wav::decode(QByteArray("not a wav file at all")).ok());
    QByteArray floats = file;
    qToLittleEndian<quint16>(3, floats.data() + 20);
    EXPECT_EQ(wav::decode(floats).error(),
              QStringLiteral("not 16-bit PCM (record or convert with 16-bit samples)"));
    // A streaming recorder's unset size takes what is there; any other shortfall is a file cut
    // short, as the service has it too.
    QByteArray unsized = file;
    qToLittleEndian<quint32>(0xFFFFFFFF, unsized.data() + 40);
    EXPECT_EQ(wav::decode(unsized).value(), samples);
    EXPECT_EQ(wav::decode(file.left(file.size() - 2)).error(), u"a WAV file cut short");
    QByteArray slow = file;
    qToLittleEndian<quint32>(2'000, slow.data() + 24);
    EXPECT_EQ(wav::decode(slow).error(), u"an unusable channel count or sample rate");
    // One frame at 384 kHz is shorter than one sample at 16 kHz: nothing to hear.
    QByteArray blink = wav::encode(sine(0.5, 1));
    qToLittleEndian<quint32>(384'000, blink.data() + 24);
    EXPECT_EQ(wav::decode(blink).error(), u"a WAV file without samples");
    const auto found = wav::layout(file);
    ASSERT_TRUE(found.ok());
    EXPECT_EQ(found->dataOffset, 44);
    EXPECT_EQ(found->dataBytes, samples.size());
}

TEST(SpeechLocale, TheUsersRegionFirstThenTheCommonOneThenAnyOfTheLanguage) {
    const QList<QLocale> supported{QLocale(u"es_ES"_qs), QLocale(u"es_MX"_qs),
                                   QLocale(u"pt_PT"_qs), QLocale(u"he_IL"_qs),
                                   QLocale(u"zh_CN"_qs), QLocale(u"zh_TW"_qs)};
    const QLocale mexico(u"es_MX"_qs);
    const QLocale us(u"en_US"_qs);
    EXPECT_EQ(speechLocale(u"Spanish"_qs, supported, mexico)->name(), u"es_MX");
    EXPECT_EQ(speechLocale(u"Spanish"_qs, supported, us)->name(), u"es_ES");
    EXPECT_EQ(speechLocale(u"Portuguese"_qs, supported, us)->name(), u"pt_PT")
        << "Brazil is the common region, but Portugal is what there is";
    EXPECT_EQ(speechLocale(u"Hebrew"_qs, supported, us)->name(), u"he_IL")
        << "the translator's old code for Hebrew";
    EXPECT_EQ(speechLocale(u"Cantonese"_qs, supported, us)->name(), u"zh_TW")
        << "a code that names its region";
    EXPECT_FALSE(speechLocale(u"Klingon"_qs, supported, us)) << "no code in the table";
    EXPECT_FALSE(speechLocale(u"Japanese"_qs, supported, us)) << "not supported at all";
}

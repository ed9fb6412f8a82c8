// SPDX-License-Identifier: Apache-2.0
#include "WavFile.h"

#include "AudioBuffer.h"

#include <QtEndian>

#include <cmath>
#include <optional>

namespace quillo::wav {

namespace {

void putLE16(QByteArray& out, quint16 value) {
    char bytes[2];
    qToLittleEndian(value, bytes);
    out.append(bytes, 2);
}

void putLE32(QByteArray& out, quint32 value) {
    char bytes[4];
    qToLittleEndian(value, bytes);
    out.append(bytes, 4);
}

constexpr quint32 minSampleRate = 4'000;
constexpr quint32 maxSampleRate = 384'000;
// What streaming recorders write as a data chunk's size before they know it.
constexpr quint32 unknownLengthMark = 0x7FFFFFFF;

struct Format {
    quint16 encoding = 0;
    quint16 channels = 0;
    quint32 rate = 0;
    quint16 bits = 0;
};

qint16 sampleAt(const char* data, qsizetype index) {
    return qFromLittleEndian<qint16>(data + 2 * index);
}

// Linear interpolation is plenty for speech, which carries little above 4 kHz.
QByteArray resampled(const QByteArray& mono, quint32 rate) {
    if (rate == quint32(dictationSampleRate))
        return mono;
    const qsizetype inFrames = mono.size() / 2;
    const auto outFrames = qsizetype(double(inFrames) * dictationSampleRate / rate);
    QByteArray out;
    out.reserve(outFrames * 2);
    for (qsizetype i = 0; i < outFrames; ++i) {
        const double position = double(i) * rate / dictationSampleRate;
        const auto left = qsizetype(position);
        const qsizetype right = std::min(left + 1, inFrames - 1);
        const double fraction = position - double(left);
        const double value = sampleAt(mono.constData(), left) * (1 - fraction) +
                             sampleAt(mono.constData(), right) * fraction;
        putLE16(out, quint16(qint16(std::lround(value))));
    }
    return out;
}

} // namespace

QByteArray encode(const QByteArray& samples) {
    QByteArray out;
    out.reserve(44 + samples.size());
    out.append("RIFF");
    putLE32(out, quint32(36 + samples.size()));
    out.append("WAVEfmt ");
    putLE32(out, 16);
    putLE16(out, 1); // PCM
    putLE16(out, 1); // mono
    putLE32(out, dictationSampleRate);
    putLE32(out, dictationSampleRate * 2);
    putLE16(out, 2);
    putLE16(out, 16);
    out.append("data");
    putLE32(out, quint32(samples.size()));
    out.append(samples);
    return out;
}

Result<Layout, QString> layout(QByteArrayView file) {
    const qsizetype size = file.size();
    if (size < 12 || file.first(4) != "RIFF" || file.sliced(8, 4) != "WAVE")
        return QStringLiteral("not a WAV file");
    std::optional<Format> format;
    qsizetype at = 12;
    while (at + 8 <= size) {
        const QByteArrayView id = file.sliced(at, 4);
        const quint32 declared = qFromLittleEndian<quint32>(file.data() + at + 4);
        const qsizetype body = at + 8;
        const qsizetype available = size - body;
        if (id == "fmt ") {
            if (declared < 16 || available < 16)
                return QStringLiteral("a WAV format chunk that is cut short");
            const char* f = file.data() + body;
            format = Format{qFromLittleEndian<quint16>(f), qFromLittleEndian<quint16>(f + 2),
                            qFromLittleEndian<quint32>(f + 4), qFromLittleEndian<quint16>(f + 14)};
        } else if (id == "data") {
            if (!format)
                return QStringLiteral("WAV samples before their format");
            if (format->encoding != 1 || format->bits != 16)
                return QStringLiteral("not 16-bit PCM (record or convert with 16-bit samples)");
            if (format->channels == 0 || format->rate < minSampleRate ||
                format->rate > maxSampleRate)
                return QStringLiteral("an unusable channel count or sample rate");
            const bool unknownLength = declared >= unknownLengthMark;
            if (!unknownLength && qsizetype(declared) > available)
                return QStringLiteral("a WAV file cut short");
            const qsizetype frameBytes = 2 * qsizetype(format->channels);
            const qsizetype present = unknownLength ? available : qsizetype(declared);
            const qsizetype bytes = present / frameBytes * frameBytes;
            if (bytes == 0)
                return QStringLiteral("a WAV file without samples");
            return Layout{format->channels, int(format->rate), body, bytes};
        }
        // A chunk other than the data must fit; chunks are padded to an even length.
        if (qsizetype(declared) > available)
            return QStringLiteral("a WAV file cut short");
        at = body + qsizetype(declared) + (declared & 1);
    }
    return QStringLiteral("a WAV file without samples");
}

Result<QByteArray, QString> decode(const QByteArray& file) {
    const auto found = layout(file);
    if (!found)
        return found.error();
    const qsizetype frameBytes = 2 * qsizetype(found->channels);
    const qsizetype frames = found->dataBytes / frameBytes;
    QByteArray mono;
    mono.reserve(frames * 2);
    for (qsizetype i = 0; i < frames; ++i)
        mono.append(file.constData() + found->dataOffset + i * frameBytes, 2);
    QByteArray samples = resampled(mono, quint32(found->sampleRate));
    // A few frames at a high rate can be shorter than one sample at dictation's rate.
    if (samples.isEmpty())
        return QStringLiteral("a WAV file without samples");
    return samples;
}

} // namespace quillo::wav

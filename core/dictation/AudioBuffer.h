// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QtGlobal>

namespace quillo {

// Dictation listens in one format throughout: mono, 16 kHz, signed 16-bit little-endian
// samples, which is what speech recognisers take and what a WAV upload carries.
constexpr int dictationSampleRate = 16'000;
// The microphone hands over this many frames at a time.
constexpr int dictationBufferFrames = 1024;

struct AudioBuffer {
    QByteArray samples; // int16, little-endian, one channel

    qsizetype frames() const { return samples.size() / 2; }
    // Sample `i` scaled to -1..1.
    float sample(qsizetype i) const {
        const auto low = quint8(samples[2 * i]);
        const auto high = quint8(samples[2 * i + 1]);
        return float(qint16(quint16(low | (high << 8)))) / 32768.0f;
    }
};

// How loud a buffer is, for the level meter: 0 for silence (−50 dB and below) up to 1 (−10 dB
// and above), from the root mean square of its samples.
float audioLevel(const AudioBuffer& buffer);

} // namespace quillo

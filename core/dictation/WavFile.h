// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace quillo {

// WAV files in and out of dictation's one format (mono, 16 kHz, 16-bit).
namespace wav {

// A WAV file around dictation samples.
QByteArray encode(const QByteArray& samples);

// Where the samples of a 16-bit PCM WAV file are, and how they are laid out.
struct Layout {
    int channels = 0;
    int sampleRate = 0;
    qsizetype dataOffset = 0;
    qsizetype dataBytes = 0; // present in the file; never zero
};

// The layout of `file` under the one set of rules the app and the service share: RIFF/WAVE with
// a format chunk before the data, 16-bit PCM, at least one channel, 4 to 384 kHz, and samples
// present. A data chunk may claim more than the file holds only with the "unknown length" a
// streaming recorder leaves (0x7FFFFFFF or more); any other shortfall is a file cut short.
// Chunks before the data that are not needed are walked over. The error says what is wrong.
Result<Layout, QString> layout(QByteArrayView file);

// The samples of a 16-bit PCM WAV file, in dictation's format: the first channel, resampled to
// 16 kHz when recorded at another rate. The error says what is wrong with the file.
Result<QByteArray, QString> decode(const QByteArray& file);

} // namespace wav

} // namespace quillo

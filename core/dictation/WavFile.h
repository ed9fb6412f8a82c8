#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QString>

namespace quillo {

// WAV files in and out of dictation's one format (mono, 16 kHz, 16-bit).
namespace wav {

// A WAV file around dictation samples.
QByteArray encode(const QByteArray& samples);

// The samples of a 16-bit PCM WAV file, in dictation's format: the first channel, resampled to
// 16 kHz when recorded at another rate. The error says what is wrong with the file.
Result<QByteArray, QString> decode(const QByteArray& file);

} // namespace wav

} // namespace quillo

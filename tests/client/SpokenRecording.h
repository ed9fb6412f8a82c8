// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QTemporaryDir>

#include <optional>

namespace quillo::dictationtest {

// Speech made by a speech synthesiser and converted and measured by a sound tool, both real
// programs: a sentence as the synthesiser writes it (22,050 Hz), the same converted to
// dictation's format, and what the tool says of the converted file.
struct SpokenRecording {
    QTemporaryDir dir;
    QString synthesised; // as written by the synthesiser
    QString converted;   // mono, 16 kHz, 16-bit
    qint64 samples = 0;  // of the converted file, by the tool's count
    double rms = 0;      // of the converted file, full scale 1
    QString problem;     // why it could not be made

    SpokenRecording(const QString& voice, const QString& sentence);
};

} // namespace quillo::dictationtest

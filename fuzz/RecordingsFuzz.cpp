// SPDX-License-Identifier: Apache-2.0
// Any file handed to dictation as a recording: reading it never crashes; what it gives is whole
// 16-bit samples that the meter can read and that come back unchanged through a WAV of our own.
#include "dictation/AudioBuffer.h"
#include "dictation/WavFile.h"

#include <cstdint>
#include <cstdlib>

using namespace quillo;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray file(reinterpret_cast<const char*>(data), qsizetype(size));
    const auto samples = wav::decode(file);
    if (!samples)
        return 0;
    if (samples.value().size() % 2 != 0)
        std::abort();
    const float level = audioLevel(AudioBuffer{samples.value()});
    if (!(level >= 0 && level <= 1))
        std::abort();
    const auto again = wav::decode(wav::encode(samples.value()));
    if (!again || again.value() != samples.value())
        std::abort();
    return 0;
}

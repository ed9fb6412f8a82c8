// SPDX-License-Identifier: Apache-2.0
#include "AudioBuffer.h"

#include <algorithm>
#include <cmath>

namespace quillo {

float audioLevel(const AudioBuffer& buffer) {
    const qsizetype frames = buffer.frames();
    if (frames == 0)
        return 0;
    double sum = 0;
    for (qsizetype i = 0; i < frames; ++i) {
        const double sample = buffer.sample(i);
        sum += sample * sample;
    }
    const double rms = std::sqrt(sum / double(frames));
    const double decibels = 20 * std::log10(std::max(rms, 0.00001));
    return float(std::clamp((decibels + 50) / 40, 0.0, 1.0));
}

} // namespace quillo

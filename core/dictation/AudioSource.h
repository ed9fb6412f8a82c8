// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioBuffer.h"

#include <QString>

#include <functional>
#include <optional>

namespace quillo {

// Where dictation's audio comes from: the microphone, or a recording played through the same
// pipeline. Buffers go to the tap, which may be called on an audio thread.
class AudioSource {
public:
    using Tap = std::function<void(const AudioBuffer&)>;

    virtual ~AudioSource() = default;

    // Whether there is anything to listen to; on this platform a microphone being there stands
    // for the permission to use it.
    virtual bool available() const = 0;
    // Starts handing buffers to `tap` (replacing any earlier tap); the error when it couldn't.
    virtual std::optional<QString> start(Tap tap) = 0;
    virtual void stop() = 0;
    virtual bool isRunning() const = 0;
};

} // namespace quillo

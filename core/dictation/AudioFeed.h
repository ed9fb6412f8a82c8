// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioBuffer.h"

#include <QMutex>

#include <memory>

namespace quillo {

class Recognition;

// Hands the audio thread's buffers to the recognition of the current round. The round changes
// on the main thread while buffers keep arriving, so both sides go through the lock.
class AudioFeed {
public:
    void setCurrent(std::shared_ptr<Recognition> recognition);
    void append(const AudioBuffer& buffer);
    void endAudio();

private:
    QMutex m_lock;
    std::shared_ptr<Recognition> m_current;
};

} // namespace quillo

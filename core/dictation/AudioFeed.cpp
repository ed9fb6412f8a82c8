// SPDX-License-Identifier: Apache-2.0
#include "AudioFeed.h"

#include "Recognizer.h"

namespace quillo {

void AudioFeed::setCurrent(std::shared_ptr<Recognition> recognition) {
    QMutexLocker locker(&m_lock);
    m_current = std::move(recognition);
}

void AudioFeed::append(const AudioBuffer& buffer) {
    QMutexLocker locker(&m_lock);
    if (m_current)
        m_current->append(buffer);
}

void AudioFeed::endAudio() {
    QMutexLocker locker(&m_lock);
    if (m_current)
        m_current->endAudio();
}

} // namespace quillo

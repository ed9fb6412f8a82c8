// SPDX-License-Identifier: Apache-2.0
#include "WavFileSource.h"

#include "common/Clock.h"

#include <QTimer>

namespace quillo {

WavFileSource::WavFileSource(QByteArray samples, const Clock* pace, QObject* parent)
    : QObject(parent)
    , m_samples(std::move(samples))
    , m_pace(pace) {}

WavFileSource::~WavFileSource() {
    m_lifetime.end();
}

std::optional<QString> WavFileSource::start(Tap tap) {
    m_tap = std::move(tap);
    if (m_running)
        return std::nullopt;
    m_running = true;
    ++m_playing;
    playSoon();
    return std::nullopt;
}

void WavFileSource::stop() {
    m_running = false;
}

void WavFileSource::playNext() {
    if (!m_running)
        return;
    if (m_at >= m_samples.size()) {
        m_running = false;
        Q_EMIT ended();
        return;
    }
    const qsizetype bytes = std::min<qsizetype>(dictationBufferFrames * 2, m_samples.size() - m_at);
    const AudioBuffer buffer{m_samples.mid(m_at, bytes)};
    m_at += bytes;
    if (m_tap)
        m_tap(buffer);
    playSoon();
}

void WavFileSource::playSoon() {
    if (m_pace) {
        playAfterOneBuffer(m_playing);
        return;
    }
    // A stop and a start within one turn leave one player, not two.
    QTimer::singleShot(0, this, [this, playing = m_playing] {
        if (playing == m_playing)
            playNext();
    });
}

QCoro::Task<> WavFileSource::playAfterOneBuffer(int playing) {
    const Lifetime::Watch alive = m_lifetime.watch();
    auto waiting = m_pace->sleep(qint64(dictationBufferFrames) * 1000 / dictationSampleRate);
    co_await waiting;
    if (!alive.ended() && playing == m_playing)
        playNext();
}

} // namespace quillo

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioSource.h"
#include "common/Lifetime.h"

#include <QObject>

#include <QCoro/QCoroTask>

#include <memory>

namespace quillo {

class Clock;

// A recording played into dictation as if spoken into the microphone: the same buffers of 1024
// frames, then `ended`. Without a clock they come one per turn of the event loop, as fast as it
// goes; with one, at the pace of speech by that clock. For checking a recogniser set-up, and
// for tests.
class WavFileSource final : public QObject, public AudioSource {
    Q_OBJECT

public:
    // `samples` in dictation's format (see wav::decode).
    explicit WavFileSource(QByteArray samples, const Clock* pace = nullptr,
                           QObject* parent = nullptr);

    ~WavFileSource() override;

    bool available() const override { return true; }
    std::optional<QString> start(Tap tap) override;
    void stop() override;
    bool isRunning() const override { return m_running; }

    qsizetype framesPlayed() const { return m_at / 2; }

Q_SIGNALS:
    void ended();

private:
    void playNext();
    void playSoon();

    QCoro::Task<> playAfterOneBuffer(int playing);

    QByteArray m_samples;
    const Clock* m_pace;
    Lifetime m_lifetime;
    qsizetype m_at = 0;
    bool m_running = false;
    int m_playing = 0;
    Tap m_tap;
};

} // namespace quillo

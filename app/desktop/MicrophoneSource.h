// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "dictation/AudioSource.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <memory>

class QAudioSource;
class QIODevice;

namespace quillo {

// The default microphone, recording mono 16-bit audio at 16 kHz and handing it over in buffers
// of 1024 frames on the main thread.
class MicrophoneSource final : public QObject, public AudioSource {
    Q_OBJECT

public:
    explicit MicrophoneSource(QObject* parent = nullptr);
    ~MicrophoneSource() override;

    bool available() const override;
    std::optional<QString> start(Tap tap) override;
    void stop() override;
    bool isRunning() const override;

private:
    void readAvailable();

    std::unique_ptr<QAudioSource> m_audio;
    QIODevice* m_device = nullptr;
    QTimer m_poll;
    QByteArray m_pending;
    Tap m_tap;
};

} // namespace quillo

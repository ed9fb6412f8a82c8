// SPDX-License-Identifier: Apache-2.0
#include "MicrophoneSource.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSource>
#include <QMediaDevices>

namespace quillo {

namespace {

QString describe(QAudio::Error error) {
    switch (error) {
    case QAudio::NoError:
        return QStringLiteral("no error");
    case QAudio::OpenError:
        return QStringLiteral("the device could not be opened");
    case QAudio::IOError:
        return QStringLiteral("reading from the device failed");
    case QAudio::UnderrunError:
        return QStringLiteral("the device ran dry");
    case QAudio::FatalError:
        return QStringLiteral("the audio system failed");
    }
    return QStringLiteral("unknown error");
}

} // namespace

MicrophoneSource::MicrophoneSource(QObject* parent)
    : QObject(parent) {
    m_poll.setInterval(20);
    connect(&m_poll, &QTimer::timeout, this, &MicrophoneSource::readAvailable);
}

MicrophoneSource::~MicrophoneSource() {
    stop();
}

bool MicrophoneSource::available() const {
    return !QMediaDevices::defaultAudioInput().isNull();
}

std::optional<QString> MicrophoneSource::start(Tap tap) {
    m_tap = std::move(tap);
    if (isRunning())
        return std::nullopt;
    const QAudioDevice device = QMediaDevices::defaultAudioInput();
    if (device.isNull())
        return QStringLiteral("no microphone");
    QAudioFormat format;
    format.setSampleRate(dictationSampleRate);
    format.setChannelCount(1);
    format.setSampleFormat(QAudioFormat::Int16);
    if (!device.isFormatSupported(format))
        return device.description() + QStringLiteral(" can't record mono 16 kHz audio");
    m_audio = std::make_unique<QAudioSource>(device, format);
    m_audio->setBufferSize(dictationBufferFrames * 2 * 4);
    m_pending.clear();
    m_device = m_audio->start();
    if (!m_device || m_audio->error() != QAudio::NoError) {
        const QString why = describe(m_audio->error());
        stop();
        return why;
    }
    connect(m_device, &QIODevice::readyRead, this, &MicrophoneSource::readAvailable);
    // The sound server's stream can sit on a second or more of audio before it says so; asking
    // often keeps the meter and the running words in step with the speaker.
    m_poll.start();
    return std::nullopt;
}

void MicrophoneSource::readAvailable() {
    if (!m_device)
        return;
    m_pending.append(m_device->readAll());
    constexpr qsizetype bufferBytes = dictationBufferFrames * 2;
    while (m_pending.size() >= bufferBytes) {
        const AudioBuffer buffer{m_pending.first(bufferBytes)};
        m_pending.remove(0, bufferBytes);
        if (m_tap)
            m_tap(buffer);
    }
}

void MicrophoneSource::stop() {
    m_poll.stop();
    if (m_audio)
        m_audio->stop();
    m_device = nullptr;
    m_audio.reset();
    m_pending.clear();
}

bool MicrophoneSource::isRunning() const {
    return m_audio && m_audio->state() != QAudio::StoppedState;
}

} // namespace quillo

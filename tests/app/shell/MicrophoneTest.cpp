// SPDX-License-Identifier: Apache-2.0
#include "../EventsUntil.h"
#include "desktop/MicrophoneSource.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

using namespace quillo;
using quillo::apptest::eventsUntil;

namespace {

// A sound server of this process's own whose only microphone plays a 440 Hz tone, so the real
// recording path (Qt Multimedia over the sound server) is what the test exercises.
class ToneServer {
public:
    ToneServer() {
        const QString socket = m_dir.filePath(QStringLiteral("native"));
        QFile script(m_dir.filePath(QStringLiteral("default.pa")));
        if (!script.open(QIODevice::WriteOnly))
            return;
        script.write(QStringLiteral("load-module module-native-protocol-unix socket=%1 "
                                    "auth-anonymous=1\n"
                                    "load-module module-sine-source rate=16000 frequency=440 "
                                    "source_name=tone\n"
                                    "set-default-source tone\n")
                         .arg(socket)
                         .toUtf8());
        script.close();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), m_dir.path());
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_dir.path());
        m_server.setProcessEnvironment(environment);
        m_server.start(QStringLiteral("pulseaudio"),
                       {QStringLiteral("-n"), QStringLiteral("-F"), script.fileName(),
                        QStringLiteral("--daemonize=no"), QStringLiteral("--exit-idle-time=-1")});
        for (int tries = 0;
             tries < 500 && !QFile::exists(socket) && m_server.state() != QProcess::NotRunning;
             ++tries)
            m_server.waitForFinished(20);
        if (QFile::exists(socket))
            m_address = QStringLiteral("unix:") + socket;
    }
    ~ToneServer() {
        m_server.terminate();
        m_server.waitForFinished(5000);
    }
    const QString& address() const { return m_address; }

private:
    QTemporaryDir m_dir;
    QProcess m_server;
    QString m_address;
};

} // namespace

TEST(Microphone, RecordsMono16kHzIn1024FrameBuffersUntilStopped) {
    MicrophoneSource microphone;
    ASSERT_TRUE(microphone.available());
    QList<AudioBuffer> heard;
    ASSERT_EQ(microphone.start([&heard](const AudioBuffer& buffer) { heard.append(buffer); }),
              std::nullopt);
    EXPECT_TRUE(microphone.isRunning());
    // A fifth of a second of the tone: the device runs in real time.
    ASSERT_TRUE(eventsUntil([&] { return heard.size() >= 4; }));
    for (const AudioBuffer& buffer : std::as_const(heard))
        EXPECT_EQ(buffer.frames(), dictationBufferFrames);
    // The tone is 440 Hz only if the samples really are mono, 16-bit and 16 kHz: count how often
    // it crosses zero (twice a cycle) over the buffers heard.
    qsizetype crossings = 0;
    qsizetype frames = 0;
    for (const AudioBuffer& buffer : std::as_const(heard)) {
        for (qsizetype i = 1; i < buffer.frames(); ++i)
            crossings += (buffer.sample(i - 1) < 0) != (buffer.sample(i) < 0);
        frames += buffer.frames();
    }
    const double hertz = double(crossings) / 2 * dictationSampleRate / double(frames);
    EXPECT_NEAR(hertz, 440, 440 * 0.03);
    EXPECT_GT(audioLevel(heard.last()), 0.5f) << "a tone, not silence";

    microphone.stop();
    EXPECT_FALSE(microphone.isRunning());
    const qsizetype stoppedAt = heard.size();
    QCoreApplication::processEvents();
    EXPECT_EQ(heard.size(), stoppedAt);
}

int main(int argc, char** argv) {
    // The recording path reads the sound server's address once, before anything records.
    ToneServer tones;
    if (tones.address().isEmpty()) {
        std::fputs("the sound server did not start\n", stderr);
        return 1;
    }
    qputenv("PULSE_SERVER", tones.address().toUtf8());
    QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

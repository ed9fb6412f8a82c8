// SPDX-License-Identifier: Apache-2.0
#include "ServerProcess.h"
#include "ToolRunner.h"

#include "client/SpokenRecording.h"
#include "server/TranscribeFixture.h"

#include <QFile>

#include <algorithm>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::tooltest;
using quillo::dictationtest::SpokenRecording;

namespace {

// `dictate` as a user checking their set-up runs it: signed in on this computer, the service
// running with a speech model behind it.
class DictateCommand : public ::testing::Test {
protected:
    QTemporaryDir support;
    TranscribeFixture speechModel;
    ServerProcess server;

    void SetUp() override {
        ASSERT_TRUE(support.isValid());
        qputenv("QUILLO_SUPPORT_DIR", support.path().toUtf8());
        qputenv("QUILLO_API_URL", server.url().toUtf8());
        server.setEnvironment(QStringLiteral("QUILLO_TRANSCRIBE_URL"), speechModel.url());
    }
    void TearDown() override {
        qunsetenv("QUILLO_SUPPORT_DIR");
        qunsetenv("QUILLO_API_URL");
    }
    void signIn() {
        const QString code = server.invite(QStringLiteral("ana@example.com"));
        server.start();
        const ToolRun in =
            runQuilloTool({QStringLiteral("sign-in"), QStringLiteral("--code"), code});
        ASSERT_EQ(in.exitCode, 0) << in.err.toStdString();
    }
};

} // namespace

TEST_F(DictateCommand, ASpokenRecordingComesOutAsItsTranscript) {
    const SpokenRecording speech(QStringLiteral("es"), QStringLiteral("Buenos días, Lucía."));
    ASSERT_TRUE(speech.problem.isEmpty()) << speech.problem.toStdString();
    ASSERT_NO_FATAL_FAILURE(signIn());
    speechModel.answer([](const QByteArray&, const QString& language) {
        return language == u"es" ? QStringLiteral("Buenos días, Lucía.") : QStringLiteral("?");
    });

    // The synthesiser's own file, at its own rate, as a user would have one.
    const ToolRun run = runQuilloTool({QStringLiteral("dictate"), QStringLiteral("--language"),
                                       QStringLiteral("Spanish"), speech.synthesised});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, "Buenos días, Lucía.\n");
    ASSERT_FALSE(speechModel.requests().isEmpty());
    // Sixteen kHz reached the service however the file was recorded. The final request carries
    // the whole recording; a partial one may still be recorded after it, so take the longest.
    qsizetype longest = 0;
    for (const auto& request : speechModel.requests())
        longest = std::max(longest, request.audio.size());
    EXPECT_NEAR(double(longest - 44) / 2, double(speech.samples), speech.samples * 0.002);
}

TEST_F(DictateCommand, ProblemsAreSaidInOneLine) {
    const ToolRun signedOut =
        runQuilloTool({QStringLiteral("dictate"), QStringLiteral("--language"),
                       QStringLiteral("Spanish"), QStringLiteral("x.wav")});
    EXPECT_EQ(signedOut.exitCode, 2);

    ASSERT_NO_FATAL_FAILURE(signIn());
    const QString tone = support.filePath(QStringLiteral("tone.wav"));
    QFile file(tone);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(TranscribeFixture::wav(500));
    file.close();
    const ToolRun klingon = runQuilloTool(
        {QStringLiteral("dictate"), QStringLiteral("--language"), QStringLiteral("Klingon"), tone});
    EXPECT_EQ(klingon.exitCode, 1);
    EXPECT_EQ(klingon.err, "This computer can't listen in Klingon right now.\n");

    const QString notWav = support.filePath(QStringLiteral("notes.txt"));
    QFile text(notWav);
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("hola");
    text.close();
    const ToolRun garbage = runQuilloTool({QStringLiteral("dictate"), QStringLiteral("--language"),
                                           QStringLiteral("Spanish"), notWav});
    EXPECT_EQ(garbage.exitCode, 2);
    EXPECT_TRUE(garbage.err.contains("not a WAV file")) << garbage.err.toStdString();

    // The speech model fails: nothing is made up.
    speechModel.setDefault(TranscribeFixture::status(500));
    const ToolRun failed = runQuilloTool(
        {QStringLiteral("dictate"), QStringLiteral("--language"), QStringLiteral("Spanish"), tone});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_EQ(failed.out, "");
}

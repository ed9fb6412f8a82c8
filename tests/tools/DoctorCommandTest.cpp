// SPDX-License-Identifier: Apache-2.0
#include "ToolRunner.h"

#include "ServerProcess.h"
#include "client/TranslateFixture.h"
#include "store/SessionStore.h"
#include "support/LoopbackServer.h"

using namespace quillo;
using namespace quillo::server::apitest;
using namespace quillo::tooltest;

namespace {

// `doctor` as a user runs it, against a real service process: one line per part.
class DoctorCommand : public ::testing::Test {
protected:
    QTemporaryDir support;
    translatetest::TranslateFixture translate;

    void SetUp() override {
        ASSERT_TRUE(support.isValid());
        qputenv("QUILLO_SUPPORT_DIR", support.path().toUtf8());
        qputenv("QUILLO_TRANSLATE_URL", translate.url().toUtf8());
        translate.setLookupAnswer(translatetest::TranslateFixture::lookup(QStringLiteral("hola")));
        translate.setBatchAnswer(
            translatetest::TranslateFixture::batch({QStringLiteral("buenos días")}));
    }

    void TearDown() override {
        qunsetenv("QUILLO_SUPPORT_DIR");
        qunsetenv("QUILLO_API_URL");
        qputenv("QUILLO_TRANSLATE_URL", "http://127.0.0.1:9");
    }

    // Signs `email` in on the service and keeps the session where the tool finds it.
    void signIn(ServerProcess& server, const QString& email) {
        httplib::Client client("127.0.0.1", server.port());
        const QString code = server.invite(email);
        const Answer answer = answerOf(client.Post(
            "/v1/session", compact({{QStringLiteral("reviewCode"), code}}).toStdString(),
            "application/json"));
        ASSERT_EQ(answer.status, 200) << answer.body.toStdString();
        Account account;
        account.email = email;
        SessionStore(support.filePath(QStringLiteral("session.json")))
            .signedIn({answer.json.value(u"sessionToken").toString(), account});
    }

    static ToolRun doctor(const ServerProcess& server) {
        qputenv("QUILLO_API_URL", server.url().toUtf8());
        return runQuilloTool({QStringLiteral("doctor")});
    }

    // The line about `part`, without its name.
    static QString lineOf(const ToolRun& run, const QString& part) {
        for (const QString& line : QString::fromUtf8(run.out).split(u'\n')) {
            if (line.startsWith(part + u' '))
                return line.mid(11);
        }
        return {};
    }
};

TEST_F(DoctorCommand, AWorkingSetupPassesEveryCheckWithATestReply) {
    ServerProcess server;
    server.model.setDefault(server::ModelFixture::reply(QStringLiteral("ok")));
    server.start();
    ASSERT_NO_FATAL_FAILURE(signIn(server, QStringLiteral("ana@example.com")));

    const ToolRun run = doctor(server);
    EXPECT_EQ(run.exitCode, 0) << run.out.toStdString() << run.err.toStdString();
    EXPECT_TRUE(
        lineOf(run, QStringLiteral("service")).startsWith(QStringLiteral("ok: ") + server.url()))
        << run.out.toStdString();
    EXPECT_EQ(lineOf(run, QStringLiteral("session")), u"ok: signed in as ana@example.com");
    const QString model = lineOf(run, QStringLiteral("model"));
    EXPECT_TRUE(model.startsWith(u"ok: ") && model.contains(server.model.url()) &&
                model.endsWith(u"gave a test reply"))
        << model.toStdString();
    EXPECT_TRUE(
        lineOf(run, QStringLiteral("dictation")).startsWith(u"off: set QUILLO_TRANSCRIBE_URL"));
    EXPECT_EQ(lineOf(run, QStringLiteral("translate")),
              u"ok: the public translate endpoints answer");
    // The order a reader goes down when something fails.
    const QStringList parts = {QStringLiteral("service"), QStringLiteral("session"),
                               QStringLiteral("model"), QStringLiteral("dictation"),
                               QStringLiteral("translate")};
    const QStringList lines = QString::fromUtf8(run.out).trimmed().split(u'\n');
    ASSERT_EQ(lines.size(), parts.size()) << run.out.toStdString();
    for (qsizetype i = 0; i < parts.size(); ++i)
        EXPECT_TRUE(lines[i].startsWith(parts[i] + u' ')) << lines[i].toStdString();
}

TEST_F(DoctorCommand, SaysWhatToDoWhenNoModelAnswersOrNobodyIsSignedIn) {
    ServerProcess server;
    server.setEnvironment(QStringLiteral("QUILLO_MODEL_URL"),
                          QStringLiteral("http://127.0.0.1:9/v1"));
    server.start();
    qputenv("QUILLO_TRANSLATE_URL", "http://127.0.0.1:9");

    const ToolRun run = doctor(server);
    EXPECT_EQ(run.exitCode, 1) << run.out.toStdString();
    EXPECT_TRUE(lineOf(run, QStringLiteral("service")).startsWith(u"ok: "));
    EXPECT_TRUE(lineOf(run, QStringLiteral("session")).startsWith(u"not signed in."));
    const QString model = lineOf(run, QStringLiteral("model"));
    EXPECT_TRUE(model.startsWith(u"not answering: ") && model.contains(u"http://127.0.0.1:9/v1"))
        << model.toStdString();
    EXPECT_TRUE(lineOf(run, QStringLiteral("translate")).startsWith(u"not reached: "));
}

TEST_F(DoctorCommand, StopsAtAServiceThatIsNotThereOrIsNotQuillos) {
    qputenv("QUILLO_API_URL", "http://127.0.0.1:9");
    const ToolRun run = runQuilloTool({QStringLiteral("doctor")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(QString::fromUtf8(run.out),
              u"service    nothing answers at http://127.0.0.1:9. Start it (scripts/run) or set "
              u"QUILLO_API_URL.\n");

    // Something else listens there: a web page is no service.
    testsupport::LoopbackServer page;
    page.server().Get("/readyz", [](const httplib::Request&, httplib::Response& response) {
        response.set_content("<html>hello</html>", "text/html");
    });
    page.start();
    qputenv("QUILLO_API_URL", page.url().toUtf8());
    const ToolRun other = runQuilloTool({QStringLiteral("doctor")});
    EXPECT_EQ(other.exitCode, 1);
    EXPECT_EQ(QString::fromUtf8(other.out),
              QStringLiteral("service    something answers at %1, but not Quillo's service "
                             "(status 200). Check QUILLO_API_URL.\n")
                  .arg(page.url()));
}

} // namespace

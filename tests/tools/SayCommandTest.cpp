// SPDX-License-Identifier: Apache-2.0
#include "ToolRunner.h"

#include "ServerProcess.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"

#include <QProcess>
#include <QProcessEnvironment>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;
using namespace quillo::tooltest;

namespace {

// `say` as a user runs it: the support directory and the service are named by the environment.
class SayCommand : public ::testing::Test {
protected:
    QTemporaryDir support;
    QTemporaryDir serverDir;
    SystemClock clock;

    void SetUp() override {
        ASSERT_TRUE(support.isValid() && serverDir.isValid());
        qputenv("QUILLO_SUPPORT_DIR", support.path().toUtf8());
        BotProfile lucia;
        lucia.id = QStringLiteral("0b6c6a3e-5d0c-4d7e-9a51-3c1f2f4a8e10");
        lucia.displayName = QStringLiteral("Lucía");
        lucia.targetLanguage = QStringLiteral("Spanish");
        StoredState seed;
        seed.bots = {lucia};
        StateStore store(statePath(), clock);
        store.save(seed);
        store.flush();
    }

    void TearDown() override {
        qunsetenv("QUILLO_SUPPORT_DIR");
        qunsetenv("QUILLO_API_URL");
    }

    QString statePath() const { return support.filePath(QStringLiteral("state.json")); }
    QString sessionPath() const { return support.filePath(QStringLiteral("session.json")); }
};

TEST_F(SayCommand, RefusesWithoutASessionOrASingleContact) {
    const ToolRun signedOut = runQuilloTool({QStringLiteral("say"), QStringLiteral("--bot"),
                                             QStringLiteral("Lucía"), QStringLiteral("hola")});
    EXPECT_EQ(signedOut.exitCode, 2);
    EXPECT_TRUE(signedOut.err.contains("not signed in")) << signedOut.err.toStdString();

    Account account;
    account.email = QStringLiteral("ana@example.com");
    SessionStore(sessionPath()).signedIn({QStringLiteral("token"), account});
    const ToolRun unknown = runQuilloTool({QStringLiteral("say"), QStringLiteral("--bot"),
                                           QStringLiteral("Marco"), QStringLiteral("ciao")});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_TRUE(unknown.err.contains("Lucía (0b6c6a3e")) << unknown.err.toStdString();
    EXPECT_EQ(StateStore(statePath(), clock).load().messages.size(), 0);
}

TEST_F(SayCommand, SendsTheMessageAndPrintsTheReply) {
    ServerProcess server;
    server.model.setDefault(
        ModelFixture::reply(QStringLiteral(R"({"message":"¡Hola! ¿Qué tal?"})")));
    const QString code = server.invite(QStringLiteral("ana@example.com"));
    server.start();
    const int port = server.port();

    httplib::Client client("127.0.0.1", port);
    const Answer signedIn = answerOf(
        client.Post("/v1/session", compact({{QStringLiteral("reviewCode"), code}}).toStdString(),
                    "application/json"));
    ASSERT_EQ(signedIn.status, 200) << signedIn.body.toStdString();
    Account account;
    account.email = QStringLiteral("ana@example.com");
    SessionStore(sessionPath())
        .signedIn({signedIn.json.value(u"sessionToken").toString(), account});

    qputenv("QUILLO_API_URL", QStringLiteral("http://127.0.0.1:%1").arg(port).toUtf8());
    const ToolRun said = runQuilloTool({QStringLiteral("say"), QStringLiteral("--bot"),
                                        QStringLiteral("lucía"), QStringLiteral("hola")});

    EXPECT_EQ(said.exitCode, 0) << said.err.toStdString();
    EXPECT_EQ(QString::fromUtf8(said.out), u"¡Hola! ¿Qué tal?\n");
    const StoredState state = StateStore(statePath(), clock).load();
    ASSERT_EQ(state.messages.size(), 2);
    EXPECT_EQ(state.messages.at(0).text, u"hola");
    EXPECT_EQ(state.messages.at(0).role, MessageRole::User);
    EXPECT_EQ(state.messages.at(1).text, u"¡Hola! ¿Qué tal?");
    EXPECT_EQ(state.messages.at(1).source, MessageSource::Provider);
    const SessionStore session(sessionPath());
    ASSERT_TRUE(session.account());
    EXPECT_EQ(session.account()->repliesToday, 1);
}

} // namespace

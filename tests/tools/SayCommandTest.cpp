#include "ToolRunner.h"

#include "../server/ServerTestSupport.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"

#include <QProcess>
#include <QProcessEnvironment>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

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
    ModelFixture model;
    model.setDefault(ModelFixture::reply(QStringLiteral(R"({"message":"¡Hola! ¿Qué tal?"})")));
    const int port = freeLoopbackPort();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_STATE_HOME"), serverDir.path());
    environment.insert(QStringLiteral("QUILLO_DATABASE_URL"),
                       QStringLiteral("sqlite:") + serverDir.filePath(QStringLiteral("q.db")));
    environment.insert(QStringLiteral("QUILLO_MODEL_URL"), model.url());
    environment.insert(QStringLiteral("QUILLO_SERVER_LISTEN"),
                       QStringLiteral("127.0.0.1:%1").arg(port));

    QProcess invite;
    invite.setProcessEnvironment(environment);
    invite.start(QStringLiteral(QUILLO_SERVER_PATH),
                 {QStringLiteral("invite"), QStringLiteral("ana@example.com")});
    ASSERT_TRUE(invite.waitForFinished(30000));
    ASSERT_EQ(invite.exitCode(), 0) << invite.readAllStandardError().toStdString();
    const QString code = QString::fromLatin1(invite.readAllStandardOutput()).trimmed();

    QProcess server;
    server.setProcessEnvironment(environment);
    server.setReadChannel(QProcess::StandardError);
    server.start(QStringLiteral(QUILLO_SERVER_PATH), {QStringLiteral("serve")});
    QByteArray log;
    while (!log.contains("listening on http://127.0.0.1:")) {
        ASSERT_TRUE(server.waitForReadyRead(20000)) << log.toStdString();
        log += server.readAllStandardError();
    }

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
    server.terminate();
    server.waitForFinished(30000);

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

// SPDX-License-Identifier: Apache-2.0
#include "ServerTestSupport.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

// quillo-server as an operator runs it, configured by the environment only.
class ServerProcess : public ::testing::Test {
protected:
    QTemporaryDir dir;
    ModelFixture model;
    int port = freeLoopbackPort();

    QProcessEnvironment environment() const {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_STATE_HOME"), dir.path());
        environment.insert(QStringLiteral("QUILLO_DATABASE_URL"),
                           QStringLiteral("sqlite:") + dir.filePath(QStringLiteral("q.db")));
        environment.insert(QStringLiteral("QUILLO_MODEL_URL"), model.url());
        environment.insert(QStringLiteral("QUILLO_SERVER_LISTEN"),
                           QStringLiteral("127.0.0.1:%1").arg(port));
        return environment;
    }

    struct Run {
        int exitCode = -1;
        QByteArray out;
        QByteArray err;
    };
    Run run(const QStringList& arguments, const QProcessEnvironment& env) const {
        QProcess process;
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(QUILLO_SERVER_PATH), arguments);
        EXPECT_TRUE(process.waitForFinished(30000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << "crashed";
        return {process.exitCode(), process.readAllStandardOutput(),
                process.readAllStandardError()};
    }

    // Reads the process's stderr until `text` shows up; whether it did.
    static bool waitForLog(QProcess& process, const QByteArray& text, QByteArray& log) {
        while (!log.contains(text)) {
            if (!process.waitForReadyRead(20000))
                return false;
            log += process.readAllStandardError();
        }
        return true;
    }
};

TEST_F(ServerProcess, InvitePrintsACodeAndRefusesBadInput) {
    const Run invited = run({QStringLiteral("invite"), QStringLiteral("Ana@Example.com"),
                             QStringLiteral("--name"), QStringLiteral("Ana")},
                            environment());
    EXPECT_EQ(invited.exitCode, 0) << invited.err.toStdString();
    EXPECT_TRUE(
        QString::fromLatin1(invited.out)
            .contains(QRegularExpression(QStringLiteral("^[0-9A-Z]{4}(-[0-9A-Z]{4}){3}\n$"))))
        << invited.out.toStdString();

    QProcessEnvironment badConfig = environment();
    badConfig.insert(QStringLiteral("QUILLO_DAILY_LIMIT"), QStringLiteral("lots"));
    const QList<std::pair<QStringList, QProcessEnvironment>> refused = {
        {{QStringLiteral("invite")}, environment()},
        {{QStringLiteral("invite"), QStringLiteral("not-an-address")}, environment()},
        {{QStringLiteral("invite"), QStringLiteral("a@b.c"), QStringLiteral("--name")},
         environment()},
        {{QStringLiteral("invite"), QStringLiteral("a@b.c"), QStringLiteral("--admin")},
         environment()},
        {{QStringLiteral("invite"), QStringLiteral("a@b.c")}, badConfig},
        {{QStringLiteral("serve"), QStringLiteral("now")}, environment()},
        {{QStringLiteral("serve")}, badConfig},
        {{QStringLiteral("frobnicate")}, environment()},
        {{}, environment()},
    };
    for (const auto& [arguments, env] : refused) {
        const Run result = run(arguments, env);
        EXPECT_EQ(result.exitCode, 2) << arguments.join(u' ').toStdString();
        EXPECT_TRUE(result.out.isEmpty());
        EXPECT_EQ(result.err.count('\n'), 1) << result.err.toStdString();
    }

    const Run help = run({QStringLiteral("--help")}, environment());
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.contains("invite EMAIL"));
    EXPECT_TRUE(help.out.contains("QUILLO_MODEL_URL"));
}

TEST_F(ServerProcess, InviteCanMakeTheNewCodeTheOnlyOne) {
    const auto invite = [&](QStringList extra = {}) {
        const Run invited =
            run(QStringList{QStringLiteral("invite"), QStringLiteral("ana@example.com")} + extra,
                environment());
        EXPECT_EQ(invited.exitCode, 0) << invited.err.toStdString();
        return sha256(normalizedAccessCode(QString::fromLatin1(invited.out).trimmed()));
    };
    const QByteArray first = invite();
    const QByteArray second = invite();
    const auto storage =
        openStorage(QStringLiteral("sqlite:") + dir.filePath(QStringLiteral("q.db")));
    EXPECT_TRUE(storage->accountForAccessCode(first, 0)) << "codes add up by default";
    EXPECT_TRUE(storage->accountForAccessCode(second, 0));

    const QByteArray only = invite({QStringLiteral("--revoke-others")});
    EXPECT_FALSE(storage->accountForAccessCode(first, 0));
    EXPECT_FALSE(storage->accountForAccessCode(second, 0));
    EXPECT_TRUE(storage->accountForAccessCode(only, 0));
}

TEST_F(ServerProcess, SaysAtStartWhenNoModelServesReplies) {
    QProcessEnvironment silentModel = environment();
    const QString url = QStringLiteral("http://127.0.0.1:%1/v1").arg(freeLoopbackPort());
    silentModel.insert(QStringLiteral("QUILLO_MODEL_URL"), url);
    QProcess server;
    server.setProcessEnvironment(silentModel);
    server.setReadChannel(QProcess::StandardError);
    server.start(QStringLiteral(QUILLO_SERVER_PATH), {QStringLiteral("serve")});
    QByteArray log;
    EXPECT_TRUE(
        waitForLog(server, "no model serves replies: " + url.toUtf8() + " does not answer", log))
        << log.toStdString();
    server.terminate();
    EXPECT_TRUE(server.waitForFinished(20000));
}

TEST_F(ServerProcess, SigtermLetsTheReplyInFlightFinishThenExitsCleanly) {
    const Run invited =
        run({QStringLiteral("invite"), QStringLiteral("ana@example.com")}, environment());
    ASSERT_EQ(invited.exitCode, 0) << invited.err.toStdString();
    const QString code = QString::fromLatin1(invited.out).trimmed();

    QProcess server;
    server.setProcessEnvironment(environment());
    server.setReadChannel(QProcess::StandardError);
    server.start(QStringLiteral(QUILLO_SERVER_PATH), {QStringLiteral("serve")});
    QByteArray log;
    ASSERT_TRUE(waitForLog(server, "listening on http://127.0.0.1:", log)) << log.toStdString();
    // Without QUILLO_MODEL_NAME, the model is the first the endpoint lists.
    ASSERT_TRUE(waitForLog(
        server, "replies come from " + model.url().toUtf8() + " with the model test-model\n", log))
        << log.toStdString();

    httplib::Client client("127.0.0.1", port);
    client.set_read_timeout(std::chrono::seconds(30));
    const Answer session = answerOf(
        client.Post("/v1/session", compact({{QStringLiteral("reviewCode"), code}}).toStdString(),
                    "application/json"));
    ASSERT_EQ(session.status, 200) << session.body.toStdString();
    const std::string bearer =
        "Bearer " + session.json.value(u"sessionToken").toString().toStdString();

    model.hold();
    Answer reply;
    std::thread inFlight([&] {
        httplib::Client replyClient("127.0.0.1", port);
        replyClient.set_read_timeout(std::chrono::seconds(30));
        reply =
            answerOf(replyClient.Post("/v1/reply", {{"Authorization", bearer}},
                                      compact(replyRequest()).toStdString(), "application/json"));
    });
    ASSERT_TRUE(model.waitForHeld(1));

    server.terminate(); // SIGTERM
    const bool stopping = waitForLog(server, "stopping", log);
    model.release();
    inFlight.join();
    ASSERT_TRUE(stopping) << log.toStdString();

    EXPECT_EQ(reply.status, 200) << reply.body.toStdString();
    EXPECT_TRUE(reply.json.value(u"content").isString());
    ASSERT_TRUE(server.waitForFinished(20000));
    EXPECT_EQ(server.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(server.exitCode(), 0) << (log + server.readAllStandardError()).toStdString();
    // The request log went to stderr too, without the token.
    log += server.readAllStandardError();
    EXPECT_TRUE(log.contains("POST /v1/reply 200")) << log.toStdString();
    EXPECT_FALSE(log.contains(QByteArray::fromStdString(bearer.substr(7))));
}

} // namespace

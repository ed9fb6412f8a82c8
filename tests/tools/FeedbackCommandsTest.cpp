// SPDX-License-Identifier: Apache-2.0
#include "ToolRunner.h"

#include "ServerProcess.h"
#include "chat/Feedback.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"

#include <QJsonDocument>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;
using namespace quillo::tooltest;

namespace {

const QString lucia = QStringLiteral("0b6c6a3e-5d0c-4d7e-9a51-3c1f2f4a8e10");
const QString fixed = QStringLiteral(
    R"({"language":"Spanish","corrected":"Estoy cansado","edits":[{"original":"Yo soy",)"
    R"("corrected":"Estoy","explanation":"Zustand: estar"}]})");

ChatMessage message(const QString& id, MessageRole role, const QString& text, qint64 at) {
    return {id,
            lucia,
            role,
            text,
            {},
            at,
            role == MessageRole::User ? MessageSource::User : MessageSource::Provider,
            QString()};
}

// check, explain and say-it as a user runs them: signed in to a real quillo-server process with
// a scripted model, on a chat in which the contact wrote first and the user answered twice.
class FeedbackCommands : public ::testing::Test {
protected:
    QTemporaryDir support;
    SystemClock clock;
    ServerProcess server;

    void SetUp() override {
        ASSERT_TRUE(support.isValid());
        qputenv("QUILLO_SUPPORT_DIR", support.path().toUtf8());
        BotProfile bot;
        bot.id = lucia;
        bot.displayName = QStringLiteral("Lucía");
        bot.targetLanguage = QStringLiteral("Spanish");
        StoredState seed;
        seed.bots = {bot};
        seed.profile.nativeLanguage = QStringLiteral("German");
        seed.profile.languages = {LanguageSettings(QStringLiteral("Spanish"), CefrLevel::A2)};
        seed.messages = {
            message(QStringLiteral("a1"), MessageRole::Assistant, QStringLiteral("¿Qué tal?"),
                    1'000),
            message(QStringLiteral("u1"), MessageRole::User, QStringLiteral("Yo soy bien"), 2'000),
            message(QStringLiteral("u2"), MessageRole::User, QStringLiteral("Yo soy cansado"),
                    3'000)};
        StateStore store(statePath(), clock);
        store.save(seed);
        store.flush();

        const QString code = server.invite(QStringLiteral("ana@example.com"));
        server.start();
        httplib::Client client("127.0.0.1", server.port());
        const Answer signedIn = answerOf(client.Post(
            "/v1/session", compact({{QStringLiteral("reviewCode"), code}}).toStdString(),
            "application/json"));
        ASSERT_EQ(signedIn.status, 200) << signedIn.body.toStdString();
        Account account;
        account.email = QStringLiteral("ana@example.com");
        SessionStore(support.filePath(QStringLiteral("session.json")))
            .signedIn({signedIn.json.value(u"sessionToken").toString(), account});
        qputenv("QUILLO_API_URL", server.url().toUtf8());
    }

    void TearDown() override {
        qunsetenv("QUILLO_SUPPORT_DIR");
        qunsetenv("QUILLO_API_URL");
    }

    QString statePath() const { return support.filePath(QStringLiteral("state.json")); }

    std::optional<Correction> storedCorrection(const QString& id) const {
        for (const ChatMessage& each : StateStore(statePath(), clock).load().messages) {
            if (each.id == id)
                return each.correction;
        }
        ADD_FAILURE() << "no message " << id.toStdString();
        return std::nullopt;
    }

    static QJsonObject printedObject(const ToolRun& run) {
        EXPECT_TRUE(run.out.endsWith('\n'));
        EXPECT_EQ(run.out.count('\n'), 1) << run.out.toStdString();
        const QJsonDocument document = QJsonDocument::fromJson(run.out);
        EXPECT_TRUE(document.isObject()) << run.out.toStdString();
        return document.object();
    }

    static void expectOneLine(const ToolRun& run, const QString& line) {
        EXPECT_TRUE(run.out.isEmpty()) << run.out.toStdString();
        EXPECT_EQ(QString::fromUtf8(run.err), line + u'\n');
    }
};

TEST_F(FeedbackCommands, CheckPrintsAndKeepsTheCorrectionOfTheLatestOrTheGivenMessage) {
    server.model.setDefault(ModelFixture::reply(fixed));
    const ToolRun latest =
        runQuilloTool({QStringLiteral("check"), QStringLiteral("--bot"), QStringLiteral("lucía")});
    ASSERT_EQ(latest.exitCode, 0) << latest.err.toStdString();
    const QJsonObject printed = printedObject(latest);
    EXPECT_EQ(printed.value(u"corrected").toString(), u"Estoy cansado");
    EXPECT_EQ(printed.value(u"language").toString(), u"Spanish");
    EXPECT_EQ(printed.value(u"edits")[0][u"original"].toString(), u"Yo soy");
    EXPECT_EQ(printed.value(u"edits")[0][u"explanation"].toString(), u"Zustand: estar");
    const auto kept = storedCorrection(QStringLiteral("u2"));
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->corrected, u"Estoy cansado");
    EXPECT_GT(kept->checkedAt, 0);
    QJsonObject keptShown = kept->toJson();
    keptShown.remove(QStringLiteral("checkedAt"));
    EXPECT_EQ(keptShown, printed);
    EXPECT_FALSE(storedCorrection(QStringLiteral("u1")));

    server.model.setDefault(ModelFixture::reply(QStringLiteral(
        R"({"corrected":"Estoy bien","edits":[{"original":"Yo soy","corrected":"Estoy"}]})")));
    const ToolRun given = runQuilloTool({QStringLiteral("check"), QStringLiteral("--bot"), lucia,
                                         QStringLiteral("--message"), QStringLiteral("u1")});
    ASSERT_EQ(given.exitCode, 0) << given.err.toStdString();
    EXPECT_EQ(printedObject(given).value(u"corrected").toString(), u"Estoy bien");
    ASSERT_TRUE(storedCorrection(QStringLiteral("u1")));
    EXPECT_EQ(storedCorrection(QStringLiteral("u1"))->corrected, u"Estoy bien");
    EXPECT_EQ(storedCorrection(QStringLiteral("u2")), kept);

    // An answer in prose invents nothing: one line, and the kept correction stands.
    server.model.setDefault(ModelFixture::reply(QStringLiteral("Looks great to me!")));
    const ToolRun prose =
        runQuilloTool({QStringLiteral("check"), QStringLiteral("--bot"), QStringLiteral("Lucía")});
    EXPECT_EQ(prose.exitCode, 1);
    expectOneLine(prose, Feedback::checkFailedLine());
    EXPECT_EQ(storedCorrection(QStringLiteral("u2")), kept);
}

TEST_F(FeedbackCommands, ExplainPrintsTheExplanation) {
    server.model.setDefault(ModelFixture::reply(QStringLiteral(
        R"({"meaning":"Wie geht's?","dictionaryForm":"qué","partOfSpeech":"Pronomen",)"
        R"("grammarNote":"Fragewort mit Akzent"})")));
    const ToolRun explained =
        runQuilloTool({QStringLiteral("explain"), QStringLiteral("--bot"), QStringLiteral("Lucía"),
                       QStringLiteral("--message"), QStringLiteral("a1"),
                       QStringLiteral("--selection"), QStringLiteral("Qué")});
    ASSERT_EQ(explained.exitCode, 0) << explained.err.toStdString();
    const QJsonObject printed = printedObject(explained);
    EXPECT_EQ(printed.value(u"meaning").toString(), u"Wie geht's?");
    EXPECT_EQ(printed.value(u"dictionaryForm").toString(), u"qué");
    EXPECT_EQ(printed.value(u"partOfSpeech").toString(), u"Pronomen");
    EXPECT_EQ(printed.value(u"grammarNote").toString(), u"Fragewort mit Akzent");

    server.model.setDefault(ModelFixture::reply(QStringLiteral("It means how are you.")));
    const ToolRun prose =
        runQuilloTool({QStringLiteral("explain"), QStringLiteral("--bot"), QStringLiteral("Lucía"),
                       QStringLiteral("--message"), QStringLiteral("a1"),
                       QStringLiteral("--selection"), QStringLiteral("tal")});
    EXPECT_EQ(prose.exitCode, 1);
    expectOneLine(prose, Feedback::explainFailedLine());
}

TEST_F(FeedbackCommands, SayItPrintsTheSentenceAndSendsNothing) {
    server.model.setDefault(ModelFixture::reply(
        QStringLiteral(R"({"sentence":"Estoy cansada.","note":"estar: Zustand"})")));
    const qsizetype before = StateStore(statePath(), clock).load().messages.size();
    const ToolRun said =
        runQuilloTool({QStringLiteral("say-it"), QStringLiteral("--bot"), QStringLiteral("Lucía"),
                       QStringLiteral("Ich"), QStringLiteral("bin"), QStringLiteral("müde")});
    ASSERT_EQ(said.exitCode, 0) << said.err.toStdString();
    const QJsonObject printed = printedObject(said);
    EXPECT_EQ(printed.value(u"sentence").toString(), u"Estoy cansada.");
    EXPECT_EQ(printed.value(u"note").toString(), u"estar: Zustand");
    EXPECT_EQ(StateStore(statePath(), clock).load().messages.size(), before);
    EXPECT_TRUE(
        server.model.requests().last().value(u"messages")[1][u"content"].toString().contains(
            u"Ich bin müde"));

    const ToolRun unknown = runQuilloTool({QStringLiteral("say-it"), QStringLiteral("--bot"),
                                           QStringLiteral("Marco"), QStringLiteral("hola")});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_TRUE(unknown.out.isEmpty());
    EXPECT_EQ(unknown.err.count('\n'), 1) << unknown.err.toStdString();
    EXPECT_TRUE(unknown.err.contains("Marco")) << unknown.err.toStdString();

    server.model.setDefault(ModelFixture::reply(QStringLiteral("Just say estoy cansada.")));
    const ToolRun prose = runQuilloTool({QStringLiteral("say-it"), QStringLiteral("--bot"),
                                         QStringLiteral("Lucía"), QStringLiteral("müde")});
    EXPECT_EQ(prose.exitCode, 1);
    expectOneLine(prose, Feedback::sayItFailedLine());
    EXPECT_EQ(StateStore(statePath(), clock).load().messages.size(), before);
}

} // namespace

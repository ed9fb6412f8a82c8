// SPDX-License-Identifier: Apache-2.0
#include "ScriptedService.h"
#include "repository/ChatRepository.h"
#include "server/ServerTestSupport.h"
#include "service/QuilloAPI.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"
#include "support/ManualClock.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QElapsedTimer>
#include <QJsonArray>

#include <future>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

const QString lucia = QStringLiteral("lucia");
const QString fixed = QStringLiteral(
    R"({"language":"Spanish","corrected":"Estoy cansado","edits":[{"original":"Yo soy",)"
    R"("corrected":"Estoy","explanation":"Zustand: estar"}]})");

template <typename T>
QCoro::Task<> keeping(QCoro::Task<std::optional<T>> task, std::shared_ptr<std::optional<T>> into,
                      std::shared_ptr<bool> done) {
    *into = co_await std::move(task);
    *done = true;
}

// Feedback on the user's writing against the real service in-process and a scripted model: the
// repository's own part asks, over loopback, on the app's manual clock.
class FeedbackTest : public ApiTest {
protected:
    QTemporaryDir appDir;
    ManualClock appClock;
    std::unique_ptr<StateStore> store;
    std::unique_ptr<SessionStore> session;
    std::unique_ptr<QuilloAPI> api;
    std::unique_ptr<ChatRepository> repository;
    QStringList failures;

    void SetUp() override {
        ApiTest::SetUp();
        BotProfile spanish;
        spanish.id = lucia;
        spanish.displayName = QStringLiteral("Lucía");
        spanish.targetLanguage = QStringLiteral("Spanish");
        StoredState seed;
        seed.bots = {spanish};
        seed.profile.nativeLanguage = QStringLiteral("German");
        seed.profile.languages = {LanguageSettings(QStringLiteral("Spanish"), CefrLevel::A2)};
        store =
            std::make_unique<StateStore>(appDir.filePath(QStringLiteral("state.json")), appClock);
        store->save(seed);
        store->flush();
        api = std::make_unique<QuilloAPI>(
            QUrl(QStringLiteral("http://127.0.0.1:") + QString::number(port())));
        session = std::make_unique<SessionStore>(appDir.filePath(QStringLiteral("session.json")));
        const QString token = signIn(QStringLiteral("ana@example.com"));
        ASSERT_FALSE(token.isEmpty());
        Account account;
        account.email = QStringLiteral("ana@example.com");
        session->signedIn({token, account});
        repository = std::make_unique<ChatRepository>(*store, *session, *api, appClock);
        repository->feedback().setOnFailure(
            [this](const QString&, const QString& line) { failures.append(line); });
    }

    void TearDown() override {
        repository.reset();
        api.reset();
        ApiTest::TearDown();
    }

    void spinUntil(const std::function<bool()>& done) {
        QElapsedTimer guard;
        guard.start();
        while (!done() && guard.elapsed() < 20'000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            if (appClock.sleeping() > 0)
                appClock.advance(1'000);
        }
        ASSERT_TRUE(done()) << "the feedback did not settle";
    }

    template <typename T>
    std::optional<T> run(QCoro::Task<std::optional<T>> task) {
        auto result = std::make_shared<std::optional<T>>();
        auto done = std::make_shared<bool>(false);
        auto running = keeping(std::move(task), result, done);
        spinUntil([done] { return *done; });
        return *result;
    }

    std::optional<Correction> correctionOf(const QString& id) const {
        for (const ChatMessage& message : repository->state().messages) {
            if (message.id == id)
                return message.correction;
        }
        return std::nullopt;
    }

    QString lastPrompt(qsizetype index) const {
        return model.requests()
            .last()
            .value(u"messages")
            .toArray()
            .at(index)[u"content"]
            .toString();
    }

    void setCorrections(CorrectionLevel level) {
        StoredState state = repository->state();
        state.profile.languages[0].corrections = level;
        replaceDocument(state);
    }

    void replaceDocument(const StoredState& state) {
        repository.reset();
        store->save(state);
        store->flush();
        repository = std::make_unique<ChatRepository>(*store, *session, *api, appClock);
        repository->feedback().setOnFailure(
            [this](const QString&, const QString& line) { failures.append(line); });
    }

    // A chat in which the contact wrote first and the user answered.
    QString seedChat(const QString& userText) {
        StoredState state = repository->state();
        ChatMessage asked{QStringLiteral("a1"),
                          lucia,
                          MessageRole::Assistant,
                          QStringLiteral("¿Qué tal el día?"),
                          {},
                          1'000,
                          MessageSource::Provider,
                          QString()};
        ChatMessage answered{QStringLiteral("u1"), lucia,    MessageRole::User, userText, {}, 2'000,
                             MessageSource::User,  QString()};
        state.messages.append(asked);
        state.messages.append(answered);
        replaceDocument(state);
        return answered.id;
    }
};

// The check asks with the message, the contact's line before it, the practised language, the
// user's level there and the user's own language, and keeps what it found with the message.
TEST_F(FeedbackTest, ACheckAsksWithItsMaterialAndKeepsTheCorrection) {
    const QString id = seedChat(QStringLiteral("Yo soy cansado"));
    model.setDefault(ModelFixture::reply(fixed));
    appClock.advance(5'000);
    const qint64 asked = appClock.nowMillis();
    const auto found = run(repository->feedback().check(id));

    ASSERT_TRUE(found);
    EXPECT_EQ(found->corrected, u"Estoy cansado");
    ASSERT_EQ(found->edits.size(), 1);
    EXPECT_EQ(found->edits[0].explanation, u"Zustand: estar");
    EXPECT_GE(found->checkedAt, asked);
    EXPECT_LE(found->checkedAt, appClock.nowMillis());
    EXPECT_EQ(correctionOf(id), found);
    EXPECT_TRUE(failures.isEmpty());

    const QString system = lastPrompt(0);
    const QString user = lastPrompt(1);
    for (const char* part : {"Spanish", "CEFR A2", "German", "\"corrected\"", "\"edits\""})
        EXPECT_TRUE(system.contains(QString::fromUtf8(part))) << part;
    EXPECT_TRUE(user.contains(u"¿Qué tal el día?"));
    EXPECT_TRUE(user.contains(u"Yo soy cansado"));
    // The contact's own conversation is not what the check is asked with.
    EXPECT_FALSE(system.contains(u"Lucía"));
}

TEST_F(FeedbackTest, AFineMessageAndAnAnswerInProse) {
    const QString id = seedChat(QStringLiteral("Estoy cansado"));
    model.setDefault(
        ModelFixture::reply(QStringLiteral(R"({"corrected":"Estoy cansado","edits":[]})")));
    const auto fine = run(repository->feedback().check(id));
    ASSERT_TRUE(fine);
    EXPECT_TRUE(fine->isFine(QStringLiteral("Estoy cansado")));
    EXPECT_TRUE(correctionOf(id)->edits.isEmpty());

    // A later answer in prose invents nothing and leaves the earlier check standing.
    model.setDefault(ModelFixture::reply(QStringLiteral("Looks great, but say 'muy' too!")));
    EXPECT_FALSE(run(repository->feedback().check(id)));
    EXPECT_EQ(failures, QStringList{Feedback::checkFailedLine()});
    EXPECT_EQ(correctionOf(id), fine);
}

// The day's feedback is spent: one line says so, and the message keeps what it had.
class FeedbackAllowanceTest : public FeedbackTest {
protected:
    void SetUp() override {
        config.dailyFeedbackLimit = 1;
        FeedbackTest::SetUp();
    }
};

TEST_F(FeedbackAllowanceTest, ASpentAllowanceIsSaidOnceAndInventsNothing) {
    const QString id = seedChat(QStringLiteral("Estoy cansado"));
    model.setDefault(
        ModelFixture::reply(QStringLiteral(R"({"corrected":"Estoy cansado","edits":[]})")));
    const auto first = run(repository->feedback().check(id));
    ASSERT_TRUE(first);
    EXPECT_FALSE(run(repository->feedback().check(id)));
    EXPECT_EQ(failures, QStringList{Feedback::allowanceUsedLine()});
    EXPECT_EQ(correctionOf(id), first);
}

// The user removed the contact while its check was on its way: the check is dropped.
TEST_F(FeedbackTest, ACheckArrivingAfterTheContactWentIsDropped) {
    const QString id = seedChat(QStringLiteral("Yo soy cansado"));
    model.setDefault(ModelFixture::reply(fixed));
    model.hold();
    auto result = std::make_shared<std::optional<Correction>>();
    auto done = std::make_shared<bool>(false);
    auto running = keeping(repository->feedback().check(id), result, done);
    EXPECT_TRUE(repository->feedback().isChecking(id));
    auto held = std::async(std::launch::async, [this] { return model.waitForHeld(1); });
    spinUntil(
        [&held] { return held.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
    ASSERT_TRUE(held.get());
    repository->editing().removeBots({lucia});
    model.release();
    spinUntil([done] { return *done; });
    EXPECT_FALSE(*result);
    EXPECT_TRUE(repository->state().messages.isEmpty());
    EXPECT_TRUE(failures.isEmpty());
}

// With a setting that corrects unasked, the user's message is checked once the reply is in;
// "Off" and "When I ask" ask nothing more than the reply.
TEST_F(FeedbackTest, AutomaticChecksFollowTheLanguagesSetting) {
    for (CorrectionLevel level :
         {CorrectionLevel::Off, CorrectionLevel::WhenAsked, CorrectionLevel::Hindering}) {
        setCorrections(level);
        const int before = int(model.requests().size());
        model.setDefault(ModelFixture::reply(fixed));
        model.script({ModelFixture::reply(QStringLiteral(R"({"message":"¡Vaya!"})"))});
        repository->conversation().addUserMessage(lucia, QStringLiteral("Yo soy cansado"));
        const QString id = repository->state().messagesFor(lucia).last().id;
        auto done = std::make_shared<bool>(false);
        auto turn = [](ConversationFlow& flow, std::shared_ptr<bool> finished) -> QCoro::Task<> {
            co_await flow.answerLatest(lucia);
            *finished = true;
        }(repository->conversation(), done);
        spinUntil([&] { return *done && !repository->feedback().isChecking(id); });

        const QList<ChatMessage> chat = repository->state().messagesFor(lucia);
        EXPECT_EQ(chat.last().text, u"¡Vaya!") << wireString(level).toStdString();
        if (level == CorrectionLevel::Hindering) {
            EXPECT_EQ(model.requests().size(), before + 2);
            ASSERT_TRUE(correctionOf(id));
            EXPECT_EQ(correctionOf(id)->corrected, u"Estoy cansado");
            EXPECT_TRUE(lastPrompt(0).contains(u"misunderstand"));
        } else {
            EXPECT_EQ(model.requests().size(), before + 1) << wireString(level).toStdString();
            EXPECT_FALSE(correctionOf(id));
        }
    }
}

// An automatic check that finds the message written in the user's own language keeps nothing;
// asked for, it says so.
TEST_F(FeedbackTest, AMessageInTheUsersOwnLanguageIsNotCorrectedUnasked) {
    setCorrections(CorrectionLevel::Every);
    const QString german =
        QStringLiteral(R"({"language":"German","corrected":"Ich bin müde","edits":[]})");
    model.script({ModelFixture::reply(QStringLiteral(R"({"message":"¿Cómo?"})")),
                  ModelFixture::reply(german)});
    repository->conversation().addUserMessage(lucia, QStringLiteral("Ich bin müde"));
    const QString id = repository->state().messagesFor(lucia).last().id;
    auto done = std::make_shared<bool>(false);
    auto turn = [](ConversationFlow& flow, std::shared_ptr<bool> finished) -> QCoro::Task<> {
        co_await flow.answerLatest(lucia);
        *finished = true;
    }(repository->conversation(), done);
    spinUntil([&] { return *done && !repository->feedback().isChecking(id); });
    EXPECT_EQ(model.requests().size(), 2);
    EXPECT_FALSE(correctionOf(id));

    model.setDefault(ModelFixture::reply(german));
    const auto asked = run(repository->feedback().check(id));
    ASSERT_TRUE(asked);
    EXPECT_EQ(asked->language, u"German");
    EXPECT_TRUE(asked->isFine(QStringLiteral("Ich bin müde")));
}

// An explanation is asked once per message and passage; the sentence for what the user means
// is only given back, never sent.
TEST_F(FeedbackTest, ExplanationsAreAskedOnceAndSentencesAreNotSent) {
    seedChat(QStringLiteral("Bien"));
    model.setDefault(ModelFixture::reply(QStringLiteral(
        R"({"meaning":"der Tag","dictionaryForm":"día","partOfSpeech":"Nomen","grammarNote":""})")));
    const auto first =
        run(repository->feedback().explain(QStringLiteral("a1"), QStringLiteral(" Día")));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->dictionaryForm, u"día");
    EXPECT_TRUE(lastPrompt(1).contains(u"¿Qué tal el día?"));
    EXPECT_TRUE(lastPrompt(0).contains(u"German"));
    const int asked = int(model.requests().size());
    EXPECT_EQ(run(repository->feedback().explain(QStringLiteral("a1"), QStringLiteral("día"))),
              first);
    EXPECT_EQ(model.requests().size(), asked);

    model.setDefault(ModelFixture::reply(
        QStringLiteral(R"({"sentence":"Estoy cansada.","note":"estar: Zustand"})")));
    const int messages = int(repository->state().messages.size());
    const auto said = run(repository->feedback().sayIt(lucia, QStringLiteral("Ich bin tired")));
    ASSERT_TRUE(said);
    EXPECT_EQ(said->sentence, u"Estoy cansada.");
    EXPECT_EQ(repository->state().messages.size(), messages);
    EXPECT_TRUE(lastPrompt(1).contains(u"Ich bin tired"));
    EXPECT_TRUE(lastPrompt(0).contains(u"CEFR A2"));
}

// Feedback goes to the reply endpoint marked as such, so the service can count it apart.
TEST(FeedbackRequest, CarriesItsPurpose) {
    quillo::clienttest::ScriptedService service;
    service.script({{200, quillo::clienttest::answer(QStringLiteral(R"({"sentence":"Hola"})"))}});
    QTemporaryDir dir;
    ManualClock clock;
    BotProfile bot;
    bot.id = lucia;
    bot.targetLanguage = QStringLiteral("Spanish");
    StoredState seed;
    seed.bots = {bot};
    StateStore store(dir.filePath(QStringLiteral("state.json")), clock);
    store.save(seed);
    store.flush();
    SessionStore session(dir.filePath(QStringLiteral("session.json")));
    session.signedIn({QStringLiteral("token"), Account{}});
    QuilloAPI api(service.url());
    ChatRepository repository(store, session, api, clock);
    auto done = std::make_shared<bool>(false);
    auto result = std::make_shared<std::optional<SayItAnswer>>();
    auto running = keeping(repository.feedback().sayIt(lucia, QStringLiteral("hi")), result, done);
    QElapsedTimer guard;
    guard.start();
    while (!*done && guard.elapsed() < 20'000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    ASSERT_TRUE(*result);
    EXPECT_EQ(service.request(0).value(u"purpose").toString(), u"feedback");
}

} // namespace

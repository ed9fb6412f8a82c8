// SPDX-License-Identifier: Apache-2.0
#include "repository/ChatRepository.h"
#include "server/ServerTestSupport.h"
#include "service/QuilloAPI.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"
#include "support/ManualClock.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QElapsedTimer>

#include <future>

using namespace quillo;
using namespace quillo::server;
using namespace quillo::server::apitest;

namespace {

const QString lucia = QStringLiteral("lucia");
const QString polly = QStringLiteral("polly");

QCoro::Task<> marking(QCoro::Task<> task, std::shared_ptr<bool> done) {
    co_await std::move(task);
    *done = true;
}

// A whole conversation against the real service in-process: the repository's own client talks
// to it over loopback, and the app's time is a manual clock that the tests move on whenever a
// turn waits for it.
class ConversationTest : public ApiTest {
protected:
    QTemporaryDir appDir;
    ManualClock appClock;
    std::unique_ptr<StateStore> store;
    std::unique_ptr<SessionStore> session;
    std::unique_ptr<QuilloAPI> api;
    std::unique_ptr<ChatRepository> repository;
    QStringList errors;
    QStringList incomingFrom;
    QList<QList<ChatMessage>> incoming;

    void SetUp() override {
        ApiTest::SetUp();
        BotProfile spanish;
        spanish.id = lucia;
        spanish.displayName = QStringLiteral("Lucía");
        spanish.targetLanguage = QStringLiteral("Spanish");
        BotProfile any = spanish;
        any.id = polly;
        any.displayName = QStringLiteral("Polly");
        any.targetLanguage = QStringLiteral("Any language");
        StoredState seed;
        seed.bots = {spanish, any};
        store =
            std::make_unique<StateStore>(appDir.filePath(QStringLiteral("state.json")), appClock);
        store->save(seed);
        store->flush();

        api = std::make_unique<QuilloAPI>(
            QUrl(QStringLiteral("http://127.0.0.1:") + QString::number(port())));
        session = std::make_unique<SessionStore>(sessionPath());
        const QString token = signIn(QStringLiteral("ana@example.com"));
        ASSERT_FALSE(token.isEmpty());
        Account account;
        account.email = QStringLiteral("ana@example.com");
        session->signedIn({token, account});

        repository = std::make_unique<ChatRepository>(*store, *session, *api, appClock);
        QObject::connect(repository.get(), &ChatRepository::errorOccurred,
                         [this](const QString& line) { errors.append(line); });
        repository->conversation().setOnIncoming(
            [this](const BotProfile& bot, const QList<ChatMessage>& list) {
                incomingFrom.append(bot.id);
                incoming.append(list);
            });
    }

    // Drops the client's idle keep-alive connection first, or the service would wait it out.
    void TearDown() override {
        repository.reset();
        api.reset();
        ApiTest::TearDown();
    }

    QString sessionPath() const { return appDir.filePath(QStringLiteral("session.json")); }

    // Runs the event loop until `done` holds, moving the app's clock on while a turn waits.
    void spinUntil(const std::function<bool()>& done) {
        QElapsedTimer guard;
        guard.start();
        while (!done() && guard.elapsed() < 20'000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            if (appClock.sleeping() > 0)
                appClock.advance(1'000);
        }
        ASSERT_TRUE(done()) << "the conversation did not settle";
    }

    void run(QCoro::Task<> task) {
        const auto done = std::make_shared<bool>(false);
        auto running = marking(std::move(task), done);
        spinUntil([done] { return *done; });
    }

    void say(const QString& botId, const QString& text) {
        repository->conversation().addUserMessage(botId, text);
        run(repository->conversation().answerLatest(botId));
    }

    // Runs the event loop until the model holds the turn's request: the request leaves from
    // this thread, so the wait for it happens on another.
    void waitForHeldRequest() {
        auto held = std::async(std::launch::async, [this] { return model.waitForHeld(1); });
        spinUntil([&held] {
            return held.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
        });
        ASSERT_TRUE(held.get());
    }

    QList<ChatMessage> messages(const QString& botId) const {
        return repository->state().messagesFor(botId);
    }
};

TEST_F(ConversationTest, AReplyIsAppliedToTheContactAndCounted) {
    model.setDefault(ModelFixture::reply(QStringLiteral(
        R"({"message":"Ciao! Come stai?","remember":"likes pasta","language":"Italian","level":"B1"})")));
    say(polly, QStringLiteral("Parliamo italiano"));

    const QList<ChatMessage> chat = messages(polly);
    ASSERT_EQ(chat.size(), 2);
    EXPECT_EQ(chat[1].role, MessageRole::Assistant);
    EXPECT_EQ(chat[1].source, MessageSource::Provider);
    EXPECT_EQ(chat[1].text, u"Ciao! Come stai?");
    EXPECT_EQ(chat[1].language, u"Italian");
    const BotProfile bot = *repository->state().bot(polly);
    EXPECT_EQ(bot.speaking, u"Italian");
    EXPECT_EQ(bot.speakingLevel, CefrLevel::B1);
    EXPECT_TRUE(bot.memories.contains(QStringLiteral("likes pasta")));
    EXPECT_TRUE(repository->typing().isEmpty());
    EXPECT_TRUE(errors.isEmpty());

    // The prompt carried the user's text once, as its last message.
    const QJsonArray sent = model.requests().last().value(u"messages").toArray();
    EXPECT_TRUE(sent.last().toObject().value(u"content").toString().contains(u"Parliamo"));
    EXPECT_EQ(sent.size(), 2);

    ASSERT_TRUE(session->account());
    EXPECT_EQ(session->account()->repliesToday, 1);
    EXPECT_EQ(SessionStore(sessionPath()).account()->repliesToday, 1);
    repository->flush();
    EXPECT_EQ(StateStore(appDir.filePath(QStringLiteral("state.json")), appClock).load(),
              repository->state());
}

TEST_F(ConversationTest, AUsedUpAllowanceOrAnEndedSessionAddsNoMessage) {
    model.setDefault(ModelFixture::reply(QStringLiteral(R"({"message":"¡Hola!"})")));
    for (int i = 0; i < config.dailyLimit; ++i)
        ASSERT_EQ(post("/v1/reply", replyRequest(), *session->token()).status, 200);

    say(lucia, QStringLiteral("hola"));
    EXPECT_EQ(errors,
              QStringList{QStringLiteral("You've used today's replies. More arrive tomorrow.")});
    EXPECT_EQ(messages(lucia).size(), 1);
    // The account was fetched again before the line, with the day's count.
    EXPECT_EQ(session->account()->repliesToday, config.dailyLimit);

    errors.clear();
    session->update(*session->account(), QStringLiteral("no-longer-valid"));
    say(lucia, QStringLiteral("¿hola?"));
    EXPECT_FALSE(session->token().has_value());
    EXPECT_TRUE(errors.isEmpty());
    EXPECT_EQ(messages(lucia).size(), 2);
    EXPECT_EQ(messages(lucia).last().role, MessageRole::User);
}

TEST_F(ConversationTest, MessagesWrittenDuringAReplyGetOneFurtherTurn) {
    model.setDefault(ModelFixture::reply(QStringLiteral(R"({"message":"¡Claro!"})")));
    model.hold();
    repository->conversation().send(lucia, QStringLiteral("hola"));
    ASSERT_TRUE(repository->typing().contains(lucia));
    waitForHeldRequest();
    repository->conversation().addUserMessage(lucia, QStringLiteral("¿cómo estás?"));
    repository->conversation().addUserMessage(lucia, QStringLiteral("¿qué haces hoy?"));
    model.release();
    spinUntil([this] { return messages(lucia).size() == 5 && repository->typing().isEmpty(); });

    const QList<QJsonObject> requests = model.requests();
    ASSERT_EQ(requests.size(), 2);
    const QJsonArray second = requests[1].value(u"messages").toArray();
    EXPECT_TRUE(second.last().toObject().value(u"content").toString().contains(u"qué haces hoy"));
    const QList<ChatMessage> chat = messages(lucia);
    EXPECT_EQ(chat[3].role, MessageRole::Assistant);
    EXPECT_EQ(chat[4].role, MessageRole::Assistant);
    EXPECT_TRUE(errors.isEmpty());
}

TEST_F(ConversationTest, AReplyForARemovedContactChangesNothing) {
    model.setDefault(
        ModelFixture::reply(QStringLiteral(R"({"message":"¡Hola!","remember":"has a cat"})")));
    model.hold();
    repository->conversation().send(lucia, QStringLiteral("hola"));
    ASSERT_TRUE(repository->typing().contains(lucia));
    waitForHeldRequest();
    repository->editing().removeBots({lucia});
    const StoredState before = repository->state();
    model.release();
    spinUntil([this] { return repository->typing().isEmpty(); });

    // A removed contact takes its whole conversation with it, so its late reply is not kept
    // either. The removal may have gone up meanwhile, which marks the document; the reply
    // changed nothing.
    StoredState after = repository->state();
    after.syncMark = before.syncMark;
    EXPECT_EQ(after, before);
    EXPECT_TRUE(incoming.isEmpty());
}

TEST_F(ConversationTest, OnlyRepliesOffScreenNotify) {
    model.setDefault(ModelFixture::reply(QStringLiteral(R"({"message":"¡Hola!"})")));
    repository->conversation().setVisibleBotId(lucia);
    say(lucia, QStringLiteral("hola"));
    EXPECT_EQ(repository->state().lastReadAt.value(lucia), messages(lucia).last().createdAt);
    EXPECT_EQ(repository->state().unreadCount(lucia), 0);
    EXPECT_TRUE(incoming.isEmpty());

    repository->conversation().setVisibleBotId(std::nullopt);
    // The next reply comes later than the one read; the clock moves only while a turn waits,
    // and a turn that needs no wait would stamp it with the read one's millisecond.
    appClock.advance(1'000);
    say(lucia, QStringLiteral("¿qué tal?"));
    EXPECT_EQ(incomingFrom, QStringList{lucia});
    ASSERT_EQ(incoming.size(), 1);
    ASSERT_EQ(incoming[0].size(), 1);
    EXPECT_EQ(incoming[0][0].text, u"¡Hola!");
    EXPECT_EQ(repository->state().unreadCount(lucia), 1);

    // With notifications turned off a reply off screen is only unread.
    repository->editing().setNotificationsEnabled(false);
    say(lucia, QStringLiteral("¿y tú?"));
    EXPECT_EQ(incoming.size(), 1);
    EXPECT_EQ(repository->state().unreadCount(lucia), 1);
}

TEST_F(ConversationTest, ATroubledServiceIsAskedAgainThenGetsOneLine) {
    model.setDefault(ModelFixture::status(500));
    const qint64 start = appClock.nowMillis();
    say(lucia, QStringLiteral("hola"));
    EXPECT_EQ(errors, QStringList{QStringLiteral(
                          "Quillo didn't answer this time. No fake reply was added.")});
    // Four turns, the last three after 8, 20 and 45 seconds.
    EXPECT_EQ(model.requests().size() % 4, 0);
    EXPECT_GE(appClock.nowMillis() - start, 73'000);
    EXPECT_EQ(messages(lucia).size(), 1);

    // Without the idle connection the service stops at once; nothing answers there then.
    const QUrl address = api->baseURL();
    repository.reset();
    api.reset();
    stop();
    api = std::make_unique<QuilloAPI>(address);
    repository = std::make_unique<ChatRepository>(*store, *session, *api, appClock);
    errors.clear();
    QObject::connect(repository.get(), &ChatRepository::errorOccurred,
                     [this](const QString& line) { errors.append(line); });
    // Not reached at the first try: no waits at this level, and no claim about the connection
    // until they are spent (ReplyTurnTest plays that).
    say(lucia, QStringLiteral("¿hola?"));
    EXPECT_EQ(errors, QStringList{QStringLiteral(
                          "Quillo didn't answer this time. No fake reply was added.")});
    EXPECT_EQ(messages(lucia).size(), 2);
}
} // namespace

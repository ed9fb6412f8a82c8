// SPDX-License-Identifier: Apache-2.0
#include "ScriptedService.h"
#include "repository/ChatRepository.h"
#include "service/QuilloAPI.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"
#include "support/ManualClock.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quillo;
using namespace quillo::clienttest;

namespace {

const QString lucia = QStringLiteral("lucia");
const QString noAnswer = QStringLiteral("Quillo didn't answer this time. No fake reply was added.");

// One contact's reply turns against a scripted reply endpoint, so that every status the service
// may answer can be played, in order, on the app's own clock.
class ReplyTurnTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    ManualClock appClock;
    ScriptedService service;
    std::unique_ptr<QuilloAPI> api;
    std::unique_ptr<StateStore> store;
    std::unique_ptr<SessionStore> session;
    std::unique_ptr<ChatRepository> repository;
    QStringList errors;
    // When each reply request arrived, on the app's clock.
    QList<qint64> arrivals;

    void SetUp() override {
        BotProfile bot;
        bot.id = lucia;
        bot.displayName = QStringLiteral("Lucía");
        bot.targetLanguage = QStringLiteral("Spanish");
        StoredState seed;
        seed.bots = {bot};
        store = std::make_unique<StateStore>(dir.filePath(QStringLiteral("state.json")), appClock);
        store->save(seed);
        store->flush();
        session = std::make_unique<SessionStore>(dir.filePath(QStringLiteral("session.json")));
        Account account;
        account.email = QStringLiteral("ana@example.com");
        session->signedIn({QStringLiteral("token"), account});
        connectTo(service.url());
    }

    // The app as it starts over, talking to the endpoint at `url`.
    void connectTo(const QUrl& url) {
        repository.reset();
        api = std::make_unique<QuilloAPI>(url);
        repository = std::make_unique<ChatRepository>(*store, *session, *api, appClock);
        QObject::connect(repository.get(), &ChatRepository::errorOccurred,
                         [this](const QString& line) { errors.append(line); });
    }

    void TearDown() override {
        repository.reset();
        api.reset();
    }

    // Runs the event loop, moving the clock on in small steps while anything sleeps, until no
    // reply is being produced; notes when each request arrives.
    void settle() {
        QElapsedTimer guard;
        guard.start();
        while (guard.elapsed() < 20'000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            while (service.received() > arrivals.size())
                arrivals.append(appClock.nowMillis());
            if (repository->typing().isEmpty())
                return;
            if (appClock.sleeping() > 0)
                appClock.advance(100);
        }
        FAIL() << "the turn did not end";
    }

    // The same, until the endpoint has had `count` requests; whether it had.
    bool runUntilReceived(int count) {
        QElapsedTimer guard;
        guard.start();
        while (service.received() < count && guard.elapsed() < 10'000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            if (appClock.sleeping() > 0)
                appClock.advance(100);
        }
        return service.received() >= count;
    }

    QList<ChatMessage> messages() const { return repository->state().messagesFor(lucia); }

    static std::pair<int, std::string> status(int code) { return {code, "{\"error\":\"x\"}"}; }
};

TEST_F(ReplyTurnTest, PassingTroubleIsAskedAgainAfter8Then20Then45Seconds) {
    service.script({status(503), status(503), status(503), status(503), status(503), status(503),
                    status(503), status(503), status(503), status(503), status(503), status(503)});
    repository->conversation().send(lucia, QStringLiteral("hola"));
    settle();
    // Four turns of the client's three tries each (1.2 and 2.4 s apart).
    ASSERT_EQ(arrivals.size(), 12);
    for (int turn = 0; turn < 4; ++turn) {
        EXPECT_EQ(arrivals[turn * 3 + 1] - arrivals[turn * 3], 1'200);
        EXPECT_EQ(arrivals[turn * 3 + 2] - arrivals[turn * 3 + 1], 2'400);
    }
    EXPECT_EQ(arrivals[3] - arrivals[2], 8'000);
    EXPECT_EQ(arrivals[6] - arrivals[5], 20'000);
    EXPECT_EQ(arrivals[9] - arrivals[8], 45'000);
    EXPECT_EQ(errors, QStringList{noAnswer});
    EXPECT_EQ(messages().size(), 1);
}

TEST_F(ReplyTurnTest, ATimeoutAConflictAndTooEarlyAreAskedAgainUntilAReplyComes) {
    service.script({status(408),
                    status(408),
                    status(408),
                    status(409),
                    status(409),
                    status(409),
                    status(425),
                    status(425),
                    status(425),
                    {200, hola}});
    repository->conversation().send(lucia, QStringLiteral("hola"));
    settle();
    EXPECT_EQ(arrivals.size(), 10);
    EXPECT_TRUE(errors.isEmpty()) << errors.join(u'\n').toStdString();
    ASSERT_EQ(messages().size(), 2);
    EXPECT_EQ(messages().last().text, u"¡Hola!");
}

TEST_F(ReplyTurnTest, EachFinalStatusHasItsLine) {
    // A busy service is asked again like any passing trouble, then said to be busy.
    QList<std::pair<int, std::string>> busy;
    for (int i = 0; i < 12; ++i)
        busy.append(status(429));
    service.script(busy);
    repository->conversation().send(lucia, QStringLiteral("hola"));
    settle();
    EXPECT_EQ(arrivals.size(), 12);
    EXPECT_EQ(errors,
              QStringList{QStringLiteral("Quillo is busy right now. Try again in a moment.")});

    // An answer that says yes in a shape that is not a reply: once, and no made-up message.
    errors.clear();
    service.script({{200, "<html>not a reply</html>"}});
    repository->conversation().send(lucia, QStringLiteral("¿hola?"));
    settle();
    EXPECT_EQ(arrivals.size(), 13);
    EXPECT_EQ(errors, QStringList{noAnswer});
    EXPECT_EQ(messages().size(), 2);
    EXPECT_EQ(messages().last().role, MessageRole::User);
}

TEST_F(ReplyTurnTest, NotReachingTheServiceIsSaidSoOnlyOnceTheWaitsAreSpent) {
    // The first turn never reaches the service: no waits at this level, and no claim about the
    // connection yet.
    ScriptedService gone;
    gone.stop();
    connectTo(gone.url());
    repository->conversation().send(lucia, QStringLiteral("hola"));
    settle();
    EXPECT_EQ(errors, QStringList{noAnswer});

    // Passing trouble three turns long, then the service is gone for the last one.
    errors.clear();
    connectTo(service.url());
    QList<std::pair<int, std::string>> trouble;
    for (int i = 0; i < 9; ++i)
        trouble.append(status(503));
    service.script(trouble);
    repository->conversation().send(lucia, QStringLiteral("¿hola?"));
    ASSERT_TRUE(runUntilReceived(9));
    service.stop();
    settle();
    EXPECT_EQ(errors, QStringList{QStringLiteral(
                          "Couldn't reach Quillo. Check your connection and try again.")});
}

TEST_F(ReplyTurnTest, AMessageWrittenDuringAFailingTurnGetsATurnOfItsOwn) {
    service.script({status(503), status(503), status(503), status(400), {200, hola}});
    repository->conversation().send(lucia, QStringLiteral("hola"));
    // During the first wait, the user writes again.
    ASSERT_TRUE(runUntilReceived(3));
    repository->conversation().addUserMessage(lucia, QStringLiteral("¿estás?"));
    settle();
    EXPECT_EQ(errors, QStringList{noAnswer});
    ASSERT_EQ(messages().size(), 3);
    EXPECT_EQ(messages().last().text, u"¡Hola!");
    // The further turn answers the newer message.
    const QJsonArray prompt = service.request(4).value(u"messages").toArray();
    EXPECT_TRUE(prompt.last().toObject().value(u"content").toString().contains(u"¿estás?"));
}

} // namespace

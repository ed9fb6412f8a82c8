// SPDX-License-Identifier: Apache-2.0
#include "chat/ChatClient.h"
#include "ScriptedService.h"
#include "support/LoopbackServer.h"
#include "support/ManualClock.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>

#include <gtest/gtest.h>
#include <httplib.h>

#include <deque>
#include <mutex>
#include <thread>

using namespace quillo;
using namespace quillo::clienttest;

namespace {

using Outcome = Result<ChatClient::Turn, ApiError>;

// Lets the network do its part. The real-time cap only keeps a broken test from hanging.
bool pumpUntil(const std::function<bool()>& done) {
    QElapsedTimer guard;
    guard.start();
    while (!done()) {
        if (guard.elapsed() > 5000)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

class ChatClientTest : public ::testing::Test {
protected:
    ChatClientTest() {
        bot.displayName = QStringLiteral("Lucía");
        bot.targetLanguage = QStringLiteral("Spanish");
        profile.languages = {
            LanguageSettings(QStringLiteral("French")),
            LanguageSettings(QStringLiteral("Spanish"), CefrLevel::B1, ReplyLength::Chatty)};
    }

    // Starts a turn; the slot fills in when it ends.
    std::shared_ptr<std::optional<Outcome>> start(CancelToken cancel = {},
                                                  ChatClient* through = nullptr) {
        auto outcome = std::make_shared<std::optional<Outcome>>();
        [](QCoro::Task<Outcome> turn, std::shared_ptr<std::optional<Outcome>> into)
            -> QCoro::Task<> {
            into->emplace(co_await turn);
        }((through ? through : &client)
                ->reply(QStringLiteral("token"), bot, profile, {}, QStringLiteral("hola"), cancel),
            outcome);
        return outcome;
    }

    static bool ended(const std::shared_ptr<std::optional<Outcome>>& outcome) {
        return pumpUntil([&] { return outcome->has_value(); });
    }
    static const ProviderError& failure(const std::shared_ptr<std::optional<Outcome>>& outcome) {
        return *(*outcome)->error().provider();
    }

    // The service outlives the client side, whose connections must close first.
    ScriptedService service;
    ManualClock clock;
    QuilloAPI api{service.url()};
    ChatClient client{api, clock};
    BotProfile bot;
    UserProfile profile;
};

TEST_F(ChatClientTest, RequestsAreSpacedInTheOrderTheyCame) {
    const auto first = start();
    const auto second = start();
    ASSERT_TRUE(pumpUntil([&] { return service.received() == 1; }));
    clock.advance(599);
    EXPECT_EQ(clock.sleeping(), 1);
    EXPECT_EQ(service.received(), 1);
    clock.advance(1);
    ASSERT_TRUE(ended(first) && ended(second));
    EXPECT_EQ(service.received(), 2);
    ASSERT_TRUE((*first)->ok() && (*second)->ok());
    EXPECT_EQ((*second)->value().reply.text, u"¡Hola!");

    // Long after, a request goes out at once and holds off the next one for its own 0.6 s.
    clock.advance(10'000);
    const auto third = start();
    const auto fourth = start();
    EXPECT_EQ(clock.sleeping(), 1);
    ASSERT_TRUE(ended(third));
    clock.advance(600);
    ASSERT_TRUE(ended(fourth));
    EXPECT_EQ(service.received(), 4);
}

TEST_F(ChatClientTest, PassingTroubleIsTriedThreeTimesAndOtherFailuresOnce) {
    for (const int status : {429, 500}) {
        SCOPED_TRACE(status);
        const int before = service.received();
        service.script({{status, "busy"}, {status, "busy"}, {status, "still busy"}});
        const auto outcome = start();
        for (const qint64 wait : {1200, 2400}) {
            ASSERT_TRUE(pumpUntil([&] { return clock.sleeping() == 1; }));
            const int sent = service.received();
            clock.advance(wait - 1);
            EXPECT_EQ(service.received(), sent);
            EXPECT_EQ(clock.sleeping(), 1);
            clock.advance(1);
        }
        ASSERT_TRUE(ended(outcome));
        EXPECT_EQ(service.received(), before + 3);
        EXPECT_EQ(failure(outcome), (ProviderError{status, QStringLiteral("still busy")}));
        clock.advance(1000);
    }

    service.script({{400, "bad"}});
    const auto rejected = start();
    ASSERT_TRUE(ended(rejected));
    EXPECT_EQ(failure(rejected).status, 400);
    EXPECT_EQ(clock.sleeping(), 0);
    clock.advance(1000);

    // The model did answer, so asking again would only spend another reply.
    service.script({{200, answer(QStringLiteral("{\"remember\":\"x\"}"))}});
    const int before = service.received();
    const auto empty = start();
    ASSERT_TRUE(ended(empty));
    EXPECT_EQ(failure(empty), (ProviderError{200, QStringLiteral("Empty reply")}));
    EXPECT_EQ(service.received(), before + 1);
}

TEST_F(ChatClientTest, AnUnreachableServiceIsRetriedToo) {
    QTcpServer probe;
    ASSERT_TRUE(probe.listen(QHostAddress::LocalHost));
    const quint16 closedPort = probe.serverPort();
    probe.close();
    QuilloAPI nowhere(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(closedPort)));
    ChatClient lonely(nowhere, clock);

    const auto outcome = start({}, &lonely);
    for (const qint64 wait : {1200, 2400}) {
        ASSERT_TRUE(pumpUntil([&] { return clock.sleeping() == 1; }));
        clock.advance(wait);
    }
    ASSERT_TRUE(ended(outcome));
    EXPECT_FALSE(failure(outcome).status.has_value());
}

TEST_F(ChatClientTest, AnAnyLanguageContactGetsTheBudgetOfTheLanguageItSpeaks) {
    bot.targetLanguage = QStringLiteral("Any language");
    bot.speaking = QStringLiteral("Spanish");
    const auto outcome = start();
    ASSERT_TRUE(ended(outcome));
    ASSERT_TRUE((*outcome)->ok());
    EXPECT_EQ(service.request(0).value(QStringLiteral("maxTokens")).toInt(), 380);
    EXPECT_DOUBLE_EQ(service.request(0).value(QStringLiteral("temperature")).toDouble(), 0.6);
}

TEST_F(ChatClientTest, CancellingEndsTheTurnWithoutAnotherRequest) {
    CancelToken early;
    early.cancel();
    const auto never = start(early);
    ASSERT_TRUE(ended(never));
    EXPECT_EQ(failure(never), (ProviderError{std::nullopt, QStringLiteral("Cancelled")}));

    CancelToken cancel;
    service.script({{503, "down"}});
    const auto outcome = start(cancel);
    // A turn that never started took no slot: this one goes out at once.
    EXPECT_EQ(clock.sleeping(), 0);
    ASSERT_TRUE(pumpUntil([&] { return clock.sleeping() == 1; }));
    EXPECT_EQ(service.received(), 1);
    cancel.cancel();
    ASSERT_TRUE(ended(outcome));
    EXPECT_EQ(failure(outcome), (ProviderError{std::nullopt, QStringLiteral("Cancelled")}));
    clock.advance(10'000);
    EXPECT_EQ(service.received(), 1);
}

TEST_F(ChatClientTest, AYesInAShapeThatIsNoReplyIsNotAskedAgain) {
    // Another request would spend another of the user's replies.
    for (const std::string body : {"<html>not json</html>", "{\"content\":7}", "{}"}) {
        SCOPED_TRACE(body);
        const int before = service.received();
        service.script({{200, body}});
        const auto outcome = start();
        ASSERT_TRUE(ended(outcome));
        ASSERT_FALSE((*outcome)->ok());
        EXPECT_TRUE((*outcome)->error().decoding());
        EXPECT_EQ(service.received(), before + 1);
        clock.advance(10'000);
    }
}

} // namespace

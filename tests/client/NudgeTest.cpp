// SPDX-License-Identifier: Apache-2.0
#include "DeviceFixture.h"

#include <QFile>

#include <future>

using namespace quillo;
using namespace quillo::devicetest;

namespace {

constexpr qint64 minute = 60'000;
const QString lucia = QStringLiteral("lucia");
const QString polly = QStringLiteral("polly");

QCoro::Task<> marking(QCoro::Task<> task, std::shared_ptr<bool> done) {
    co_await std::move(task);
    *done = true;
}

// Passes of the scheduler against the real service in-process. The app's time is a manual
// clock that the tests move on while a turn waits; the delays are drawn by the test.
class NudgeTest : public DevicesTest {
protected:
    std::unique_ptr<Device> phone;
    SessionStore* session = nullptr;
    ChatRepository* repository = nullptr;
    QStringList errors;
    int mostTyping = 0;

    void SetUp() override {
        DevicesTest::SetUp();
        // Seven replies a day leave two for contacts that write first.
        config.dailyLimit = 7;
        restart();
    }

    void TearDown() override {
        phone.reset();
        DevicesTest::TearDown();
    }

    QString statePath() const { return phone->path(QStringLiteral("state.json")); }

    // Two contacts with empty chats, set up and allowed to write first.
    static StoredState quietChats() {
        StoredState seed;
        seed.profile.setupCompleted = true;
        seed.bots = {contact(lucia), contact(polly, QStringLiteral("French"))};
        seed.botsCanStartConversations = true;
        return seed;
    }

    // The phone with `seed` on disk, signed in without a first synchronisation.
    void open(const StoredState& seed) {
        phone = device(seed);
        session = phone->session.get();
        repository = phone->repository.get();
        Account account;
        account.email = QStringLiteral("ana@example.com");
        session->signedIn({ApiTest::signIn(account.email), account});
        repository->nudges().setDraw([](int) { return 0; });
        QObject::connect(repository, &ChatRepository::errorOccurred,
                         [this](const QString& line) { errors.append(line); });
        QObject::connect(repository, &ChatRepository::typingChanged,
                         [this](const QSet<QString>& typing) {
                             mostTyping = std::max(mostTyping, int(typing.size()));
                         });
    }

    std::shared_ptr<bool> launch(QCoro::Task<> task) {
        const auto done = std::make_shared<bool>(false);
        auto running = marking(std::move(task), done);
        return done;
    }

    // One pass at `now`, the app's clock set to it.
    void pass(qint64 now) {
        appClock.set(now);
        run(repository->nudges().run(now), true);
    }

    QList<ChatMessage> messages(const QString& botId) const {
        return repository->state().messagesFor(botId);
    }
    qint64 nextAt(const QString& botId) const {
        return repository->state().nextNudgeAt.value(botId, -1);
    }
};

TEST_F(NudgeTest, AContactWritesOnceItIsDueAndItsChatIsQuiet) {
    open(quietChats());
    // The first contact draws the shortest wait, the second the longest.
    int draws = 0;
    repository->nudges().setDraw([&draws](int highest) { return draws++ % 2 ? highest : 0; });
    const qint64 t0 = appClock.nowMillis();
    pass(t0);
    EXPECT_EQ(nextAt(lucia), t0 + 14 * minute);
    EXPECT_EQ(nextAt(polly), t0 + 32 * minute);
    EXPECT_TRUE(model.requests().isEmpty());
    EXPECT_TRUE(repository->state().messages.isEmpty());

    model.setDefault(ModelFixture::reply(QStringLiteral(R"({"message":"¿Qué tal tu día?"})")));
    repository->nudges().setDraw([](int highest) { return highest; });
    const qint64 t1 = t0 + 14 * minute;
    pass(t1);
    ASSERT_EQ(model.requests().size(), 1);
    const QList<ChatMessage> chat = messages(lucia);
    ASSERT_EQ(chat.size(), 1);
    EXPECT_EQ(chat[0].role, MessageRole::Assistant);
    EXPECT_EQ(chat[0].source, MessageSource::Provider);
    EXPECT_EQ(chat[0].text, u"¿Qué tal tu día?");
    EXPECT_EQ(nextAt(lucia), t1 + 165 * minute);
    EXPECT_EQ(nextAt(polly), t0 + 32 * minute);
    EXPECT_TRUE(messages(polly).isEmpty());

    // Polly's turn comes; Lucía waits out her next delay.
    pass(t0 + 32 * minute);
    EXPECT_EQ(model.requests().size(), 2);
    EXPECT_EQ(messages(lucia).size(), 1);
    EXPECT_EQ(messages(polly).size(), 1);
    EXPECT_TRUE(errors.isEmpty());
}

TEST_F(NudgeTest, SwitchedOffOrBeforeSetupAPassChangesNothing) {
    StoredState seed = quietChats();
    seed.botsCanStartConversations = false;
    seed.profile.setupCompleted = false;
    open(seed);
    QFile file(statePath());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray before = file.readAll();
    file.close();

    pass(appClock.nowMillis());
    repository->flush();
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), before);
    file.close();

    repository->editing().setBotsCanStartConversations(true);
    const StoredState switchedOn = repository->state();
    pass(appClock.nowMillis() + 1'000 * minute);
    EXPECT_EQ(repository->state(), switchedOn);
    EXPECT_TRUE(model.requests().isEmpty());
}

TEST_F(NudgeTest, TheDaysUsageLimitsHowManyWrite) {
    StoredState seed = quietChats();
    const qint64 now = appClock.nowMillis();
    seed.nextNudgeAt = {{lucia, now}, {polly, now - minute}};
    open(seed);
    // One reply used elsewhere: 7 - 1 - 5 leaves one. The session still holds a stale account
    // with the default allowance, so only a refreshed account gives that answer.
    ASSERT_EQ(post("/v1/reply", replyRequest(), *session->token()).status, 200);
    pass(now);

    EXPECT_EQ(model.requests().size(), 2);
    EXPECT_EQ(messages(lucia).size(), 1);
    EXPECT_TRUE(messages(polly).isEmpty());
    EXPECT_EQ(nextAt(lucia), now + 85 * minute);
    EXPECT_EQ(nextAt(polly), now + 85 * minute);
    EXPECT_EQ(session->account()->repliesToday, 2);
}

TEST_F(NudgeTest, ContactsWriteOneAfterTheOther) {
    StoredState seed = quietChats();
    const qint64 now = appClock.nowMillis();
    seed.nextNudgeAt = {{lucia, now}, {polly, now}};
    open(seed);
    model.hold();
    const auto done = launch(repository->nudges().run(now));
    auto held = std::async(std::launch::async, [this] { return model.waitForHeld(1); });
    spinUntil(
        [&held] { return held.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
        true);
    ASSERT_TRUE(held.get());
    EXPECT_EQ(repository->typing(), QSet<QString>{lucia});

    model.release();
    spinUntil([done] { return *done; }, true);
    EXPECT_EQ(model.requests().size(), 2);
    EXPECT_EQ(messages(lucia).size(), 1);
    EXPECT_EQ(messages(polly).size(), 1);
    EXPECT_EQ(mostTyping, 1);
}

TEST_F(NudgeTest, AFailedTurnAddsNothingAndIsNotRetriedBeforeTheNextDelay) {
    StoredState seed = quietChats();
    const qint64 now = appClock.nowMillis();
    seed.nextNudgeAt = {{lucia, now}, {polly, now + 200 * minute}};
    open(seed);
    model.setDefault(ModelFixture::status(500));
    pass(now);

    EXPECT_FALSE(model.requests().isEmpty());
    EXPECT_TRUE(repository->state().messages.isEmpty());
    EXPECT_EQ(nextAt(lucia), now + 85 * minute);
    EXPECT_EQ(errors, QStringList{QStringLiteral(
                          "Quillo didn't answer this time. No fake reply was added.")});

    const qsizetype asked = model.requests().size();
    pass(now + 84 * minute);
    EXPECT_EQ(model.requests().size(), asked);
}

TEST_F(NudgeTest, ASpentAllowanceDuringAPassIsSaidOnceAndAddsNothing) {
    StoredState seed = quietChats();
    const qint64 now = appClock.nowMillis();
    seed.nextNudgeAt = {{lucia, now}, {polly, now}};
    open(seed);
    model.setDefault(ModelFixture::reply(QStringLiteral(R"({"message":"¿Qué tal?"})")));
    appClock.set(now);
    const auto done = launch(repository->nudges().run(now));
    spinUntil([this] { return messages(lucia).size() == 1; });
    // Another device spends the rest of the day while the second contact waits for its slot.
    for (int i = 0; i < 6; ++i)
        ASSERT_EQ(post("/v1/reply", replyRequest(), *session->token()).status, 200);
    spinUntil([done] { return *done; }, true);

    EXPECT_TRUE(messages(polly).isEmpty());
    EXPECT_EQ(nextAt(polly), now + 85 * minute);
    EXPECT_EQ(errors,
              QStringList{QStringLiteral("You've used today's replies. More arrive tomorrow.")});
    // Refreshed before the line, so the allowance on screen is current.
    EXPECT_EQ(session->account()->repliesToday, 7);
}

} // namespace

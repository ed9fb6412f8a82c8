#include "DeviceFixture.h"

#include <QFile>

using namespace quillo;
using namespace quillo::devicetest;

namespace {

const QString ana = QStringLiteral("ana@example.com");

StoredState seeded() {
    StoredState seed;
    seed.profile.displayName = QStringLiteral("Ana");
    seed.profile.setupCompleted = true;
    seed.bots = {contact(QStringLiteral("lucia")),
                 contact(QStringLiteral("kenji"), QStringLiteral("Japanese"))};
    return seed.withSyncedLanguages();
}

// Two devices of one person, both signed in and in step with the service.
class SyncTest : public DevicesTest {
protected:
    std::unique_ptr<Device> first;
    std::unique_ptr<Device> second;

    void SetUp() override {
        DevicesTest::SetUp();
        first = device(seeded());
        second = device();
        signIn(*first, ana);
        signIn(*second, ana);
        // The very first upload of the account says it builds on nothing.
        ASSERT_FALSE(watched->uploads().empty());
        EXPECT_EQ(watched->uploads().front().base, 0);
        watched->forget();
    }

    void TearDown() override {
        first.reset();
        second.reset();
        DevicesTest::TearDown();
    }

    void rename(Device& device, const QString& id, const QString& name) {
        BotProfile bot = *device.state().bot(id);
        bot.displayName = name;
        device.repository->saveBot(bot);
    }
};

TEST_F(SyncTest, SigningInBringsTheAccountsDocumentAndSendsWhatOnlyThisDeviceHad) {
    EXPECT_EQ(second->projection(), first->projection());
    EXPECT_EQ(second->state().bots.size(), 2);
    const std::optional<StoredState> served = this->served(*first->session->token());
    ASSERT_TRUE(served);
    EXPECT_EQ(*served, first->projection());
    EXPECT_TRUE(QFile::exists(first->path(QStringLiteral("sync-base.json"))));
}

TEST_F(SyncTest, OneUploadFollowsTheLastChangeOfABurstAfterFiveQuietSeconds) {
    rename(*first, QStringLiteral("lucia"), QStringLiteral("Lucía"));
    appClock.advance(3'000);
    rename(*first, QStringLiteral("lucia"), QStringLiteral("Lucía M."));
    appClock.advance(4'999);
    spinUntil([this] { return !first->repository->isSynchronising(); });
    EXPECT_TRUE(watched->uploads().empty());
    appClock.advance(1);
    spinUntil([this] { return !first->repository->isSynchronising(); });
    ASSERT_EQ(watched->uploads().size(), 1u);
    EXPECT_TRUE(watched->uploads()[0].stored);
    EXPECT_EQ(served(*first->session->token())->bot(QStringLiteral("lucia"))->displayName,
              u"Lucía M.");

    // A change undone before the quiet period ends leaves nothing to send.
    rename(*first, QStringLiteral("lucia"), QStringLiteral("Lucía"));
    appClock.advance(1'000);
    rename(*first, QStringLiteral("lucia"), QStringLiteral("Lucía M."));
    settle(*first);
    EXPECT_EQ(watched->uploads().size(), 1u);
}

TEST_F(SyncTest, ARefreshBringsInWhatTheOtherDeviceChangedAndAskingAgainChangesNothing) {
    rename(*first, QStringLiteral("kenji"), QStringLiteral("Kenji-san"));
    first->repository->addUserMessage(QStringLiteral("kenji"), QStringLiteral("こんにちは"));
    settle(*first);

    run(second->repository->refresh());
    EXPECT_EQ(second->state().bot(QStringLiteral("kenji"))->displayName, u"Kenji-san");
    EXPECT_EQ(second->state().messagesFor(QStringLiteral("kenji")).size(), 1);
    EXPECT_EQ(second->projection(), first->projection());

    const qint64 syncedAt = second->session->syncedAt();
    const auto fingerprint = second->session->syncedFingerprint();
    const StoredState before = second->state();
    run(second->repository->refresh());
    EXPECT_EQ(second->state(), before);
    EXPECT_EQ(second->session->syncedAt(), syncedAt);
    EXPECT_EQ(second->session->syncedFingerprint(), fingerprint);
}

TEST_F(SyncTest, ARemovedContactStaysRemovedWithItsMessagesOnEveryDevice) {
    second->repository->addUserMessage(QStringLiteral("lucia"), QStringLiteral("hola"));
    settle(*second);
    run(first->repository->refresh());
    ASSERT_EQ(first->state().messagesFor(QStringLiteral("lucia")).size(), 1);

    first->repository->removeBots({QStringLiteral("lucia")});
    settle(*first);
    run(second->repository->refresh());
    settle(*second);
    run(first->repository->refresh());
    for (const Device* each : {first.get(), second.get()}) {
        EXPECT_FALSE(each->state().bot(QStringLiteral("lucia")));
        EXPECT_TRUE(each->state().messagesFor(QStringLiteral("lucia")).isEmpty());
        EXPECT_EQ(each->state().profile.languages.size(), 1);
    }
    EXPECT_EQ(first->projection(), second->projection());
}

TEST_F(SyncTest, AStaleUploadIsMergedAndSentOnceMore) {
    rename(*second, QStringLiteral("kenji"), QStringLiteral("Kenji-san"));
    settle(*second);
    watched->forget();

    first->repository->addUserMessage(QStringLiteral("lucia"), QStringLiteral("hola"));
    settle(*first);
    const auto uploads = watched->uploads();
    ASSERT_EQ(uploads.size(), 2u);
    EXPECT_FALSE(uploads[0].stored);
    EXPECT_TRUE(uploads[1].stored);
    EXPECT_GT(uploads[1].base, uploads[0].base);
    const StoredState served = *this->served(*first->session->token());
    EXPECT_EQ(served.bot(QStringLiteral("kenji"))->displayName, u"Kenji-san");
    EXPECT_EQ(served.messagesFor(QStringLiteral("lucia")).size(), 1);
    EXPECT_EQ(served, first->projection());
}

TEST_F(SyncTest, ASecondRefusalIsOnlyLoggedAndTheDocumentStays) {
    watched->refuseUploads = true;
    rename(*first, QStringLiteral("lucia"), QStringLiteral("Lucía"));
    const StoredState edited = first->state();
    const qint64 syncedAt = first->session->syncedAt();
    settle(*first);
    EXPECT_EQ(watched->uploads().size(), 2u);
    EXPECT_EQ(first->state(), edited);
    EXPECT_EQ(first->session->syncedAt(), syncedAt);
    EXPECT_TRUE(first->session->token());

    // The next trigger tries again.
    watched->refuseUploads = false;
    run(first->repository->sync(false));
    EXPECT_EQ(served(*first->session->token())->bot(QStringLiteral("lucia"))->displayName,
              u"Lucía");
}

TEST_F(SyncTest, AFailedAccountCheckStillSyncsButAnEndedSessionStopsIt) {
    rename(*second, QStringLiteral("lucia"), QStringLiteral("Lucía"));
    settle(*second);
    watched->countersDown = true;
    run(first->repository->refresh());
    EXPECT_EQ(first->state().bot(QStringLiteral("lucia"))->displayName, u"Lucía");
    EXPECT_TRUE(first->session->token());
    watched->countersDown = false;

    const qint64 syncedAt = first->session->syncedAt();
    first->session->update(*first->session->account(), QStringLiteral("no-longer-valid"));
    rename(*second, QStringLiteral("lucia"), QStringLiteral("Lucía M."));
    settle(*second);
    run(first->repository->refresh());
    EXPECT_FALSE(first->session->token());
    EXPECT_EQ(first->session->owner(), ana);
    EXPECT_EQ(first->session->syncedAt(), syncedAt);
    EXPECT_EQ(first->state().bot(QStringLiteral("lucia"))->displayName, u"Lucía");
    EXPECT_TRUE(QFile::exists(first->path(QStringLiteral("sync-base.json"))));
}

TEST_F(SyncTest, AFailedDownloadLeavesTheDocumentAsItIs) {
    rename(*second, QStringLiteral("lucia"), QStringLiteral("Lucía"));
    settle(*second);
    watched->forget();
    watched->documentsDown = true;
    const StoredState before = first->state();
    run(first->repository->refresh());
    EXPECT_EQ(first->state(), before);
    // The upload waits for a download that worked.
    EXPECT_TRUE(watched->uploads().empty());
    EXPECT_TRUE(first->session->token());
}

TEST_F(SyncTest, WithoutATrustworthyBaseADownloadKeepsEverything) {
    // A damaged base cannot say what was removed, so nothing is.
    second->repository->removeBots({QStringLiteral("kenji")});
    settle(*second);
    QFile base(first->path(QStringLiteral("sync-base.json")));
    ASSERT_TRUE(base.open(QIODevice::WriteOnly | QIODevice::Truncate));
    base.write("{}");
    base.close();
    auto restarted =
        std::make_unique<ChatRepository>(*first->store, *first->session, *first->api, appClock);
    first->repository = std::move(restarted);
    run(first->repository->refresh());
    EXPECT_TRUE(first->state().bot(QStringLiteral("kenji")));
}

} // namespace

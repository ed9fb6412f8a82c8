// SPDX-License-Identifier: Apache-2.0
#include "DeviceFixture.h"

#include <QFile>
#include <QThreadPool>

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
        device.repository->editing().saveBot(bot);
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
    first->repository->conversation().addUserMessage(QStringLiteral("kenji"),
                                                     QStringLiteral("こんにちは"));
    settle(*first);

    run(second->repository->synchronisation().refresh());
    EXPECT_EQ(second->state().bot(QStringLiteral("kenji"))->displayName, u"Kenji-san");
    EXPECT_EQ(second->state().messagesFor(QStringLiteral("kenji")).size(), 1);
    EXPECT_EQ(second->projection(), first->projection());

    const qint64 syncedAt = second->session->syncedAt();
    const auto fingerprint = second->session->syncedFingerprint();
    const StoredState before = second->state();
    run(second->repository->synchronisation().refresh());
    EXPECT_EQ(second->state(), before);
    EXPECT_EQ(second->session->syncedAt(), syncedAt);
    EXPECT_EQ(second->session->syncedFingerprint(), fingerprint);
}

TEST_F(SyncTest, ARemovedContactStaysRemovedWithItsMessagesOnEveryDevice) {
    second->repository->conversation().addUserMessage(QStringLiteral("lucia"),
                                                      QStringLiteral("hola"));
    settle(*second);
    run(first->repository->synchronisation().refresh());
    ASSERT_EQ(first->state().messagesFor(QStringLiteral("lucia")).size(), 1);

    first->repository->editing().removeBots({QStringLiteral("lucia")});
    settle(*first);
    run(second->repository->synchronisation().refresh());
    settle(*second);
    run(first->repository->synchronisation().refresh());
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

    first->repository->conversation().addUserMessage(QStringLiteral("lucia"),
                                                     QStringLiteral("hola"));
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
    run(first->repository->synchronisation().sync(false));
    EXPECT_EQ(served(*first->session->token())->bot(QStringLiteral("lucia"))->displayName,
              u"Lucía");
}

TEST_F(SyncTest, AFailedAccountCheckStillSyncsButAnEndedSessionStopsIt) {
    rename(*second, QStringLiteral("lucia"), QStringLiteral("Lucía"));
    settle(*second);
    watched->countersDown = true;
    run(first->repository->synchronisation().refresh());
    EXPECT_EQ(first->state().bot(QStringLiteral("lucia"))->displayName, u"Lucía");
    EXPECT_TRUE(first->session->token());
    watched->countersDown = false;

    const qint64 syncedAt = first->session->syncedAt();
    first->session->update(*first->session->account(), QStringLiteral("no-longer-valid"));
    rename(*second, QStringLiteral("lucia"), QStringLiteral("Lucía M."));
    settle(*second);
    run(first->repository->synchronisation().refresh());
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
    run(first->repository->synchronisation().refresh());
    EXPECT_EQ(first->state(), before);
    // The upload waits for a download that worked.
    EXPECT_TRUE(watched->uploads().empty());
    EXPECT_TRUE(first->session->token());
}

TEST_F(SyncTest, WithoutATrustworthyBaseADownloadKeepsEverything) {
    // A damaged base cannot say what was removed, so nothing is.
    second->repository->editing().removeBots({QStringLiteral("kenji")});
    settle(*second);
    for (const QString& name :
         {QStringLiteral("sync-base.json"), QStringLiteral("sync-base.1.json")}) {
        QFile base(first->path(name));
        ASSERT_TRUE(base.open(QIODevice::WriteOnly | QIODevice::Truncate));
        base.write("{}");
    }
    auto restarted =
        std::make_unique<ChatRepository>(*first->store, *first->session, *first->api, appClock);
    first->repository = std::move(restarted);
    run(first->repository->synchronisation().refresh());
    EXPECT_TRUE(first->state().bot(QStringLiteral("kenji")));
}

} // namespace

namespace {

// A device comes back without its document, in each way the store starts afresh: the file
// deleted, damaged (set aside), or of an earlier release (set aside).
enum class Loss { Deleted, Damaged, EarlierFormat };

void lose(Device& device, Loss loss) {
    device.stop();
    const QString path = device.path(QStringLiteral("state.json"));
    QFile::remove(path);
    if (loss != Loss::Deleted) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(loss == Loss::Damaged ? QByteArray("{\"profile\": {\"displayName\"")
                                         : QByteArray("{\"provider\":\"old\",\"bots\":[]}"));
    }
    device.start();
}

} // namespace

TEST_F(SyncTest, ADeviceThatLostItsDocumentGetsEverythingBackAndWipesNothing) {
    for (const Loss loss : {Loss::Deleted, Loss::Damaged, Loss::EarlierFormat}) {
        SCOPED_TRACE(int(loss));
        second->repository->conversation().addUserMessage(QStringLiteral("lucia"),
                                                          QStringLiteral("hola"));
        settle(*second);
        run(first->repository->synchronisation().refresh());
        const StoredState everything = first->projection();

        ASSERT_NO_FATAL_FAILURE(lose(*first, loss));
        EXPECT_TRUE(first->state().bots.isEmpty());
        EXPECT_EQ(first->session->syncedAt(), 0);
        run(first->repository->synchronisation().refresh());
        settle(*first);
        run(second->repository->synchronisation().refresh());
        for (const Device* each : {first.get(), second.get()}) {
            EXPECT_EQ(each->projection(), everything);
            EXPECT_TRUE(each->state().profile.setupCompleted);
        }
        EXPECT_EQ(*served(*first->session->token()), everything);
    }
}

TEST_F(SyncTest, TheServiceRefusesToUndoASetupAndTheDeviceMergesInstead) {
    second->repository->conversation().addUserMessage(QStringLiteral("lucia"),
                                                      QStringLiteral("hola"));
    settle(*second);
    const StoredState everything = second->projection();
    // A document that is not set up, with a record that claims it is the account's latest copy:
    // what a device whose document started afresh without noticing would hold.
    first->stop();
    {
        StateStore store(first->path(QStringLiteral("state.json")));
        store.save(StoredState{});
        ASSERT_TRUE(store.flush());
    }
    first->start();
    first->session->synced(second->session->syncedAt(), second->session->syncedFingerprint());
    for (const QString& name :
         {QStringLiteral("sync-base.json"), QStringLiteral("sync-base.1.json")}) {
        QFile::remove(first->path(name));
        QFile::copy(second->path(name), first->path(name));
    }
    watched->forget();

    run(first->repository->synchronisation().sync(false));
    EXPECT_TRUE(watched->uploads().empty()); // refused before it reached the storage
    EXPECT_EQ(first->projection(), everything);
    EXPECT_EQ(*served(*first->session->token()), everything);
}

TEST_F(SyncTest, NothingIsRecordedAsSynchronisedBeforeTheMergedDocumentIsOnDisk) {
    second->repository->conversation().addUserMessage(QStringLiteral("lucia"),
                                                      QStringLiteral("hola"));
    rename(*second, QStringLiteral("kenji"), QStringLiteral("Kenji-san"));
    settle(*second);

    // The merge is made, but its save is held: the record must wait for it.
    const qint64 syncedAt = first->session->syncedAt();
    first->disk->set(DiskGate::Mode::Held);
    auto refreshing = first->repository->synchronisation().refresh();
    spinUntil([this] { return first->state().messagesFor(QStringLiteral("lucia")).size() == 1; });
    // Whatever would follow the merge without waiting for the disk has its chance to.
    for (int i = 0; i < 20; ++i) {
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(first->session->syncedAt(), syncedAt);

    // Killed there: the disk never got the merge, and the record says so.
    first->kill();
    first->start();
    EXPECT_TRUE(first->state().messagesFor(QStringLiteral("lucia")).isEmpty());
    run(first->repository->synchronisation().refresh());
    settle(*first);
    run(second->repository->synchronisation().refresh());
    for (const Device* each : {first.get(), second.get()}) {
        EXPECT_EQ(each->state().messagesFor(QStringLiteral("lucia")).size(), 1);
        EXPECT_EQ(each->state().bot(QStringLiteral("kenji"))->displayName, u"Kenji-san");
    }
}

TEST_F(SyncTest, ForgettingTheAccountKeepsTheOwnerUntilTheEmptiedDocumentIsOnDisk) {
    // The emptied document cannot be written: the chats stay in the file, and so does the owner,
    // so the next person to sign in here has them reset first.
    first->disk->set(DiskGate::Mode::Dead);
    first->repository->accounts().forgetAccount();
    EXPECT_FALSE(first->session->token());
    EXPECT_EQ(first->session->owner(), ana);
    first->kill();
    first->start();
    ASSERT_EQ(first->state().bots.size(), 2);
    signIn(*first, QStringLiteral("bob@example.com"));
    EXPECT_TRUE(first->state().bots.isEmpty());
    EXPECT_TRUE(served(*first->session->token())->bots.isEmpty());

    // Written: the file is empty of chats by the time the owner is gone.
    first->repository->accounts().forgetAccount();
    EXPECT_FALSE(first->session->owner());
    StateStore onDisk(first->path(QStringLiteral("state.json")));
    EXPECT_TRUE(onDisk.load().bots.isEmpty());
}

TEST_F(SyncTest, ARecordBehindTheDocumentOnDiskCatchesUpAtStart) {
    second->repository->conversation().addUserMessage(QStringLiteral("kenji"),
                                                      QStringLiteral("hola"));
    settle(*second);

    // Killed after the merged document reached the disk, before the record caught up with it:
    // the write waits while the merge is applied, then goes through with the event loop still,
    // so nothing can move the record on in between.
    const qint64 before = first->session->syncedAt();
    first->disk->set(DiskGate::Mode::Held);
    first->repository->synchronisation().refresh();
    spinUntil([this] { return first->state().messagesFor(QStringLiteral("kenji")).size() == 1; });
    first->disk->set(DiskGate::Mode::Open);
    ASSERT_TRUE(first->store->flush());
    EXPECT_EQ(first->session->syncedAt(), before);
    first->kill();
    first->start();
    ASSERT_TRUE(first->state().syncMark);
    EXPECT_EQ(first->session->syncedAt(), first->state().syncMark->syncedAt);
    EXPECT_EQ(first->session->syncedFingerprint(), first->state().syncMark->fingerprint);

    // Merging against the right base, a removal on the other device sticks.
    second->repository->editing().removeBots({QStringLiteral("kenji")});
    settle(*second);
    run(first->repository->synchronisation().refresh());
    EXPECT_FALSE(first->state().bot(QStringLiteral("kenji")));
}

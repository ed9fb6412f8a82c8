// SPDX-License-Identifier: Apache-2.0
#include "DeviceFixture.h"

#include <QFile>

using namespace quillo;
using namespace quillo::devicetest;

namespace {

const QString ana = QStringLiteral("ana@example.com");
const QString ben = QStringLiteral("ben@example.com");
const QString sessionEnded = QStringLiteral("no-longer-valid");

StoredState withContacts(const QStringList& ids) {
    StoredState seed;
    seed.profile.displayName = QStringLiteral("Ana");
    seed.profile.setupCompleted = true;
    for (const QString& id : ids)
        seed.bots.append(contact(id));
    seed.theme = ThemeChoice::Dark;
    return seed.withSyncedLanguages();
}

class AccountFlowsTest : public DevicesTest {
protected:
    std::unique_ptr<Device> laptop;

    void SetUp() override {
        DevicesTest::SetUp();
        laptop = device(withContacts({QStringLiteral("lucia")}));
    }
    void TearDown() override {
        laptop.reset();
        DevicesTest::TearDown();
    }

    // What the service holds for `email`, read with a session of its own.
    StoredState servedFor(const QString& email) {
        return served(ApiTest::signIn(email)).value_or(StoredState());
    }

    QStringList contactIds(const StoredState& state) const {
        QStringList ids;
        for (const BotProfile& bot : state.bots)
            ids.append(bot.id);
        return ids;
    }

    bool hasBase() const { return QFile::exists(laptop->path(QStringLiteral("sync-base.json"))); }
};

TEST_F(AccountFlowsTest, AReturningOwnerKeepsEverythingAndSendsWhatChangedMeanwhile) {
    signIn(*laptop, ana);
    EXPECT_EQ(laptop->repository->account()->email, ana);
    EXPECT_FALSE(laptop->repository->accounts().returningEmail());

    laptop->session->update(*laptop->session->account(), sessionEnded);
    run(laptop->repository->synchronisation().refresh());
    EXPECT_EQ(laptop->repository->accounts().returningEmail(), ana);
    EXPECT_FALSE(laptop->repository->account());
    // Written while the session had ended: nothing goes up, nothing is lost.
    laptop->repository->conversation().addUserMessage(QStringLiteral("lucia"),
                                                      QStringLiteral("hola"));
    settle(*laptop);

    signIn(*laptop, ana);
    EXPECT_EQ(contactIds(laptop->state()), QStringList{QStringLiteral("lucia")});
    EXPECT_EQ(laptop->state().messages.size(), 1);
    EXPECT_EQ(servedFor(ana).messages.size(), 1);
    EXPECT_EQ(laptop->state().theme, ThemeChoice::Dark);
}

TEST_F(AccountFlowsTest, SomeoneElseSigningInNeverSeesOrReceivesThePreviousPersonsData) {
    signIn(*laptop, ana);
    laptop->session->update(*laptop->session->account(), sessionEnded);
    run(laptop->repository->synchronisation().refresh());

    auto other = device(withContacts({QStringLiteral("olga")}));
    signIn(*other, ben);
    signIn(*laptop, ben);
    EXPECT_EQ(contactIds(laptop->state()), QStringList{QStringLiteral("olga")});
    EXPECT_EQ(contactIds(servedFor(ben)), QStringList{QStringLiteral("olga")});
    EXPECT_EQ(laptop->session->owner(), ben);
    // This device's preferences are not personal content.
    EXPECT_EQ(laptop->state().theme, ThemeChoice::Dark);
    // Ana's copy on the service is hers, untouched.
    EXPECT_EQ(contactIds(servedFor(ana)), QStringList{QStringLiteral("lucia")});
}

TEST_F(AccountFlowsTest, AFailedSignInLeavesNobodySignedIn) {
    watched->documentsDown = true;
    const auto outcome = run(laptop->repository->accounts().signInWithCode(invite(ana)));
    ASSERT_FALSE(outcome.ok());
    EXPECT_EQ(AccountFlows::failureLine(outcome.error()),
              u"Quillo couldn't sign you in. Try again.");
    EXPECT_FALSE(laptop->repository->account());
    EXPECT_FALSE(SessionStore(laptop->path(QStringLiteral("session.json"))).token());
    watched->documentsDown = false;

    const auto wrong =
        run(laptop->repository->accounts().signInWithCode(QStringLiteral("WRONG-CODE")));
    ASSERT_FALSE(wrong.ok());
    EXPECT_EQ(AccountFlows::failureLine(wrong.error()), u"Quillo couldn't sign you in. Try again.");

    // Spaces and a line break around a pasted code do not matter.
    const auto pasted = run(
        laptop->repository->accounts().signInWithCode(QStringLiteral("  ") + invite(ana) + u'\n'));
    EXPECT_TRUE(pasted.ok());

    QuilloAPI nowhere(QUrl(QStringLiteral("http://127.0.0.1:9")));
    ChatRepository offline(*laptop->store, *laptop->session, nowhere, appClock);
    const auto unreachable = run(offline.accounts().signInWithCode(invite(ana)));
    ASSERT_FALSE(unreachable.ok());
    EXPECT_EQ(AccountFlows::failureLine(unreachable.error()),
              u"Couldn't reach Quillo. Check your connection and try again.");
}

TEST_F(AccountFlowsTest, SigningOutSendsTheLastChangesAndKeepsOnlyThisDevicesPreferences) {
    signIn(*laptop, ana);
    laptop->repository->conversation().addUserMessage(QStringLiteral("lucia"),
                                                      QStringLiteral("adiós"));
    const QString token = laptop->session->token().value_or(QString());
    ASSERT_EQ(get("/v1/account", token).status, 200);
    run(laptop->repository->accounts().signOut());
    // The token is over on the service too, not only forgotten here.
    EXPECT_EQ(get("/v1/account", token).status, 401);
    EXPECT_EQ(servedFor(ana).messages.size(), 1);
    EXPECT_EQ(laptop->state(), withContacts({}).signedOut());
    EXPECT_FALSE(laptop->repository->account());
    EXPECT_FALSE(laptop->repository->accounts().returningEmail());
    EXPECT_FALSE(hasBase());
    laptop->repository->flush();
    EXPECT_EQ(StateStore(laptop->path(QStringLiteral("state.json")), appClock).load().bots.size(),
              0);
}

TEST_F(AccountFlowsTest, SigningOutOfflineStillForgetsTheAccountHere) {
    signIn(*laptop, ana);
    const QString token = laptop->session->token().value_or(QString());
    QuilloAPI nowhere(QUrl(QStringLiteral("http://127.0.0.1:9")));
    ChatRepository offline(*laptop->store, *laptop->session, nowhere, appClock);
    run(offline.accounts().signOut());
    EXPECT_FALSE(laptop->session->token());
    EXPECT_FALSE(offline.account());
    // The service never heard of it: the session lives on there until it sits idle too long.
    EXPECT_EQ(get("/v1/account", token).status, 200);
}

TEST_F(AccountFlowsTest, DeletingTheAccountForgetsItOnlyWhenTheServiceDid) {
    signIn(*laptop, ana);
    const StoredState before = laptop->state();
    watched->deletionsDown = true;
    const auto refused = run(laptop->repository->accounts().deleteAccount());
    watched->deletionsDown = false;
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(laptop->state(), before);
    EXPECT_TRUE(laptop->repository->account());
    EXPECT_TRUE(hasBase());

    const auto deleted = run(laptop->repository->accounts().deleteAccount());
    ASSERT_TRUE(deleted.ok());
    EXPECT_FALSE(laptop->repository->account());
    EXPECT_FALSE(laptop->repository->accounts().returningEmail());
    EXPECT_FALSE(hasBase());
    EXPECT_TRUE(laptop->state().bots.isEmpty());
}

} // namespace

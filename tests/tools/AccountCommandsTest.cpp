// SPDX-License-Identifier: Apache-2.0
#include "ServerProcess.h"
#include "ToolRunner.h"

#include "model/StarterBots.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"

using namespace quillo;
using namespace quillo::server;
using namespace quillo::tooltest;

namespace {

// Two installations of the app on one computer, told apart by their support directories, and
// one real service for both.
class AccountCommands : public ::testing::Test {
protected:
    QTemporaryDir laptop;
    QTemporaryDir desktop;
    ServerProcess server;
    SystemClock clock;

    void SetUp() override {
        ASSERT_TRUE(laptop.isValid() && desktop.isValid());
        server.model.setDefault(
            ModelFixture::reply(QStringLiteral(R"({"message":"¡Hola, Ana!"})")));
        qputenv("QUILLO_API_URL", server.url().toUtf8());
    }
    void TearDown() override {
        qunsetenv("QUILLO_SUPPORT_DIR");
        qunsetenv("QUILLO_API_URL");
    }

    ToolRun on(const QTemporaryDir& device, const QStringList& arguments) {
        qputenv("QUILLO_SUPPORT_DIR", device.path().toUtf8());
        return runQuilloTool(arguments);
    }

    StoredState stateOf(const QTemporaryDir& device) const {
        return StateStore(device.filePath(QStringLiteral("state.json")), clock).load();
    }

    void seed(const QTemporaryDir& device, const StoredState& state) {
        StateStore store(device.filePath(QStringLiteral("state.json")), clock);
        store.save(state);
        store.flush();
    }
};

TEST_F(AccountCommands, AConversationOnOneDeviceReachesTheOtherThroughTheService) {
    const QString code = server.invite(QStringLiteral("ana@example.com"));
    server.start();
    const ToolRun onboarded =
        on(laptop, {QStringLiteral("onboard"), QStringLiteral("--name"), QStringLiteral("Ana"),
                    QStringLiteral("--native"), QStringLiteral("English"),
                    QStringLiteral("--language"), QStringLiteral("Spanish")});
    ASSERT_EQ(onboarded.exitCode, 0) << onboarded.err.toStdString();
    // "NAME (Spanish)", one line for the one starter contact.
    const QString contactName =
        QString::fromUtf8(onboarded.out).section(QStringLiteral(" ("), 0, 0);
    ASSERT_FALSE(contactName.isEmpty());

    const ToolRun laptopIn =
        on(laptop, {QStringLiteral("sign-in"), QStringLiteral("--code"), code});
    EXPECT_EQ(laptopIn.exitCode, 0) << laptopIn.err.toStdString();
    EXPECT_EQ(laptopIn.out, "Signed in as ana@example.com.\n");
    const ToolRun desktopIn =
        on(desktop, {QStringLiteral("sign-in"), QStringLiteral("--code"), code});
    EXPECT_EQ(desktopIn.exitCode, 0) << desktopIn.err.toStdString();
    EXPECT_EQ(stateOf(desktop).bots.size(), 1);

    const ToolRun said = on(laptop, {QStringLiteral("say"), QStringLiteral("--bot"), contactName,
                                     QStringLiteral("hola")});
    EXPECT_EQ(said.exitCode, 0) << said.err.toStdString();
    const ToolRun synced = on(desktop, {QStringLiteral("sync")});
    EXPECT_EQ(synced.exitCode, 0) << synced.err.toStdString();
    EXPECT_EQ(synced.out, "In step: 1 contacts, 2 messages.\n");

    const StoredState second = stateOf(desktop);
    ASSERT_EQ(second.messages.size(), 2);
    EXPECT_EQ(second.messages.at(0).text, u"hola");
    EXPECT_EQ(second.messages.at(1).text, u"¡Hola, Ana!");
    EXPECT_EQ(second.forAccount(), stateOf(laptop).forAccount());

    // Signing out takes the chats off this computer; the account keeps them.
    const ToolRun out = on(desktop, {QStringLiteral("sign-out")});
    EXPECT_EQ(out.exitCode, 0) << out.err.toStdString();
    EXPECT_TRUE(stateOf(desktop).messages.isEmpty());
    EXPECT_FALSE(QFile::exists(desktop.filePath(QStringLiteral("sync-base.json"))));
    EXPECT_FALSE(SessionStore(desktop.filePath(QStringLiteral("session.json"))).owner());
    EXPECT_EQ(on(laptop, {QStringLiteral("sync")}).exitCode, 0);
    EXPECT_EQ(stateOf(laptop).messages.size(), 2);
}

TEST_F(AccountCommands, FailuresSayWhatToDo) {
    server.start();
    const ToolRun notSignedIn = on(laptop, {QStringLiteral("sync")});
    EXPECT_EQ(notSignedIn.exitCode, 2);
    EXPECT_TRUE(notSignedIn.err.contains("not signed in")) << notSignedIn.err.toStdString();

    const ToolRun wrongCode =
        on(laptop, {QStringLiteral("sign-in"), QStringLiteral("--code"), QStringLiteral("NOPE")});
    EXPECT_EQ(wrongCode.exitCode, 1);
    EXPECT_EQ(wrongCode.err, "Quillo couldn't sign you in. Try again.\n");
    EXPECT_EQ(on(laptop, {QStringLiteral("sign-in")}).exitCode, 2);

    qputenv("QUILLO_API_URL", "http://127.0.0.1:9");
    const ToolRun unreachable = on(laptop, {QStringLiteral("sign-in"), QStringLiteral("--code"),
                                            server.invite(QStringLiteral("ana@example.com"))});
    EXPECT_EQ(unreachable.exitCode, 1);
    EXPECT_EQ(unreachable.err, "Couldn't reach Quillo. Check your connection and try again.\n");
}

TEST_F(AccountCommands, ANudgePassFirstSchedulesThenLetsAQuietContactWrite) {
    StoredState quiet;
    quiet.profile.setupCompleted = true;
    quiet.botsCanStartConversations = true;
    quiet.bots = {StarterBots::forLanguage(QStringLiteral("Spanish"), {}, 0)};
    quiet.bots[0].displayName = QStringLiteral("Lucía");
    seed(laptop, quiet.withSyncedLanguages());
    const QString code = server.invite(QStringLiteral("ana@example.com"));
    server.start();
    ASSERT_EQ(on(laptop, {QStringLiteral("sign-in"), QStringLiteral("--code"), code}).exitCode, 0);

    const ToolRun first = on(laptop, {QStringLiteral("nudge")});
    EXPECT_EQ(first.exitCode, 1);
    EXPECT_TRUE(first.err.contains("no contact wrote")) << first.err.toStdString();
    StoredState scheduled = stateOf(laptop);
    ASSERT_EQ(scheduled.nextNudgeAt.size(), 1);

    // As if the first delay had passed.
    scheduled.nextNudgeAt[scheduled.bots[0].id] = 0;
    seed(laptop, scheduled);
    const ToolRun second = on(laptop, {QStringLiteral("nudge")});
    EXPECT_EQ(second.exitCode, 0) << second.err.toStdString();
    EXPECT_EQ(QString::fromUtf8(second.out), u"Lucía: ¡Hola, Ana!\n");
    EXPECT_EQ(stateOf(laptop).messages.size(), 1);
}

} // namespace

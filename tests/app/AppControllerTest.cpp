// SPDX-License-Identifier: Apache-2.0
#include "models/AppController.h"
#include "server/ServerTestSupport.h"
#include "support/ManualClock.h"

using namespace quillo;
using namespace quillo::server::apitest;

namespace {

// Records what the controller asks of the desktop.
struct RecordingShell final : AppShell {
    int windowShown = 0;
    QList<int> unread;
    QList<NotificationPayload> notifications;

    void showMainWindow() override { ++windowShown; }
    void setUnread(int count) override { unread.append(count); }
    void showNotification(const NotificationPayload& payload) override {
        notifications.append(payload);
    }
};

// The controller as the application builds it, its support directory and service named by the
// environment, against the real service in-process.
class AppControllerTest : public ApiTest {
protected:
    QTemporaryDir support;
    ManualClock appClock;
    RecordingShell shell;

    void SetUp() override {
        ApiTest::SetUp();
        qputenv("QUILLO_SUPPORT_DIR", support.path().toUtf8());
        qputenv("QUILLO_API_URL", QStringLiteral("http://127.0.0.1:%1").arg(port()).toUtf8());
    }
    void TearDown() override {
        qunsetenv("QUILLO_SUPPORT_DIR");
        qunsetenv("QUILLO_API_URL");
        ApiTest::TearDown();
    }

    // Set up, with one contact whose last message is unread; signed in when asked.
    void seed(bool signedIn) {
        StoredState state;
        state.profile.setupCompleted = true;
        BotProfile lucia;
        lucia.id = QStringLiteral("lucia");
        lucia.displayName = QStringLiteral("Lucía");
        lucia.targetLanguage = QStringLiteral("Spanish");
        BotProfile kenji = lucia;
        kenji.id = QStringLiteral("kenji");
        state.bots = {kenji, lucia};
        state.messages.append({QStringLiteral("m1"),
                               QStringLiteral("lucia"),
                               MessageRole::Assistant,
                               QStringLiteral("¿Qué tal?"),
                               {},
                               100,
                               MessageSource::Provider,
                               {}});
        StateStore store(support.filePath(QStringLiteral("state.json")));
        store.save(state.withSyncedLanguages());
        store.flush();
        if (signedIn) {
            Account account;
            account.email = QStringLiteral("ana@example.com");
            SessionStore(support.filePath(QStringLiteral("session.json")))
                .signedIn({signIn(account.email), account});
        }
    }
};

TEST_F(AppControllerTest, ALoginLaunchOfASetUpUserStaysInTheTrayWithTheUnreadCount) {
    seed(true);
    AppController controller(appClock);
    controller.start(shell, true);
    EXPECT_EQ(shell.windowShown, 0);
    EXPECT_EQ(shell.unread, QList<int>{1});
    EXPECT_TRUE(controller.navigation().selectedBotId().isEmpty());
}

TEST_F(AppControllerTest, AnOrdinaryLaunchOpensTheChatThatWaitsForAnAnswer) {
    seed(true);
    AppController controller(appClock);
    controller.start(shell, false);
    EXPECT_EQ(shell.windowShown, 1);
    EXPECT_EQ(controller.navigation().selectedBotId(), u"lucia");
    EXPECT_EQ(shell.unread.last(), 0);
}

TEST_F(AppControllerTest, ALoginLaunchWithoutASessionShowsTheWindow) {
    seed(false);
    AppController controller(appClock);
    controller.start(shell, true);
    EXPECT_EQ(shell.windowShown, 1);
}

TEST_F(AppControllerTest, ANotificationOpensItsConversationAndQuittingWritesTheLastSave) {
    seed(true);
    {
        AppController controller(appClock);
        controller.start(shell, true);
        const BotProfile lucia = *controller.repository().state().bot(QStringLiteral("lucia"));
        controller.notify(lucia, controller.repository().state().messagesFor(lucia.id));
        ASSERT_EQ(shell.notifications.size(), 1);
        EXPECT_EQ(shell.notifications[0].title, u"Lucía");
        EXPECT_EQ(shell.notifications[0].body, u"¿Qué tal?");

        controller.openSettings();
        EXPECT_EQ(controller.navigation().sheet(), Navigation::Sheet::Settings);
        controller.openConversation(shell.notifications[0].botId);
        EXPECT_EQ(controller.navigation().selectedBotId(), u"lucia");
        EXPECT_EQ(controller.navigation().sheet(), Navigation::Sheet::None);
        EXPECT_EQ(shell.windowShown, 2);

        controller.repository().conversation().addUserMessage(QStringLiteral("kenji"),
                                                              QStringLiteral("hola"));
        controller.stop();
    }
    const StoredState saved = StateStore(support.filePath(QStringLiteral("state.json"))).load();
    EXPECT_EQ(saved.messagesFor(QStringLiteral("kenji")).size(), 1);
}

} // namespace

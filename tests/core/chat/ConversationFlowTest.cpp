// SPDX-License-Identifier: Apache-2.0
#include "repository/ChatRepository.h"
#include "service/QuilloAPI.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"
#include "support/ManualClock.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quillo;

namespace {

class ConversationFlowTest : public ::testing::Test {
protected:
    void SetUp() override {
        BotProfile bot;
        bot.id = QStringLiteral("lucia");
        bot.displayName = QStringLiteral("Lucía");
        bot.targetLanguage = QStringLiteral("Spanish");
        StoredState seed;
        seed.bots = {bot};
        {
            StateStore seeding(path(), clock);
            seeding.save(seed);
        }
        store = std::make_unique<StateStore>(path(), clock);
        session = std::make_unique<SessionStore>(dir.filePath(QStringLiteral("session.json")));
        repository = std::make_unique<ChatRepository>(*store, *session, api, clock);
        QObject::connect(repository.get(), &ChatRepository::stateChanged,
                         [this](const StoredState&) { ++published; });
    }

    QString path() const { return dir.filePath(QStringLiteral("state.json")); }

    QTemporaryDir dir;
    ManualClock clock;
    std::unique_ptr<StateStore> store;
    std::unique_ptr<SessionStore> session;
    // Nothing listens there: these tests never reach the service.
    QuilloAPI api{QUrl(QStringLiteral("http://127.0.0.1:9"))};
    std::unique_ptr<ChatRepository> repository;
    int published = 0;
};

} // namespace

TEST_F(ConversationFlowTest, TheUsersMessageIsStoredTrimmedAndTheChatIsRead) {
    clock.set(1'700'000'123'456);
    repository->conversation().addUserMessage(QStringLiteral("lucia"),
                                              QStringLiteral("  hola\n¿qué tal? \n"));
    const StoredState& state = repository->state();
    ASSERT_EQ(state.messages.size(), 1);
    const ChatMessage& message = state.messages.last();
    EXPECT_EQ(message.text, u"hola\n¿qué tal?");
    EXPECT_EQ(message.role, MessageRole::User);
    EXPECT_EQ(message.source, MessageSource::User);
    EXPECT_EQ(message.createdAt, 1'700'000'123'456);
    EXPECT_EQ(message.id, message.id.toLower());
    EXPECT_EQ(message.id.size(), 36);
    EXPECT_EQ(state.lastReadAt.value(QStringLiteral("lucia")), 1'700'000'123'456);
    EXPECT_EQ(state.unreadCount(QStringLiteral("lucia")), 0);
    EXPECT_EQ(published, 1);

    repository->flush();
    StateStore reopened(path(), clock);
    EXPECT_EQ(reopened.load(), state);
}

TEST_F(ConversationFlowTest, BlankTextOrAnUnknownContactChangesNothing) {
    repository->conversation().addUserMessage(QStringLiteral("lucia"), QStringLiteral(" \n\t "));
    repository->conversation().addUserMessage(QStringLiteral("nobody"), QStringLiteral("hola"));
    EXPECT_TRUE(repository->state().messages.isEmpty());
    EXPECT_EQ(published, 0);
}

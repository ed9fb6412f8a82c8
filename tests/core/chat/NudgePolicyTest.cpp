// SPDX-License-Identifier: Apache-2.0
#include "chat/NudgePolicy.h"

#include <QSet>

#include <gtest/gtest.h>

using namespace quillo;

namespace {

constexpr qint64 minute = 60'000;
constexpr qint64 now = 1'700'000'000'000;
const QString lucia = QStringLiteral("lucia");

ChatMessage message(MessageRole role, qint64 createdAt) {
    ChatMessage m;
    m.id = QString::number(createdAt);
    m.botId = lucia;
    m.role = role;
    m.text = QStringLiteral("hola");
    m.createdAt = createdAt;
    return m;
}

StoredState chatWith(QList<ChatMessage> messages) {
    BotProfile bot;
    bot.id = lucia;
    bot.targetLanguage = QStringLiteral("Spanish");
    StoredState state;
    state.bots = {bot};
    state.messages = MessageList::fromList(messages);
    return state;
}

} // namespace

TEST(NudgePolicyTest, DelaysSpanTheirWholeRange) {
    const UniformDraw lowest = [](int) { return 0; };
    const UniformDraw highest = [](int top) { return top; };
    EXPECT_EQ(NudgePolicy::firstDelay(lowest), 14 * minute);
    EXPECT_EQ(NudgePolicy::firstDelay(highest), 32 * minute);
    EXPECT_EQ(NudgePolicy::nextDelay(lowest), 85 * minute);
    EXPECT_EQ(NudgePolicy::nextDelay(highest), 165 * minute);
    // A generator out of its range cannot move a schedule outside it.
    EXPECT_EQ(NudgePolicy::nextDelay([](int) { return -7; }), 85 * minute);
    EXPECT_EQ(NudgePolicy::firstDelay([](int) { return 1'000; }), 32 * minute);

    const UniformDraw secure = NudgePolicy::secureDraw();
    QSet<int> seen;
    for (int i = 0; i < 2'000; ++i) {
        const int value = secure(18);
        ASSERT_GE(value, 0);
        ASSERT_LE(value, 18);
        seen.insert(value);
    }
    EXPECT_EQ(seen.size(), 19);
}

TEST(NudgePolicyTest, UnreadMessagesAndQuietTimeDecide) {
    // Two unread never, however old the chat.
    StoredState piled = chatWith({message(MessageRole::Assistant, now - 1'000 * minute),
                                  message(MessageRole::Assistant, now - 900 * minute)});
    EXPECT_FALSE(NudgePolicy::shouldNudge(piled, lucia, now));

    // One unread: the contact's own newest message counts, not the user's newer one.
    StoredState oneUnread = chatWith({message(MessageRole::User, now - 200 * minute),
                                      message(MessageRole::Assistant, now - 104 * minute)});
    oneUnread.lastReadAt.insert(lucia, now - 150 * minute);
    EXPECT_EQ(oneUnread.unreadCount(lucia), 1);
    EXPECT_FALSE(NudgePolicy::shouldNudge(oneUnread, lucia, now));
    EXPECT_FALSE(NudgePolicy::shouldNudge(oneUnread, lucia, now + minute));
    EXPECT_TRUE(NudgePolicy::shouldNudge(oneUnread, lucia, now + 2 * minute));

    // Nothing unread: the newest message of either side, strictly more than 70 minutes ago.
    StoredState read = chatWith({message(MessageRole::Assistant, now - 300 * minute),
                                 message(MessageRole::User, now - 70 * minute)});
    read.lastReadAt.insert(lucia, now - 70 * minute);
    EXPECT_FALSE(NudgePolicy::shouldNudge(read, lucia, now));
    EXPECT_TRUE(NudgePolicy::shouldNudge(read, lucia, now + 1));

    EXPECT_TRUE(NudgePolicy::shouldNudge(chatWith({}), lucia, now));
    EXPECT_FALSE(NudgePolicy::shouldNudge(chatWith({}), QStringLiteral("nobody"), now));
    StoredState disabled = chatWith({});
    disabled.bots[0].isEnabled = false;
    EXPECT_FALSE(NudgePolicy::shouldNudge(disabled, lucia, now));
}

TEST(NudgePolicyTest, TheBudgetLeavesTheLastRepliesToTheUser) {
    const auto account = [](int repliesToday) {
        return Account(QStringLiteral("ana@example.com"), QStringLiteral("Ana"),
                       QStringLiteral("free"), repliesToday, 50);
    };
    EXPECT_EQ(NudgePolicy::budget(account(0)), 45);
    EXPECT_EQ(NudgePolicy::budget(account(44)), 1);
    EXPECT_EQ(NudgePolicy::budget(account(45)), 0);
    EXPECT_EQ(NudgePolicy::budget(account(70)), 0);
    EXPECT_EQ(NudgePolicy::budget(std::nullopt), 0);
}

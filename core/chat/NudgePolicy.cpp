// SPDX-License-Identifier: Apache-2.0
#include "NudgePolicy.h"

#include <QRandomGenerator>

#include <algorithm>

namespace quillo::NudgePolicy {

namespace {

constexpr qint64 millisPerMinute = 60'000;

// A draw kept inside its range, so that a careless replacement generator cannot push a
// schedule into the past or years ahead; no generator at all falls back to the secure one.
int drawn(const UniformDraw& draw, int highest) {
    const int value = draw ? draw(highest) : secureDraw()(highest);
    return std::clamp(value, 0, highest);
}

// The newest stamp among the chat's messages, only the contact's own when `ownOnly`; absent
// when there are none. Document order is not trusted to be time order after a merge.
std::optional<qint64> newestStamp(const QList<ChatMessage>& chat, bool ownOnly) {
    std::optional<qint64> newest;
    for (const ChatMessage& message : chat) {
        if (ownOnly && message.role != MessageRole::Assistant)
            continue;
        if (!newest || message.createdAt > *newest)
            newest = message.createdAt;
    }
    return newest;
}

} // namespace

UniformDraw secureDraw() {
    return [](int highest) {
        if (highest <= 0)
            return 0;
        return int(QRandomGenerator::system()->bounded(highest + 1));
    };
}

qint64 firstDelay(const UniformDraw& draw) {
    return (14 + drawn(draw, 18)) * millisPerMinute;
}

qint64 nextDelay(const UniformDraw& draw) {
    return (85 + drawn(draw, 80)) * millisPerMinute;
}

bool shouldNudge(const StoredState& state, const QString& botId, qint64 now) {
    const std::optional<BotProfile> bot = state.bot(botId);
    if (!bot || !bot->isEnabled)
        return false;
    const int unread = state.unreadCount(botId);
    if (unread >= unreadThatStops)
        return false;
    const QList<ChatMessage> chat = state.messagesFor(botId);
    // Strictly longer: a chat exactly at the quiet period is still too fresh.
    if (unread == 0) {
        const std::optional<qint64> newest = newestStamp(chat, false);
        return !newest || now - *newest > quietWithoutUnreadMillis;
    }
    // One message already waits for the user: the contact adds a second only after a longer
    // silence of its own.
    const std::optional<qint64> newest = newestStamp(chat, true);
    return newest && now - *newest > quietWithOneUnreadMillis;
}

int budget(const std::optional<Account>& account) {
    if (!account)
        return 0;
    return std::max(0, account->repliesLeft() - repliesKeptBack);
}

} // namespace quillo::NudgePolicy

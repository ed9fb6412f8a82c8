// SPDX-License-Identifier: Apache-2.0
#include "ConversationStyle.h"

namespace quillo {

QString guidance(ConversationStyle style) {
    using S = ConversationStyle;
    switch (style) {
    case S::Friend:
        return QStringLiteral("relaxed and warm, like a good friend");
    case S::VeryFriendly:
        return QStringLiteral("extra warm and enthusiastic, quick to cheer the user on");
    case S::Casual:
        return QStringLiteral("everyday informal texting");
    case S::UltraCasual:
        return QStringLiteral(
            "very informal texting with the slang, short forms and habits natives really use");
    case S::Chill:
        return QStringLiteral("laid-back and unhurried");
    case S::Playful:
        return QStringLiteral("teasing and lighthearted");
    case S::Funny:
        return QStringLiteral("jokes and witty remarks");
    case S::Curious:
        return QStringLiteral("asks about the user's life and opinions");
    case S::Supportive:
        return QStringLiteral("encouraging and patient");
    case S::Concise:
        return QStringLiteral("as few words as possible, straight to the point");
    case S::Polite:
        return QStringLiteral("courteous and respectful, neutral register");
    case S::Formal:
        return QStringLiteral("formal register and polite forms of address, no slang");
    case S::Teacher:
        return QStringLiteral("a friendly tutor who sometimes fixes one mistake in passing");
    case S::Kid:
        return QStringLiteral("simple words and childlike curiosity");
    case S::Flirty:
        return QStringLiteral("light, respectful flirting");
    }
    return {};
}

} // namespace quillo

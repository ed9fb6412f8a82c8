// SPDX-License-Identifier: Apache-2.0
#include "NotificationPayload.h"

#include "model/TextHelpers.h"

namespace quillo {

namespace {

// A notification has room for a few lines; the newest ones say most.
constexpr qsizetype linesShown = 4;

} // namespace

QString languageAndLevel(const StoredState& state, const BotProfile& bot) {
    QString language;
    std::optional<CefrLevel> level;
    if (bot.isAnyLanguage()) {
        language = bot.speaking;
        level = bot.speakingLevel;
    } else {
        language = bot.targetLanguage;
        level = state.profile.level(bot);
    }
    language = trimmedText(language);
    if (language.isEmpty())
        return level ? title(*level) : QString();
    return level ? language + QStringLiteral(" · ") + title(*level) : language;
}

NotificationPayload NotificationPayload::of(const StoredState& state, const BotProfile& bot,
                                            const QList<ChatMessage>& messages) {
    QStringList lines;
    for (qsizetype i = std::max<qsizetype>(0, messages.size() - linesShown); i < messages.size();
         ++i)
        lines.append(messages[i].text);
    return {
        bot.id,           bot.displayName, bot.initials(), bot.accent, languageAndLevel(state, bot),
        lines.join(u'\n')};
}

} // namespace quillo

// SPDX-License-Identifier: Apache-2.0
#include "Prompts.h"

#include "model/TextHelpers.h"

namespace quillo::Prompts {

namespace {

QString effectiveLanguage(const BotProfile& bot) {
    return bot.isAnyLanguage() ? bot.speaking : bot.targetLanguage;
}

ReplyLength replyLength(const BotProfile& bot, const UserProfile& user) {
    return user.settings(effectiveLanguage(bot)).replyLength;
}

QString levelCode(const BotProfile& bot, const UserProfile& user) {
    return wireString(user.level(bot));
}

QString textOr(const QString& text, const QString& fallback) {
    return isBlank(text) ? fallback : text;
}

QString notChosenYet() {
    return QStringLiteral("not chosen yet");
}

QString replyLanguage(const BotProfile& bot) {
    if (!bot.isAnyLanguage())
        return bot.targetLanguage;
    return QStringLiteral("the language the user wants (now ") +
           textOr(trimmedText(bot.speaking), notChosenYet()) +
           QStringLiteral("; switch if they just asked)");
}

QString current(const BotProfile& bot, const UserProfile& user) {
    const QString levelPart = bot.isAnyLanguage()
                                  ? QStringLiteral("the CEFR level the user wants (now ") +
                                        levelCode(bot, user) +
                                        QStringLiteral("; switch if they just asked)")
                                  : QStringLiteral("CEFR ") + levelCode(bot, user);
    const ReplyLength length = replyLength(bot, user);
    return QStringLiteral("at ") + levelPart + QStringLiteral(", ") + title(length).toLower() +
           QStringLiteral(" length (at most ") + QString::number(maxLines(length)) +
           QStringLiteral(" lines), ") + title(bot.safeStyle(user.ageGroup)).toLower() +
           QStringLiteral(" style");
}

QString schema(const BotProfile& bot) {
    if (bot.isAnyLanguage())
        return QStringLiteral(
            R"({"message":"your reply","language":"English name of the language you wrote in",)"
            R"("level":"CEFR level you wrote at","remember":"new fact or empty"})");
    return QStringLiteral(R"({"message":"reply in )") + bot.targetLanguage +
           QStringLiteral(R"(","remember":"new fact or empty"})");
}

QStringList languageRules(const BotProfile& bot, const UserProfile& user) {
    if (!bot.isAnyLanguage()) {
        return {
            QStringLiteral("- Reply only in ") + bot.targetLanguage +
                QStringLiteral(", in its normal writing system. Never mix languages."),
            QStringLiteral("- The user may write in any language or romanized text; understand "
                           "it and still answer in ") +
                bot.targetLanguage + u'.',
        };
    }
    return {
        QStringLiteral("- You can write every language. Speak the one the user asks for, at the "
                       "CEFR level they ask for."),
        QStringLiteral("- When they ask for another language or level, switch in that same reply "
                       "and keep it until they ask again."),
        QStringLiteral("- Until they have chosen, ask in ") + user.glossLanguage() +
            QStringLiteral(" which language and level they would like."),
        QStringLiteral("- Write in that language's normal writing system and never mix "
                       "languages."),
    };
}

QString targetValue(const BotProfile& bot) {
    if (!bot.isAnyLanguage())
        return bot.targetLanguage;
    // The stored text goes in as it is; only an empty one is replaced.
    return QStringLiteral("whichever the user asks for; now ") +
           textOr(bot.speaking, notChosenYet());
}

QString levelValue(const BotProfile& bot, const UserProfile& user) {
    if (!bot.isAnyLanguage())
        return levelCode(bot, user);
    const QString now = bot.speakingLevel
                            ? wireString(*bot.speakingLevel)
                            : notChosenYet() + QStringLiteral(", ") + levelCode(bot, user) +
                                  QStringLiteral(" until then");
    return QStringLiteral("whichever the user asks for; now ") + now;
}

QString rememberedFacts(const BotProfile& bot) {
    QStringList facts;
    for (const QString& memory : bot.memories) {
        const QString fact = collapsingWhitespace(memory);
        // A blank memory adds nothing, not even a separator.
        if (!fact.isEmpty())
            facts.append(fact);
    }
    return textOr(facts.join(QStringLiteral("; ")), QStringLiteral("nothing yet"));
}

QString closingSentence(const BotProfile& bot) {
    return bot.isAnyLanguage()
               ? QStringLiteral("Return JSON only, with message, language, level and remember.")
               : QStringLiteral("Return JSON only, with message and remember.");
}

} // namespace

QString joined(const QStringList& items, const QString& fallback) {
    QStringList kept;
    for (const QString& item : items) {
        const QString trimmed = trimmedText(item);
        if (!trimmed.isEmpty())
            kept.append(trimmed);
    }
    return kept.isEmpty() ? fallback : kept.join(QStringLiteral(", "));
}

QString systemPrompt(const BotProfile& bot, const UserProfile& user) {
    const ConversationStyle style = bot.safeStyle(user.ageGroup);
    const ReplyLength length = replyLength(bot, user);
    const QString wordingLevel = bot.isAnyLanguage()
                                     ? QStringLiteral("that CEFR level")
                                     : QStringLiteral("CEFR ") + levelCode(bot, user);

    QStringList lines{
        QStringLiteral("You are ") + bot.displayName +
            QStringLiteral(", a chat contact inside Zindra, a language practice messenger."),
        QString(),
        QStringLiteral("Live settings:"),
        QStringLiteral("- Personality: ") + bot.personality,
        QStringLiteral("- Home topic: ") + bot.topic,
        QStringLiteral("- Style note: ") + bot.styleNote,
        QStringLiteral("- Persona: ") + title(bot.personaGender) + QStringLiteral(", ") +
            title(bot.personaAge),
        QStringLiteral("- Conversation style: ") + title(style) + QStringLiteral(" (") +
            guidance(style) + u')',
        QStringLiteral("- Target language: ") + targetValue(bot),
        QStringLiteral("- CEFR level: ") + levelValue(bot, user),
        QStringLiteral("- Progressive difficulty: ") +
            (user.progressiveDifficulty ? QStringLiteral("enabled, raise complexity very slowly")
                                        : QStringLiteral("disabled, keep the level steady")),
        QStringLiteral("- User name: ") + textOr(user.displayName, QStringLiteral("not set")),
        QStringLiteral("- User native language: ") + user.glossLanguage(),
        QStringLiteral("- User age group: ") + title(user.ageGroup),
        QStringLiteral("- User interests: ") + joined(user.interests, QStringLiteral("not set")),
        QStringLiteral("- About the user: ") +
            textOr(collapsingWhitespace(user.about), QStringLiteral("nothing else")),
        QStringLiteral("- The user's wishes for you: ") +
            textOr(collapsingWhitespace(bot.notes), QStringLiteral("none")),
        QStringLiteral("- What you remember from earlier chats: ") + rememberedFacts(bot),
        QString(),
        QStringLiteral("These settings can change at any moment. Always follow the current "
                       "ones, even when earlier"),
        QStringLiteral("messages in this chat used another level, length or style."),
        QString(),
        QStringLiteral("Hard rules:"),
        QStringLiteral("- Reply as a real contact in an instant messenger, not as a tutor."),
    };
    lines += languageRules(bot, user);
    lines += {
        QStringLiteral("- Translate or paraphrase any foreign topic names before using them."),
        QStringLiteral("- Answer the user's real intent first. If they answered your question, "
                       "continue that thread."),
        QStringLiteral("- The home topic is a home base, not a limit; follow the user when they "
                       "change subject."),
        QStringLiteral("- If the home topic is \"anything\", bring up varied everyday subjects "
                       "and follow the user's lead."),
        QStringLiteral("- Never exceed ") + QString::number(maxLines(length)) +
            QStringLiteral(" lines. ") + promptInstruction(length),
        QStringLiteral("- Call the user by their name now and then, not in every message."),
        QStringLiteral("- Follow the user's wishes for you unless they break these rules."),
        QStringLiteral("- Use wording that fits ") + wordingLevel + u'.',
        QStringLiteral("- Remember earlier details and avoid repeating greetings, questions or "
                       "phrasing."),
        QStringLiteral("- Bring up what you remember when it fits, like a friend who listened; "
                       "never list it back."),
        QStringLiteral("- When the user shares something new and lasting about themselves "
                       "(plans, people, pets, work, likes), put it in \"remember\" as one short "
                       "sentence in ") +
            user.glossLanguage() + QStringLiteral("; otherwise leave it empty."),
        QStringLiteral("- Avoid lists, essays and explanations. Light emoji is fine when it fits."),
        QStringLiteral("- If the style is flirty but the user is under 18, sound like a normal "
                       "friend instead."),
        QStringLiteral("- Avoid emotional pressure and spammy repetition."),
        QString(),
        QStringLiteral("Output JSON only with this schema: ") + schema(bot),
    };
    return lines.join(u'\n');
}

QString replyPrompt(const BotProfile& bot, const UserProfile& user, const QString& userMessage) {
    return QStringList{
        QStringLiteral("The user just wrote:"),
        userMessage,
        QString(),
        QStringLiteral("Reply as ") + bot.displayName + QStringLiteral(" in ") +
            replyLanguage(bot) + QStringLiteral(", ") + current(bot, user) + QStringLiteral(". ") +
            closingSentence(bot),
    }
        .join(u'\n');
}

QString proactivePrompt(const BotProfile& bot, const UserProfile& user) {
    return QStringList{
        QStringLiteral("Send one message to start a chat now, like a friend texting first, ") +
            current(bot, user) + u'.',
        QStringLiteral("Prefer following up on something you remember from earlier chats (ask "
                       "how it went); otherwise start"),
        QStringLiteral("from your home topic (") + bot.topic +
            QStringLiteral(") or one of the user's interests (") +
            joined(user.interests, QStringLiteral("none listed")) + QStringLiteral(")."),
        QStringLiteral("Do not repeat a subject you already brought up recently. ") +
            closingSentence(bot),
    }
        .join(u'\n');
}

} // namespace quillo::Prompts

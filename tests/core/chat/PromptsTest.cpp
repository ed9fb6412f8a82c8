// SPDX-License-Identifier: Apache-2.0
#include "chat/Prompts.h"
#include "chat/ChatClient.h"

#include <gtest/gtest.h>

using namespace quillo;

namespace {

BotProfile lucia() {
    BotProfile bot;
    bot.id = QStringLiteral("lucia");
    bot.displayName = QStringLiteral("Lucía");
    bot.targetLanguage = QStringLiteral("Spanish");
    bot.topic = QStringLiteral("food and cooking");
    bot.personality = QStringLiteral("warm and friendly");
    bot.styleNote = QStringLiteral("talks like a casual friend");
    bot.personaGender = PersonaGender::Woman;
    bot.personaAge = PersonaAge::YoungAdult;
    bot.conversationStyle = ConversationStyle::Casual;
    bot.notes = QStringLiteral("Use  tú,\nnot usted");
    bot.memories = {QStringLiteral("Has a cat  named Miso"), QStringLiteral("  ")};
    return bot;
}

UserProfile ana() {
    UserProfile user;
    user.displayName = QStringLiteral("Ana");
    user.nativeLanguage = QStringLiteral("German");
    user.interests = {QStringLiteral(" "), QStringLiteral("chess "), QString()};
    user.languages = {
        LanguageSettings(QStringLiteral("spanish"), CefrLevel::B1, ReplyLength::Medium)};
    user.about = QStringLiteral("Works  as a nurse.\nLoves hiking");
    return user;
}

BotProfile polly() {
    BotProfile bot;
    bot.id = QStringLiteral("polly");
    bot.displayName = QStringLiteral("Polly");
    bot.targetLanguage = QStringLiteral("Any language");
    bot.topic = QStringLiteral("anything");
    bot.personality = QStringLiteral("curious");
    bot.conversationStyle = ConversationStyle::Flirty;
    return bot;
}

UserProfile teenager() {
    UserProfile user;
    user.displayName = QStringLiteral("   ");
    user.ageGroup = UserAgeGroup::Under18;
    user.progressiveDifficulty = false;
    user.languages = {LanguageSettings(QStringLiteral("Spanish"), CefrLevel::B1)};
    return user;
}

QStringList linesOf(const QString& text) {
    return text.split(u'\n');
}

ChatMessage message(MessageRole role, const QString& text, const QString& language = {}) {
    ChatMessage m;
    m.botId = QStringLiteral("polly");
    m.role = role;
    m.text = text;
    m.language = language;
    return m;
}

} // namespace

TEST(Prompts, SystemPromptOfAnOrdinaryContactMatchesToTheCharacter) {
    const QString expected = QStringLiteral(
        R"txt(You are Lucía, a chat contact inside Zindra, a language practice messenger.

Live settings:
- Personality: warm and friendly
- Home topic: food and cooking
- Style note: talks like a casual friend
- Persona: Woman, Young adult
- Conversation style: Casual (everyday informal texting)
- Target language: Spanish
- CEFR level: B1
- Progressive difficulty: enabled, raise complexity very slowly
- User name: Ana
- User native language: German
- User age group: 18+
- User interests: chess
- About the user: Works as a nurse. Loves hiking
- The user's wishes for you: Use tú, not usted
- What you remember from earlier chats: Has a cat named Miso

These settings can change at any moment. Always follow the current ones, even when earlier
messages in this chat used another level, length or style.

Hard rules:
- Reply as a real contact in an instant messenger, not as a tutor.
- Reply only in Spanish, in its normal writing system. Never mix languages.
- The user may write in any language or romanized text; understand it and still answer in Spanish.
- Translate or paraphrase any foreign topic names before using them.
- Answer the user's real intent first. If they answered your question, continue that thread.
- The home topic is a home base, not a limit; follow the user when they change subject.
- If the home topic is "anything", bring up varied everyday subjects and follow the user's lead.
- Never exceed 2 lines. Keep it concise but fuller: 1 or 2 lines with a little more detail.
- Call the user by their name now and then, not in every message.
- Follow the user's wishes for you unless they break these rules.
- Use wording that fits CEFR B1.
- Remember earlier details and avoid repeating greetings, questions or phrasing.
- Bring up what you remember when it fits, like a friend who listened; never list it back.
- When the user shares something new and lasting about themselves (plans, people, pets, work, likes), put it in "remember" as one short sentence in German; otherwise leave it empty.
- Avoid lists, essays and explanations. Light emoji is fine when it fits.
- If the style is flirty but the user is under 18, sound like a normal friend instead.
- Avoid emotional pressure and spammy repetition.

Output JSON only with this schema: {"message":"reply in Spanish","remember":"new fact or empty"})txt");
    EXPECT_EQ(Prompts::systemPrompt(lucia(), ana()), expected);
}

TEST(Prompts, ReplyAndProactivePromptsOfAnOrdinaryContact) {
    EXPECT_EQ(Prompts::replyPrompt(lucia(), ana(), QStringLiteral("  hola\n¿qué tal?")),
              QStringLiteral("The user just wrote:\n  hola\n¿qué tal?\n\nReply as Lucía in "
                             "Spanish, at CEFR B1, medium length (at most 2 lines), casual style. "
                             "Return JSON only, with message and remember."));
    EXPECT_EQ(Prompts::proactivePrompt(lucia(), ana()),
              QStringLiteral(
                  "Send one message to start a chat now, like a friend texting first, at CEFR B1, "
                  "medium length (at most 2 lines), casual style.\n"
                  "Prefer following up on something you remember from earlier chats (ask how it "
                  "went); otherwise start\n"
                  "from your home topic (food and cooking) or one of the user's interests "
                  "(chess).\n"
                  "Do not repeat a subject you already brought up recently. Return JSON only, "
                  "with message and remember."));
}

TEST(Prompts, AnyLanguageContactBeforeAnythingIsChosen) {
    BotProfile bot = polly();
    UserProfile user = teenager();
    const QStringList lines = linesOf(Prompts::systemPrompt(bot, user));
    ASSERT_EQ(lines.size(), 44);
    EXPECT_EQ(lines[5], u"- Style note: ");
    EXPECT_EQ(lines[6], u"- Persona: Neutral, Adult");
    EXPECT_EQ(lines[7], u"- Conversation style: Friend (relaxed and warm, like a good friend)");
    EXPECT_EQ(lines[8], u"- Target language: whichever the user asks for; now not chosen yet");
    EXPECT_EQ(lines[9],
              u"- CEFR level: whichever the user asks for; now not chosen yet, A1 until then");
    EXPECT_EQ(lines[10], u"- Progressive difficulty: disabled, keep the level steady");
    EXPECT_EQ(lines[11], u"- User name: not set");
    EXPECT_EQ(lines[12], u"- User native language: English");
    EXPECT_EQ(lines[13], u"- User age group: Under 18");
    EXPECT_EQ(lines[14], u"- User interests: not set");
    EXPECT_EQ(lines[15], u"- About the user: nothing else");
    EXPECT_EQ(lines[16], u"- The user's wishes for you: none");
    EXPECT_EQ(lines[17], u"- What you remember from earlier chats: nothing yet");
    EXPECT_EQ(lines.mid(24, 4),
              (QStringList{
                  QStringLiteral("- You can write every language. Speak the one the user asks "
                                 "for, at the CEFR level they ask for."),
                  QStringLiteral("- When they ask for another language or level, switch in that "
                                 "same reply and keep it until they ask again."),
                  QStringLiteral("- Until they have chosen, ask in English which language and "
                                 "level they would like."),
                  QStringLiteral("- Write in that language's normal writing system and never mix "
                                 "languages."),
              }));
    EXPECT_EQ(lines[32], u"- Never exceed 2 lines. Keep it very brief: 1 or 2 short lines, one "
                         u"quick thought or question.");
    EXPECT_EQ(lines[35], u"- Use wording that fits that CEFR level.");
    EXPECT_EQ(lines[43],
              u"Output JSON only with this schema: {\"message\":\"your reply\",\"language\":"
              u"\"English name of the language you wrote in\",\"level\":\"CEFR level you wrote "
              u"at\",\"remember\":\"new fact or empty\"}");

    EXPECT_EQ(linesOf(Prompts::replyPrompt(bot, user, QStringLiteral("hi"))).last(),
              u"Reply as Polly in the language the user wants (now not chosen yet; switch if they "
              u"just asked), at the CEFR level the user wants (now A1; switch if they just "
              u"asked), short length (at most 2 lines), friend style. Return JSON only, with "
              u"message, language, level and remember.");
    EXPECT_EQ(linesOf(Prompts::proactivePrompt(bot, user))[2],
              u"from your home topic (anything) or one of the user's interests (none listed).");
}

TEST(Prompts, AnyLanguageContactFollowsWhatItSpeaks) {
    BotProfile bot = polly();
    bot.speaking = QStringLiteral(" Spanish ");
    const UserProfile user = teenager();
    QStringList lines = linesOf(Prompts::systemPrompt(bot, user));
    // The stored text goes into the settings; the reply prompt names it trimmed.
    EXPECT_EQ(lines[8], u"- Target language: whichever the user asks for; now  Spanish ");
    EXPECT_EQ(lines[9],
              u"- CEFR level: whichever the user asks for; now not chosen yet, B1 until then");
    EXPECT_TRUE(linesOf(Prompts::replyPrompt(bot, user, QStringLiteral("hi")))
                    .last()
                    .startsWith(u"Reply as Polly in the language the user wants (now Spanish; "
                                u"switch if they just asked), at the CEFR level the user wants "
                                u"(now B1; switch"));

    bot.speakingLevel = CefrLevel::C2;
    lines = linesOf(Prompts::systemPrompt(bot, user));
    EXPECT_EQ(lines[9], u"- CEFR level: whichever the user asks for; now C2");
}

TEST(Prompts, FlirtyStaysFlirtyForAdults) {
    UserProfile adult = teenager();
    adult.ageGroup = UserAgeGroup::Adult;
    const QStringList lines = linesOf(Prompts::systemPrompt(polly(), adult));
    EXPECT_EQ(lines[7], u"- Conversation style: Flirty (light, respectful flirting)");
    EXPECT_TRUE(Prompts::proactivePrompt(polly(), adult).contains(u"lines), flirty style."));
}

TEST(Prompts, JoinedTrimsAndFallsBack) {
    EXPECT_EQ(Prompts::joined({QStringLiteral(" a "), QString(), QStringLiteral("b")},
                              QStringLiteral("none")),
              u"a, b");
    EXPECT_EQ(Prompts::joined({QStringLiteral(" \n")}, QStringLiteral("none")), u"none");
}

TEST(PromptAssembly, SendsTheSystemPromptTheLastTwelveMessagesAndTheRequest) {
    QList<ChatMessage> history;
    for (int i = 0; i < 30; ++i)
        history.append(message(i % 2 ? MessageRole::Assistant : MessageRole::User,
                               QStringLiteral("m%1").arg(i)));
    const auto list =
        ChatClient::prompt(lucia(), ana(), history, QStringLiteral("What's for dinner?"));
    ASSERT_EQ(list.size(), 14);
    EXPECT_EQ(list.first().role, u"system");
    EXPECT_EQ(list.first().content, Prompts::systemPrompt(lucia(), ana()));
    EXPECT_EQ(list[1], (PromptMessage{QStringLiteral("user"), QStringLiteral("m18")}));
    EXPECT_EQ(list[2],
              (PromptMessage{QStringLiteral("assistant"), QStringLiteral(R"({"message":"m19"})")}));
    EXPECT_EQ(list.last().role, u"user");
    EXPECT_EQ(list.last().content,
              Prompts::replyPrompt(lucia(), ana(), QStringLiteral("What's for dinner?")));

    const auto opening = ChatClient::prompt(lucia(), ana(), {}, std::nullopt);
    ASSERT_EQ(opening.size(), 2);
    EXPECT_EQ(opening.last().content, Prompts::proactivePrompt(lucia(), ana()));
}

TEST(PromptAssembly, EarlierRepliesCarryTheirLanguageForAnyLanguageContacts) {
    BotProfile bot = polly();
    bot.speaking = QStringLiteral("Italian");
    const QList<ChatMessage> history{
        message(MessageRole::Assistant, QStringLiteral("Hola \"tú\"\n/x"),
                QStringLiteral("Spanish")),
        message(MessageRole::Assistant, QStringLiteral("Ciao"), QStringLiteral("  ")),
    };
    const auto list = ChatClient::prompt(bot, teenager(), history, QStringLiteral("hi"));
    ASSERT_EQ(list.size(), 4);
    EXPECT_EQ(list[1].content,
              QStringLiteral(R"({"message":"Hola \"tú\"\n/x","language":"Spanish"})"));
    EXPECT_EQ(list[2].content, QStringLiteral(R"({"message":"Ciao","language":"Italian"})"));
}

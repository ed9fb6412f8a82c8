// SPDX-License-Identifier: Apache-2.0
#include "model/BotProfile.h"
#include "model/ChatMessage.h"
#include "model/UserProfile.h"

#include <gtest/gtest.h>

using namespace quillo;

namespace {

BotProfile contact(const QString& name, const QString& language) {
    BotProfile bot;
    bot.id = QStringLiteral("bot-1");
    bot.displayName = name;
    bot.targetLanguage = language;
    return bot;
}

UserProfile learnerOf(std::initializer_list<LanguageSettings> languages) {
    UserProfile user;
    user.languages = languages;
    return user;
}

} // namespace

TEST(ProfileOperations, SettingsAreFoundThroughTheLanguageKeyOrMadeFresh) {
    const UserProfile user =
        learnerOf({LanguageSettings(QStringLiteral("Chinese"), CefrLevel::B2, ReplyLength::Long)});
    EXPECT_EQ(user.settings(QStringLiteral(" mandarin ")).level, CefrLevel::B2);
    const LanguageSettings fresh = user.settings(QStringLiteral("Greek"));
    EXPECT_EQ(fresh.language, u"Greek");
    EXPECT_EQ(fresh.level, CefrLevel::A1);
    EXPECT_EQ(fresh.replyLength, ReplyLength::Short);
    EXPECT_TRUE(fresh.showsRomanization);
    EXPECT_EQ(user.languages.size(), 1);
}

TEST(ProfileOperations, LevelFollowsTheLanguageTheContactWrites) {
    const UserProfile user = learnerOf({LanguageSettings(QStringLiteral("Spanish"), CefrLevel::B1),
                                        LanguageSettings(QStringLiteral("French"), CefrLevel::C1)});
    EXPECT_EQ(user.level(contact(QStringLiteral("Lu"), QStringLiteral("French"))), CefrLevel::C1);

    BotProfile any = contact(QStringLiteral("Polly"), QStringLiteral("Any language"));
    EXPECT_EQ(user.level(any), CefrLevel::A1); // nothing chosen yet
    any.speaking = QStringLiteral("spanish");
    EXPECT_EQ(user.level(any), CefrLevel::B1);
    any.speakingLevel = CefrLevel::A2;
    EXPECT_EQ(user.level(any), CefrLevel::A2);
    // A speaking level means nothing for a contact with a fixed language.
    BotProfile fixed = contact(QStringLiteral("Lu"), QStringLiteral("French"));
    fixed.speakingLevel = CefrLevel::A2;
    EXPECT_EQ(user.level(fixed), CefrLevel::C1);
}

TEST(ProfileOperations, GlossLanguageFallsBackToEnglish) {
    UserProfile user;
    EXPECT_EQ(user.glossLanguage(), u"English");
    user.nativeLanguage = QStringLiteral("  \n");
    EXPECT_EQ(user.glossLanguage(), u"English");
    user.nativeLanguage = QStringLiteral("German");
    EXPECT_EQ(user.glossLanguage(), u"German");
}

TEST(ProfileOperations, ContactLanguageOfItselfAndOfItsMessages) {
    BotProfile any = contact(QStringLiteral("Polly"), QStringLiteral("any language"));
    any.speaking = QStringLiteral("Italian");
    EXPECT_TRUE(any.isAnyLanguage());
    EXPECT_EQ(any.currentLanguage(), u"Italian");
    ChatMessage message;
    EXPECT_EQ(any.language(message), u"Italian");
    message.language = QStringLiteral("Korean");
    EXPECT_EQ(any.language(message), u"Korean");

    const BotProfile fixed = contact(QStringLiteral("Lu"), QStringLiteral("French"));
    message.language = QStringLiteral(" ");
    EXPECT_EQ(fixed.language(message), u"French");
}

TEST(ProfileOperations, RememberingCutsDeduplicatesAndKeepsTheNewestThirty) {
    const BotProfile bot = contact(QStringLiteral("Lu"), QStringLiteral("French"));
    const BotProfile longFact = bot.remembering(QString(200, u'x'));
    ASSERT_EQ(longFact.memories.size(), 1);
    EXPECT_EQ(longFact.memories.first().size(), 120);

    const BotProfile cat = bot.remembering(QStringLiteral("  Has a\n cat  "));
    EXPECT_EQ(cat.memories, QStringList{QStringLiteral("Has a cat")});
    EXPECT_EQ(cat.remembering(QStringLiteral("HAS A CAT")), cat);
    EXPECT_EQ(cat.remembering(QStringLiteral(" \n ")), cat);

    BotProfile full = bot;
    for (int i = 1; i <= 31; ++i)
        full = full.remembering(QStringLiteral("fact %1").arg(i));
    EXPECT_EQ(full.memories.size(), 30);
    EXPECT_EQ(full.memories.first(), u"fact 2");
    EXPECT_EQ(full.memories.last(), u"fact 31");
}

TEST(ProfileOperations, RememberingNeverSplitsAnEmoji) {
    const QString thumbs = QStringLiteral("\U0001F44D\U0001F3FD"); // thumbs up, skin tone
    QString fact = QString(119, u'a') + thumbs + QStringLiteral("tail");
    const BotProfile bot =
        contact(QStringLiteral("Lu"), QStringLiteral("French")).remembering(fact);
    EXPECT_EQ(bot.memories.first(), QString(119, u'a') + thumbs);
}

TEST(ProfileOperations, FlirtingBecomesFriendlinessForMinors) {
    BotProfile bot = contact(QStringLiteral("Lu"), QStringLiteral("French"));
    bot.conversationStyle = ConversationStyle::Flirty;
    EXPECT_EQ(bot.safeStyle(UserAgeGroup::Under18), ConversationStyle::Friend);
    EXPECT_EQ(bot.safeStyle(UserAgeGroup::Adult), ConversationStyle::Flirty);
    bot.conversationStyle = ConversationStyle::Funny;
    EXPECT_EQ(bot.safeStyle(UserAgeGroup::Under18), ConversationStyle::Funny);
}

TEST(ProfileOperations, InitialsTakeTheFirstLetterOrDigitOfTheFirstTwoWords) {
    const auto initials = [](const char16_t* name) {
        return contact(QString::fromUtf16(name), QString()).initials();
    };
    EXPECT_EQ(initials(u"   "), u"?");
    EXPECT_EQ(initials(u""), u"?");
    EXPECT_EQ(initials(u"anna-maria von berg"), u"AV");
    EXPECT_EQ(initials(u"3 Musketeers"), u"3M");
    EXPECT_EQ(initials(u"(( ) émile"), u"É");
    EXPECT_EQ(initials(u"-- Zoë  --x"), u"ZX");
    EXPECT_EQ(initials(u"李 小龙"), u"李小");
}

// SPDX-License-Identifier: Apache-2.0
#include "model/StarterBots.h"
#include "model/ModelConstants.h"

#include <gtest/gtest.h>

#include <limits>

using namespace quillo;

namespace {

const QStringList noInterests;

} // namespace

TEST(StarterBots, ProfileDealsPersonasTopicsAndColoursInOrder) {
    const QList<BotProfile> bots =
        StarterBots::forProfile({QStringLiteral("Spanish"), QStringLiteral("Japanese")},
                                {QStringLiteral("football"), QStringLiteral("cooking")});
    ASSERT_EQ(bots.size(), 2);
    EXPECT_EQ(bots[0].displayName, u"Curious Collins");
    EXPECT_EQ(bots[0].targetLanguage, u"Spanish");
    EXPECT_EQ(bots[0].topic, u"football");
    EXPECT_EQ(bots[0].accent, botAccents().at(0));
    EXPECT_EQ(bots[0].personality, u"playful and childlike");
    EXPECT_EQ(bots[0].styleNote, u"asks very small curious questions");
    EXPECT_EQ(bots[0].personaAge, PersonaAge::Child);
    EXPECT_EQ(bots[0].conversationStyle, ConversationStyle::Kid);

    EXPECT_EQ(bots[1].displayName, u"Cafe Coco");
    EXPECT_EQ(bots[1].targetLanguage, u"Japanese");
    EXPECT_EQ(bots[1].topic, u"cooking");
    EXPECT_EQ(bots[1].accent, botAccents().at(1));
    EXPECT_EQ(bots[1].personaGender, PersonaGender::Woman);
    EXPECT_EQ(bots[1].personaAge, PersonaAge::YoungAdult);

    for (const BotProfile& bot : bots) {
        EXPECT_TRUE(bot.isEnabled);
        EXPECT_TRUE(bot.notes.isEmpty());
        EXPECT_TRUE(bot.speaking.isEmpty());
        EXPECT_FALSE(bot.speakingLevel.has_value());
        EXPECT_TRUE(bot.memories.isEmpty());
    }
}

TEST(StarterBots, TheThreeCyclesRunIndependently) {
    const QStringList interests = {QStringLiteral("chess"), QStringLiteral("film"),
                                   QStringLiteral("tea"), QStringLiteral("art"),
                                   QStringLiteral("dogs")};
    for (qsizetype index = 0; index < 60; ++index) {
        const BotProfile bot = StarterBots::forLanguage(QStringLiteral("Greek"), interests, index);
        EXPECT_EQ(bot.displayName, StarterBots::catalogue().at(index % 6).displayName) << index;
        EXPECT_EQ(bot.accent, botAccents().at(index % 12)) << index;
        EXPECT_EQ(bot.topic, interests.at(index % 5)) << index;
    }
    const BotProfile seventh = StarterBots::forLanguage(QStringLiteral("Greek"), noInterests, 6);
    EXPECT_EQ(seventh.displayName, u"Curious Collins");
    EXPECT_EQ(seventh.accent, botAccents().at(6));
    EXPECT_EQ(StarterBots::forLanguage(QStringLiteral("Greek"), noInterests, 4).topic, u"music");
    EXPECT_EQ(StarterBots::forLanguage(QStringLiteral("Greek"), noInterests, 5).topic, u"travel");
}

TEST(StarterBots, LanguageIsKeptAsGivenAndEveryContactIsNew) {
    const BotProfile a = StarterBots::forLanguage(QStringLiteral(" mandarin "), noInterests, 0);
    const BotProfile b = StarterBots::forLanguage(QStringLiteral(" mandarin "), noInterests, 0);
    EXPECT_EQ(a.targetLanguage, u" mandarin ");
    EXPECT_EQ(a.id.size(), 36);
    EXPECT_EQ(a.id, a.id.toLower());
    EXPECT_NE(a.id, b.id);
    EXPECT_NE(a, b);
}

TEST(StarterBots, BlankTemplateWrapsAnyAccentIndex) {
    const BotProfile bot = StarterBots::blank(QStringLiteral("Korean"), 0);
    EXPECT_TRUE(bot.displayName.isEmpty());
    EXPECT_EQ(bot.targetLanguage, u"Korean");
    EXPECT_EQ(bot.topic, u"daily life");
    EXPECT_EQ(bot.personality, u"friendly and concise");
    EXPECT_EQ(bot.styleNote, u"sounds like a real chat contact");
    EXPECT_EQ(bot.personaGender, PersonaGender::Neutral);
    EXPECT_EQ(bot.personaAge, PersonaAge::Adult);
    EXPECT_EQ(bot.conversationStyle, ConversationStyle::Friend);
    EXPECT_EQ(bot.accent, botAccents().at(0));
    EXPECT_FALSE(bot.id.isEmpty());
    EXPECT_NE(bot.id, StarterBots::blank(QStringLiteral("Korean"), 0).id);

    EXPECT_EQ(StarterBots::blank({}, 13).accent, botAccents().at(1));
    EXPECT_EQ(StarterBots::blank({}, -1).accent, botAccents().at(11));
    EXPECT_EQ(StarterBots::blank({}, std::numeric_limits<qsizetype>::min()).accent,
              botAccents().at(4)); // -2^63 = -768614336404564651 * 12 + 4
}

TEST(StarterBotsDeathTest, NegativeIndexStopsTheProgram) {
    EXPECT_DEATH(StarterBots::forLanguage(QStringLiteral("Greek"), noInterests, -1), "negative");
}

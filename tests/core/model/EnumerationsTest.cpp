// SPDX-License-Identifier: Apache-2.0
#include "model/CefrLevel.h"
#include "model/ConversationStyle.h"
#include "model/MessageRole.h"
#include "model/MessageSource.h"
#include "model/PersonaAge.h"
#include "model/PersonaGender.h"
#include "model/ReplyLength.h"
#include "model/ThemeChoice.h"
#include "model/UserAgeGroup.h"

#include <gtest/gtest.h>

#include <QSet>

using namespace quillo;

namespace {

// Every case survives the trip through its wire string, and no two cases share one.
template <typename E>
void expectWireStringsRoundTrip() {
    QSet<QString> seen;
    for (E value : allCases<E>()) {
        const QString wire = wireString(value);
        EXPECT_EQ(fromWireString<E>(wire), value) << wire.toStdString();
        EXPECT_EQ(wire, wire.toUpper());
        EXPECT_FALSE(seen.contains(wire)) << wire.toStdString();
        seen.insert(wire);
    }
}

template <typename E>
QStringList wireStrings() {
    QStringList strings;
    for (E value : allCases<E>())
        strings.append(wireString(value));
    return strings;
}

} // namespace

TEST(Enumerations, WireStringsRoundTripAndAreDistinct) {
    expectWireStringsRoundTrip<CefrLevel>();
    expectWireStringsRoundTrip<ReplyLength>();
    expectWireStringsRoundTrip<UserAgeGroup>();
    expectWireStringsRoundTrip<PersonaGender>();
    expectWireStringsRoundTrip<PersonaAge>();
    expectWireStringsRoundTrip<ConversationStyle>();
    expectWireStringsRoundTrip<ThemeChoice>();
    expectWireStringsRoundTrip<MessageRole>();
    expectWireStringsRoundTrip<MessageSource>();
}

TEST(Enumerations, CasesComeInDeclarationOrderWithTheirWireStrings) {
    EXPECT_EQ(wireStrings<CefrLevel>().join(u' '), u"A1 A2 B1 B2 C1 C2");
    EXPECT_EQ(wireStrings<ReplyLength>().join(u' '), u"SHORT MEDIUM LONG CHATTY");
    EXPECT_EQ(wireStrings<UserAgeGroup>().join(u' '), u"UNDER_18 ADULT");
    EXPECT_EQ(wireStrings<PersonaGender>().join(u' '), u"NEUTRAL WOMAN MAN");
    EXPECT_EQ(wireStrings<PersonaAge>().join(u' '), u"CHILD TEEN YOUNG_ADULT ADULT MATURE");
    EXPECT_EQ(wireStrings<ThemeChoice>().join(u' '), u"SYSTEM LIGHT DARK");
    EXPECT_EQ(wireStrings<MessageRole>().join(u' '), u"USER ASSISTANT");
    EXPECT_EQ(wireStrings<MessageSource>().join(u' '), u"USER DEMO PROVIDER");
    EXPECT_EQ(wireStrings<ConversationStyle>().join(u' '),
              u"FRIEND VERY_FRIENDLY CASUAL ULTRA_CASUAL CHILL PLAYFUL FUNNY CURIOUS SUPPORTIVE "
              u"CONCISE POLITE FORMAL TEACHER KID FLIRTY");
}

TEST(Enumerations, UnknownOrWronglyCasedWireStringsAreRejected) {
    EXPECT_EQ(fromWireString<CefrLevel>(u"b1"), std::nullopt);
    EXPECT_EQ(fromWireString<ConversationStyle>(u"VERYFRIENDLY"), std::nullopt);
    EXPECT_EQ(fromWireString<UserAgeGroup>(u""), std::nullopt);
}

TEST(Enumerations, TitlesAreTheLabelsUsersSee) {
    EXPECT_EQ(title(CefrLevel::B2), u"B2");
    EXPECT_EQ(title(UserAgeGroup::Under18), u"Under 18");
    EXPECT_EQ(title(UserAgeGroup::Adult), u"18+");
    EXPECT_EQ(title(PersonaAge::YoungAdult), u"Young adult");
    EXPECT_EQ(title(ThemeChoice::System), u"Automatic");
    EXPECT_EQ(title(ConversationStyle::UltraCasual), u"Ultra casual");
    EXPECT_EQ(title(ReplyLength::Chatty), u"Chatty");
}

TEST(Enumerations, ReplyLengthTable) {
    const std::vector<std::tuple<ReplyLength, int, int>> table{
        {ReplyLength::Short, 80, 2},
        {ReplyLength::Medium, 130, 2},
        {ReplyLength::Long, 220, 3},
        {ReplyLength::Chatty, 380, 5},
    };
    for (const auto& [length, tokens, lines] : table) {
        EXPECT_EQ(maxTokens(length), tokens);
        EXPECT_EQ(maxLines(length), lines);
    }
    EXPECT_EQ(promptInstruction(ReplyLength::Medium),
              u"Keep it concise but fuller: 1 or 2 lines with a little more detail.");
    EXPECT_EQ(promptInstruction(ReplyLength::Chatty),
              u"Write a fuller message of 3 to 5 lines, like a friend with a lot to say, still "
              u"without lists.");
}

TEST(Enumerations, EveryStyleHasItsGuidance) {
    for (ConversationStyle style : allCases<ConversationStyle>())
        EXPECT_FALSE(guidance(style).isEmpty()) << wireString(style).toStdString();
    EXPECT_EQ(guidance(ConversationStyle::Teacher),
              u"a friendly tutor who sometimes fixes one mistake in passing");
    EXPECT_EQ(guidance(ConversationStyle::Flirty), u"light, respectful flirting");
}

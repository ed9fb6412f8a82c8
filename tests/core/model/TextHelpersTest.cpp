// SPDX-License-Identifier: Apache-2.0
#include "model/TextHelpers.h"

#include <gtest/gtest.h>

using namespace quillo;

TEST(TextHelpers, ParseListTrimsDropsEmptiesAndKeepsTheFirstSpelling) {
    EXPECT_EQ(parseList(QStringLiteral("Music, music, , Travel,")),
              (QStringList{QStringLiteral("Music"), QStringLiteral("Travel")}));
    EXPECT_EQ(parseList(QStringLiteral(" chess \n,\tGo ,CHESS")),
              (QStringList{QStringLiteral("chess"), QStringLiteral("Go")}));
    EXPECT_TRUE(parseList(QStringLiteral(" , ,, ")).isEmpty());
    EXPECT_TRUE(parseList(QString()).isEmpty());
}

TEST(TextHelpers, ToggleListItemAddsOrRemovesEverySpelling) {
    EXPECT_EQ(toggleListItem(QStringLiteral("Music, Travel"), QStringLiteral("music")), u"Travel");
    EXPECT_EQ(toggleListItem(QString(), QStringLiteral("Music")), u"Music");
    EXPECT_EQ(toggleListItem(QStringLiteral("Travel,,  Food "), QStringLiteral("Music")),
              u"Travel, Food, Music");
    EXPECT_EQ(toggleListItem(QStringLiteral("Travel"), QStringLiteral("travel")), u"");
}

TEST(TextHelpers, CollapsingWhitespaceFoldsEveryRunIncludingLineBreaks) {
    EXPECT_EQ(collapsingWhitespace(QStringLiteral("  I  like\n\n tea\t ")), u"I like tea");
    EXPECT_EQ(collapsingWhitespace(QStringLiteral("a\u00A0\u2003b")), u"a b");
    EXPECT_EQ(collapsingWhitespace(QStringLiteral(" \n\t ")), u"");
}

TEST(TextHelpers, BlankMeansOnlyWhitespaceAndLineBreaks) {
    EXPECT_TRUE(isBlank(QString()));
    EXPECT_TRUE(isBlank(QStringLiteral(" \n\t\u3000")));
    EXPECT_FALSE(isBlank(QStringLiteral(" x ")));
}

TEST(TextHelpers, LeadingCharactersCountsWhatAPersonSeesAsOneCharacter) {
    // A family emoji is seven code points joined together; an e with a combining accent is two.
    const QString family = QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467");
    const QString accented = QStringLiteral("e\u0301");
    EXPECT_EQ(leadingCharacters(family + accented + QStringLiteral("xyz"), 2), family + accented);
    EXPECT_EQ(leadingCharacters(QStringLiteral("abc"), 10), u"abc");
    EXPECT_EQ(leadingCharacters(QStringLiteral("abc"), 0), u"");
}

// SPDX-License-Identifier: Apache-2.0
#include "model/Languages.h"

#include <gtest/gtest.h>

using namespace quillo;

TEST(Languages, KeyTrimsLowercasesAndFoldsAliases) {
    EXPECT_EQ(languageKey(QStringLiteral("  Mandarin \n")), u"chinese");
    for (const char16_t* alias : {u"Mandarin Chinese", u"simplified chinese",
                                  u"Traditional Chinese", u"CHINESE MANDARIN", u"mandarin"})
        EXPECT_EQ(languageKey(QString::fromUtf16(alias)), u"chinese");
    EXPECT_EQ(languageKey(QStringLiteral("BRAZILIAN portuguese")), u"portuguese");
    EXPECT_EQ(languageKey(QStringLiteral("Portuguese (Brazil)")), u"portuguese (brazil)");
    EXPECT_EQ(languageKey(QStringLiteral("Chinese (Mandarin)")), u"chinese (mandarin)");
}

TEST(Languages, AnyLanguageIsRecognisedThroughTheKey) {
    EXPECT_TRUE(isAnyLanguageName(QStringLiteral("  any LANGUAGE ")));
    EXPECT_TRUE(isAnyLanguageName(anyLanguageName()));
    EXPECT_FALSE(isAnyLanguageName(QStringLiteral("Any languages")));
}

TEST(Languages, RomanizationIsOfferedForNonLatinScriptsOnly) {
    EXPECT_TRUE(supportsRomanization(QStringLiteral("Mandarin Chinese")));
    EXPECT_TRUE(supportsRomanization(QStringLiteral(" Japanese")));
    EXPECT_TRUE(supportsRomanization(QStringLiteral("Thai")));
    EXPECT_FALSE(supportsRomanization(QStringLiteral("Vietnamese")));
    EXPECT_FALSE(supportsRomanization(QStringLiteral("Spanish")));
    EXPECT_EQ(romanizedLanguages().size(), 14);
}

// SPDX-License-Identifier: Apache-2.0
#include "language/FreeTranslator.h"

#include <gtest/gtest.h>

using namespace quillo;

namespace {

std::optional<QString> code(const char16_t* name) {
    return FreeTranslator::languageCode(QString::fromUtf16(name));
}

std::optional<Meaning> lookup(const char* body, const char16_t* text) {
    return FreeTranslator::parseLookup(QByteArray(body), QString::fromUtf16(text));
}

} // namespace

TEST(FreeTranslatorParsing, LanguageCodesComeFromTheTableOrAreGivenDirectly) {
    EXPECT_EQ(code(u"Cantonese"), u"zh-TW");
    EXPECT_EQ(code(u" Hebrew "), u"iw");
    EXPECT_EQ(code(u"Mandarin Chinese"), u"zh-CN");
    EXPECT_EQ(code(u"xx"), u"xx");
    EXPECT_EQ(code(u"ES"), u"es");
    EXPECT_EQ(code(u"Klingon"), std::nullopt);
    EXPECT_EQ(code(u"e1"), std::nullopt);
    EXPECT_EQ(code(u"e-"), std::nullopt);
    EXPECT_EQ(code(u"e"), std::nullopt);
    EXPECT_EQ(code(u"esp"), std::nullopt);
    EXPECT_EQ(code(u""), std::nullopt);

    // Any two letters, whatever the script, counted as a reader counts characters.
    EXPECT_EQ(code(u"中文"), u"中文");
    EXPECT_EQ(code(u" ÑA "), u"ña");
    EXPECT_EQ(code(u"\U00010428\U00010429"), u"\U00010428\U00010429") << "outside the BMP";
    EXPECT_EQ(code(u"e\u0301s"), u"e\u0301s") << "an accent that combines is no character";
    EXPECT_EQ(code(u"e\u0301"), std::nullopt);
    EXPECT_EQ(code(u"文1"), std::nullopt);
}

TEST(FreeTranslatorParsing, LookupJoinsTheSentencesAndRejectsAnEcho) {
    const auto meaning = lookup(R"({"sentences":[{"trans":"Hello","orig":"Hola"},
                                                 {"orig":"no translation here"},
                                                 {"trans":" world\n","orig":" mundo"}]})",
                                u"Hola mundo");
    ASSERT_TRUE(meaning);
    EXPECT_EQ(meaning->text, u"Hello world");
    EXPECT_TRUE(meaning->alternatives.isEmpty());

    EXPECT_EQ(lookup(R"({"sentences":[{"trans":"Hola"}]})", u"  hola "), std::nullopt);
    EXPECT_EQ(lookup(R"({"sentences":[{"trans":"  "}]})", u"x"), std::nullopt);
}

TEST(FreeTranslatorParsing, AlternativesSkipRepeatsAndStopAtThree) {
    const auto meaning = lookup(R"({"sentences":[{"trans":"hello"}],
        "dict":[{"pos":"interjection","terms":["hi","Hi","hello",7]},
                {"terms":["hey","greetings","howdy"]}]})",
                                u"hola");
    ASSERT_TRUE(meaning);
    EXPECT_EQ(meaning->alternatives, (QStringList{QStringLiteral("hi"), QStringLiteral("hey"),
                                                  QStringLiteral("greetings")}));
}

TEST(FreeTranslatorParsing, LookupAnswersOfAnotherShapeGiveNothing) {
    for (const char* body : {"", "not json", "[\"hello\"]", "{\"dict\":[]}",
                             "{\"sentences\":{\"trans\":\"hello\"}}", "{\"sentences\":[]}"})
        EXPECT_EQ(lookup(body, u"hola"), std::nullopt) << body;
}

TEST(FreeTranslatorParsing, BatchEntriesAreReadOneForOne) {
    const auto translations = FreeTranslator::parseBatch(
        R"([" house ", ["dog", "es"], [7, "cat"], null, {"t":"x"}, []])", 6);
    ASSERT_TRUE(translations);
    EXPECT_EQ(*translations,
              (QStringList{QStringLiteral("house"), QStringLiteral("dog"), {}, {}, {}, {}}));

    EXPECT_EQ(FreeTranslator::parseBatch(R"(["a","b"])", 3), std::nullopt);
    EXPECT_EQ(FreeTranslator::parseBatch(R"({"a":"b"})", 1), std::nullopt);
    EXPECT_EQ(FreeTranslator::parseBatch("garbage", 1), std::nullopt);
    EXPECT_EQ(FreeTranslator::parseBatch("", 0), QStringList());
}

TEST(FreeTranslatorParsing, BatchBodyEncodesAllButTheFormSafeCharacters) {
    EXPECT_EQ(FreeTranslator::batchBody({QStringLiteral("a b"), QStringLiteral("c&d")}),
              "q=a%20b&q=c%26d");
    EXPECT_EQ(FreeTranslator::batchBody({QStringLiteral("Añ-._*~+=")}), "q=A%C3%B1-._*%7E%2B%3D");
    EXPECT_EQ(FreeTranslator::batchBody({QStringLiteral(""), QStringLiteral("猫")}),
              "q=&q=%E7%8C%AB");
}

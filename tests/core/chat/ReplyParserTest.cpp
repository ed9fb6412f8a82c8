// SPDX-License-Identifier: Apache-2.0
#include "chat/ReplyParser.h"
#include "chat/ChatClient.h"

#include <gtest/gtest.h>

using namespace quillo;

namespace {

std::optional<QString> parse(const char* raw, int maxLines = 5) {
    return ReplyParser::parseReply(QString::fromUtf8(raw), maxLines);
}

std::optional<QString> field(const char* raw, const char* key) {
    return ReplyParser::field(QString::fromUtf8(raw), QString::fromUtf8(key));
}

BotProfile contactSpeaking(const char* language) {
    BotProfile bot;
    bot.displayName = QStringLiteral("Kim");
    bot.targetLanguage = QString::fromUtf8(language);
    return bot;
}

} // namespace

TEST(ReplyParser, FindsTheObjectBehindReasoningFencesAndProse) {
    EXPECT_EQ(parse("<think>The user wants {\"message\":\"no\"}\nhmm</think>\n```json\n"
                    "{\"message\":\"¡Hola, Ana!\",\"remember\":\"\"}\n```"),
              u"¡Hola, Ana!");
    EXPECT_EQ(parse("Sure! Here it is: {\"message\": \"Ça va?\"} Hope that helps."), u"Ça va?");
    // The span runs from the first brace to the last; when that is no object, the message
    // pattern still finds the text.
    EXPECT_EQ(parse("{\"message\":\"a {nested} brace\"} and a } later"), u"a {nested} brace");
    EXPECT_EQ(parse("{'message': 'single', remember: '',}"), u"single");
}

TEST(ReplyParser, FallsBackThroughPreferredKeysThenTheFirstTextByKey) {
    EXPECT_EQ(parse(R"({"message": 42, "reply": "from reply", "text": "from text"})"),
              u"from reply");
    EXPECT_EQ(parse(R"({"answer": "from answer", "content": "from content"})"), u"from content");
    EXPECT_EQ(parse(R"({"zeta": "last", "alpha": "first", "language": "aaa"})"), u"first");
    EXPECT_EQ(parse(R"({"remember": "likes tea", "language": "Spanish"})"), std::nullopt);
    EXPECT_EQ(parse(R"({"message": {"text": "deep"}, "n": 3})"), std::nullopt);
}

TEST(ReplyParser, RescuesTheMessageFromABrokenObject) {
    EXPECT_EQ(parse(R"({"message": "Line one\nSay \"hi\" at 3\/4\tok", "remember": "cut)"),
              u"Line one\nSay \"hi\" at 3/4\tok");
    EXPECT_EQ(parse(R"({"message": "Bonjour, comment ça)"), std::nullopt);
    EXPECT_EQ(parse(R"(Here: "message" is missing its value)"), std::nullopt);
}

TEST(ReplyParser, PlainProseIsTheMessage) {
    EXPECT_EQ(parse("one\ntwo\nthree\nfour\nfive\nsix", 2), u"one\ntwo");
    EXPECT_EQ(parse("  \n\t hello there \t\n\n  "), u"hello there");
    EXPECT_EQ(parse("```\n```"), std::nullopt);
    EXPECT_EQ(parse("<think>only thinking</think>"), std::nullopt);
}

TEST(ReplyParser, KeepsOnlyTheFirstNonEmptyLinesOfTheMessage) {
    EXPECT_EQ(parse(R"({"message":"first\n\n  second  \n \n\tthird"})"), u"first\nsecond\nthird");
    EXPECT_EQ(parse(R"({"message":"first\r\nsecond\nthird"})", 2), u"first\nsecond");
    EXPECT_EQ(parse(R"({"message":"   "})"), std::nullopt);
}

TEST(ReplyParser, FieldsAreTrimmedTextOrNumbers) {
    const char* raw = R"(```json
{"message":"hi","level":" B2+ ","remember":"  ","n":2,"x":1.5,"flag":true,"list":[]}
```)";
    EXPECT_EQ(field(raw, "level"), u"B2+");
    EXPECT_EQ(field(raw, "remember"), std::nullopt);
    EXPECT_EQ(field(raw, "n"), u"2");
    EXPECT_EQ(field(raw, "x"), u"1.5");
    EXPECT_EQ(field(raw, "flag"), std::nullopt);
    EXPECT_EQ(field(raw, "list"), std::nullopt);
    EXPECT_EQ(field(raw, "missing"), std::nullopt);
    EXPECT_EQ(field("no object here", "message"), std::nullopt);
}

TEST(BotReplyPacking, AnyLanguageContactsGetLanguageAndLevel) {
    const BotProfile any = contactSpeaking("Any language");
    const auto levelOf = [&](const char* level) {
        const QString raw = QStringLiteral(R"({"message":"Hi","level":")") +
                            QString::fromUtf8(level) + QStringLiteral("\"}");
        return ChatClient::botReply(raw, any, 2)->level;
    };
    EXPECT_EQ(levelOf("b2"), CefrLevel::B2);
    EXPECT_EQ(levelOf("B2+"), CefrLevel::B2);
    EXPECT_EQ(levelOf("B2 (upper intermediate)"), CefrLevel::B2);
    EXPECT_EQ(levelOf("intermediate"), std::nullopt);
    EXPECT_EQ(levelOf("D1"), std::nullopt);

    const auto reply = ChatClient::botReply(
        QStringLiteral(R"({"message":"Hallo!","language":" German ","remember":"Has a dog"})"), any,
        2);
    ASSERT_TRUE(reply.ok());
    EXPECT_EQ(*reply, (BotReply{QStringLiteral("Hallo!"), QStringLiteral("German"), std::nullopt,
                                QStringLiteral("Has a dog")}));
}

TEST(BotReplyPacking, OrdinaryContactsIgnoreLanguageAndLevel) {
    const auto reply = ChatClient::botReply(
        QStringLiteral(R"({"message":"Hola","language":"English","level":"C2","remember":"none"})"),
        contactSpeaking("Spanish"), 2);
    ASSERT_TRUE(reply.ok());
    EXPECT_EQ(*reply, (BotReply{QStringLiteral("Hola"), std::nullopt, std::nullopt,
                                QStringLiteral("none")}));
}

TEST(BotReplyPacking, NoUsableTextIsTheEmptyReplyFailure) {
    const auto reply = ChatClient::botReply(
        QStringLiteral(R"({"remember":"x","language":"Spanish"})"), contactSpeaking("Spanish"), 2);
    ASSERT_FALSE(reply.ok());
    EXPECT_EQ(reply.error(), (ProviderError{200, QStringLiteral("Empty reply")}));
    EXPECT_FALSE(reply.error().isRetryable());
}

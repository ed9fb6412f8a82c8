// SPDX-License-Identifier: Apache-2.0
#include "model/BotProfile.h"
#include "model/ChatMessage.h"
#include "model/Identifiers.h"
#include "model/Meaning.h"
#include "model/TextSettings.h"
#include "model/UserProfile.h"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QRegularExpression>

using namespace quillo;

namespace {

QJsonObject json(const char* text) {
    return QJsonDocument::fromJson(QByteArray(text)).object();
}

template <typename T>
T decodeOk(const QJsonValue& value) {
    auto decoded = T::fromJson(value);
    EXPECT_TRUE(decoded.ok()) << (decoded.ok() ? "" : decoded.error().message().toStdString());
    return decoded.ok() ? std::move(decoded).value() : T{};
}

template <typename T>
QString decodeError(const QJsonValue& value) {
    auto decoded = T::fromJson(value);
    EXPECT_FALSE(decoded.ok());
    return decoded.ok() ? QString() : decoded.error().message();
}

const char* minimalBot = R"({"displayName":"Lucía","targetLanguage":"Spanish","topic":"food",
                             "personality":"warm","styleNote":"casual"})";

bool isLowerCaseUuid(const QString& id) {
    static const QRegularExpression uuid(
        QStringLiteral("^[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$"));
    return uuid.match(id).hasMatch();
}

} // namespace

TEST(RecordDecoding, EveryRecordRoundTripsThroughItsEncoding) {
    UserProfile profile;
    profile.displayName = QStringLiteral("Ana");
    profile.ageGroup = UserAgeGroup::Under18;
    profile.interests = {QStringLiteral("chess"), QStringLiteral("music")};
    profile.progressiveDifficulty = false;
    profile.languages = {
        LanguageSettings(QStringLiteral("Japanese"), CefrLevel::B1, ReplyLength::Chatty, false)};
    profile.setupCompleted = true;
    profile.about = QStringLiteral("likes trains");
    EXPECT_EQ(decodeOk<UserProfile>(profile.toJson()), profile);

    BotProfile bot = decodeOk<BotProfile>(json(minimalBot));
    bot.conversationStyle = ConversationStyle::Teacher;
    bot.speakingLevel = CefrLevel::C1;
    bot.memories = {QStringLiteral("has a cat")};
    EXPECT_EQ(decodeOk<BotProfile>(bot.toJson()), bot);

    ChatMessage message{newID(),
                        bot.id,
                        MessageRole::Assistant,
                        QStringLiteral("¡Hola!"),
                        {WordGloss{QStringLiteral("Hola"), QStringLiteral("Hello")}},
                        1700000000123,
                        MessageSource::Demo,
                        QStringLiteral("Spanish")};
    EXPECT_EQ(decodeOk<ChatMessage>(message.toJson()), message);

    const Meaning meaning{QStringLiteral("cat"), {QStringLiteral("kitty")}};
    EXPECT_EQ(decodeOk<Meaning>(meaning.toJson()), meaning);
    const TextSettings text{18.0, 1.2, 11.0, 2.0};
    EXPECT_EQ(decodeOk<TextSettings>(text.toJson()), text);
}

TEST(RecordDecoding, EncodingWritesEveryFieldButAnAbsentLevel) {
    BotProfile bot = decodeOk<BotProfile>(json(minimalBot));
    EXPECT_EQ(bot.toJson().size(), 14);
    EXPECT_FALSE(bot.toJson().contains(QStringLiteral("speakingLevel")));
    bot.speakingLevel = CefrLevel::A2;
    EXPECT_EQ(bot.toJson().value(QStringLiteral("speakingLevel")), QStringLiteral("A2"));
    EXPECT_EQ(UserProfile().toJson().size(), 8);
    EXPECT_EQ(ChatMessage().toJson().size(), 8);
}

TEST(RecordDecoding, AFreshProfileAndAnEmptyObjectAgree) {
    const UserProfile profile = decodeOk<UserProfile>(QJsonObject());
    EXPECT_EQ(profile, UserProfile());
    EXPECT_EQ(profile.ageGroup, UserAgeGroup::Adult);
    EXPECT_TRUE(profile.progressiveDifficulty);
    EXPECT_FALSE(profile.setupCompleted);
}

TEST(RecordDecoding, LenientFieldsFallBackWhenMissingOrInvalid) {
    const UserProfile profile = decodeOk<UserProfile>(
        json(R"({"displayName":42,"ageGroup":"TODDLER","progressiveDifficulty":"yes",
                 "setupCompleted":null,"about":["x"]})"));
    EXPECT_EQ(profile, UserProfile());

    const BotProfile bot = decodeOk<BotProfile>(
        json(R"({"displayName":"Kai","targetLanguage":"German","topic":"","personality":"",
                 "styleNote":"","conversationStyle":"GRUMPY","personaAge":7,"isEnabled":"no",
                 "accent":false,"speakingLevel":"Z9","id":17})"));
    EXPECT_EQ(bot.conversationStyle, ConversationStyle::Friend);
    EXPECT_EQ(bot.personaAge, PersonaAge::Adult);
    EXPECT_TRUE(bot.isEnabled);
    EXPECT_EQ(bot.accent, u"#5BB6FF");
    EXPECT_EQ(bot.speakingLevel, std::nullopt);
    EXPECT_TRUE(isLowerCaseUuid(bot.id)) << bot.id.toStdString();

    const TextSettings text =
        decodeOk<TextSettings>(json(R"({"textSize":"big","lineSpacing":2,"readingGap":null})"));
    EXPECT_EQ(text, (TextSettings{16.0, 2.0, 10.5, 1.0}));
}

TEST(RecordDecoding, StrictOptionalFieldsFallBackOnlyWhenMissing) {
    EXPECT_TRUE(
        decodeOk<UserProfile>(json(R"({"interests":null,"languages":null})")).interests.isEmpty());
    EXPECT_EQ(decodeError<UserProfile>(json(R"({"interests":"chess, go"})")),
              u"interests: expected a list");
    EXPECT_EQ(decodeError<UserProfile>(json(R"({"interests":["chess",3]})")),
              u"interests[1]: expected text");
    EXPECT_EQ(
        decodeError<UserProfile>(json(R"({"languages":[{"language":"French"},{"level":"B2"}]})")),
        u"languages[1].language: missing");
    EXPECT_EQ(
        decodeError<UserProfile>(json(R"({"languages":[{"language":"French","level":"Z1"}]})")),
        u"languages[0].level: unknown value \"Z1\"");
    EXPECT_EQ(decodeError<ChatMessage>(
                  json(R"({"botId":"b","role":"USER","text":"hi","words":[{"text":"hi"}]})")),
              u"words[0].gloss: missing");
    EXPECT_EQ(decodeError<Meaning>(json(R"({"text":"x","alternatives":{}})")),
              u"alternatives: expected a list");
}

TEST(RecordDecoding, RequiredFieldsFailTheRecord) {
    EXPECT_EQ(decodeError<BotProfile>(json(R"({"targetLanguage":"Spanish","topic":"",
                                              "personality":"","styleNote":""})")),
              u"displayName: missing");
    EXPECT_EQ(decodeError<BotProfile>(json(R"({"displayName":null,"targetLanguage":"Spanish",
                                              "topic":"","personality":"","styleNote":""})")),
              u"displayName: missing");
    EXPECT_EQ(decodeError<BotProfile>(json(R"({"displayName":"A","targetLanguage":1,"topic":"",
                                              "personality":"","styleNote":""})")),
              u"targetLanguage: expected text");
    EXPECT_EQ(decodeError<ChatMessage>(json(R"({"botId":"b","role":"BOT","text":"hi"})")),
              u"role: unknown value \"BOT\"");
    EXPECT_EQ(decodeError<LanguageSettings>(json(R"({"level":"A1"})")), u"language: missing");
    EXPECT_EQ(decodeError<WordGloss>(QJsonValue(3)), u"expected an object");
}

TEST(RecordDecoding, MessageDefaultsComeFromTheMomentOfDecodingAndTheRole) {
    const qint64 before = nowMillis();
    const ChatMessage reply =
        decodeOk<ChatMessage>(json(R"({"botId":"b","role":"ASSISTANT","text":"hi",
                                       "createdAt":"yesterday","source":"ROBOT"})"));
    const qint64 after = nowMillis();
    EXPECT_GE(reply.createdAt, before);
    EXPECT_LE(reply.createdAt, after);
    EXPECT_EQ(reply.source, MessageSource::Provider);
    EXPECT_TRUE(isLowerCaseUuid(reply.id));

    const ChatMessage typed = decodeOk<ChatMessage>(
        json(R"({"botId":"b","role":"USER","text":"hi","createdAt":1700000000000.0})"));
    EXPECT_EQ(typed.source, MessageSource::User);
    EXPECT_EQ(typed.createdAt, 1700000000000);

    const ChatMessage fractional =
        decodeOk<ChatMessage>(json(R"({"botId":"b","role":"USER","text":"hi","createdAt":1.5})"));
    EXPECT_GE(fractional.createdAt, before);
}

TEST(RecordDecoding, LanguageSettingsDefaultTheReadingLineByLanguage) {
    EXPECT_TRUE(decodeOk<LanguageSettings>(json(R"({"language":"Korean"})")).showsRomanization);
    EXPECT_FALSE(decodeOk<LanguageSettings>(json(R"({"language":"Italian"})")).showsRomanization);
    EXPECT_FALSE(
        decodeOk<LanguageSettings>(json(R"({"language":"Korean","showsRomanization":false})"))
            .showsRomanization);
    EXPECT_EQ(decodeError<LanguageSettings>(json(R"({"language":"Korean","level":3})")),
              u"level: expected text");
    EXPECT_TRUE(LanguageSettings(QStringLiteral("Mandarin")).showsRomanization);
}

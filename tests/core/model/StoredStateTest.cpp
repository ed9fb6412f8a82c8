// SPDX-License-Identifier: Apache-2.0
#include "model/StoredState.h"
#include "TestRecords.h"

#include <gtest/gtest.h>

#include <QJsonDocument>

using namespace quillo;
using quillo::testrecords::contact;

namespace {

QJsonObject json(const char* text) {
    return QJsonDocument::fromJson(QByteArray(text)).object();
}

StoredState decodeOk(const QJsonValue& value) {
    auto decoded = StoredState::fromJson(value);
    EXPECT_TRUE(decoded.ok()) << (decoded.ok() ? "" : decoded.error().message().toStdString());
    return decoded.ok() ? std::move(decoded).value() : StoredState{};
}

QString decodeError(const QJsonValue& value) {
    auto decoded = StoredState::fromJson(value);
    EXPECT_FALSE(decoded.ok());
    return decoded.ok() ? QString() : decoded.error().message();
}

ChatMessage message(const QString& id, const QString& botId, MessageRole role, qint64 createdAt) {
    return {id, botId, role, id, {}, createdAt, MessageSource::User, {}};
}

const QString spanish = QStringLiteral("Spanish");
const QString japanese = QStringLiteral("Japanese");

// A document with something in every field.
StoredState fullDocument() {
    StoredState state;
    state.profile.displayName = QStringLiteral("Ana");
    state.profile.setupCompleted = true;
    state.profile.languages = {LanguageSettings(spanish, CefrLevel::B2)};
    state.bots = {contact(QStringLiteral("lucia"), spanish)};
    state.bots[0].speakingLevel = CefrLevel::C1;
    ChatMessage glossed = message(QStringLiteral("m1"), QStringLiteral("lucia"),
                                  MessageRole::Assistant, 1700000000123);
    glossed.words = {WordGloss{QStringLiteral("Hola"), QStringLiteral("Hello")}};
    state.messages = {glossed, message(QStringLiteral("m2"), QStringLiteral("lucia"),
                                       MessageRole::User, 1700000000456)};
    state.lastReadAt = {{QStringLiteral("lucia"), 1700000000123}};
    state.nextNudgeAt = {{QStringLiteral("lucia"), 1800000000000}};
    state.botsCanStartConversations = true;
    state.notificationsEnabled = false;
    state.keepRunningWhenClosed = false;
    state.wordTranslations = false;
    state.theme = ThemeChoice::Dark;
    state.translationCache = {{QStringLiteral("es|en|gato"), Meaning{QStringLiteral("cat"), {}}}};
    state.textSettings = TextSettings{18.0, 1.2, 11.0, 2.0};
    state.speechLanguage = QStringLiteral("German");
    return state;
}

} // namespace

TEST(StoredState, AnEmptyObjectIsTheFreshDocument) {
    const StoredState state = decodeOk(QJsonObject());
    EXPECT_EQ(state, StoredState());
    EXPECT_FALSE(state.profile.setupCompleted);
    EXPECT_FALSE(state.botsCanStartConversations);
    EXPECT_TRUE(state.notificationsEnabled);
    EXPECT_TRUE(state.keepRunningWhenClosed) << "closing the window leaves Quillo running";
    EXPECT_TRUE(state.wordTranslations);
    EXPECT_EQ(state.theme, ThemeChoice::System);
    EXPECT_EQ(decodeOk(json(R"({"profile":null,"bots":null,"messages":null})")), StoredState());
}

TEST(StoredState, SettingsAndMapsFallBackToTheirDefaultsOnTheirOwn) {
    const StoredState state = decodeOk(json(R"({
        "notificationsEnabled": "no", "botsCanStartConversations": 1, "wordTranslations": false,
        "keepRunningWhenClosed": null,
        "theme": "PURPLE", "lastReadAt": [1, 2],
        "nextNudgeAt": {"lucia": 1800000000000, "kenji": "soon"},
        "translationCache": {"a": {"text": "cat"}, "b": {"alternatives": []}},
        "textSettings": "large", "speechLanguage": 7})"));
    EXPECT_TRUE(state.notificationsEnabled);
    EXPECT_TRUE(state.keepRunningWhenClosed);
    EXPECT_FALSE(state.botsCanStartConversations);
    EXPECT_FALSE(state.wordTranslations); // a valid neighbour is still read
    EXPECT_EQ(state.theme, ThemeChoice::System);
    EXPECT_TRUE(state.lastReadAt.isEmpty());
    EXPECT_TRUE(state.nextNudgeAt.isEmpty()); // one bad entry spoils the whole map
    EXPECT_TRUE(state.translationCache.isEmpty());
    EXPECT_EQ(state.textSettings, TextSettings());
    EXPECT_EQ(state.speechLanguage, u"");

    const StoredState partly = decodeOk(json(R"({"textSettings": {"textSize": 20}})"));
    EXPECT_EQ(partly.textSettings.textSize, 20.0);
    EXPECT_EQ(partly.textSettings.lineSpacing, TextSettings().lineSpacing);
}

TEST(StoredState, AFailureInsideProfileContactsOrMessagesFailsTheDocument) {
    EXPECT_EQ(decodeError(json(R"({"messages": [
        {"botId":"b","role":"USER","text":"1"}, {"botId":"b","role":"USER","text":"2"},
        {"botId":"b","role":"USER","text":"3"}, {"botId":"b","role":"ASSISTANT"}]})")),
              u"messages[3].text: missing");
    EXPECT_EQ(decodeError(json(R"({"bots": [{"targetLanguage":"Spanish","topic":"",
                                             "personality":"","styleNote":""}]})")),
              u"bots[0].displayName: missing");
    EXPECT_EQ(decodeError(json(R"({"profile": {"languages": [{"level":"B1"}]}})")),
              u"profile.languages[0].language: missing");
    EXPECT_EQ(decodeError(json(R"({"profile": "Ana"})")), u"profile: expected an object");
    EXPECT_EQ(decodeError(json(R"({"bots": {}})")), u"bots: expected a list");
    EXPECT_EQ(decodeError(QJsonArray()), u"expected an object");
}

TEST(StoredState, EncodingWritesEveryFieldAndRoundTrips) {
    const StoredState state = fullDocument();
    const QJsonObject encoded = state.toJson();
    EXPECT_EQ(encoded.keys(),
              (QStringList{QStringLiteral("bots"), QStringLiteral("botsCanStartConversations"),
                           QStringLiteral("keepRunningWhenClosed"), QStringLiteral("lastReadAt"),
                           QStringLiteral("messages"), QStringLiteral("nextNudgeAt"),
                           QStringLiteral("notificationsEnabled"), QStringLiteral("profile"),
                           QStringLiteral("speechLanguage"), QStringLiteral("textSettings"),
                           QStringLiteral("theme"), QStringLiteral("translationCache"),
                           QStringLiteral("wordTranslations")}));
    EXPECT_EQ(decodeOk(encoded), state);
    EXPECT_EQ(decodeOk(StoredState().toJson()), StoredState());

    // Times are written as integers, never in exponent form.
    const QByteArray bytes = QJsonDocument(encoded).toJson(QJsonDocument::Compact);
    EXPECT_TRUE(bytes.contains(R"("lastReadAt":{"lucia":1700000000123})")) << bytes.data();
    EXPECT_TRUE(bytes.contains(R"("createdAt":1700000000456)"));
    EXPECT_TRUE(bytes.contains(R"("theme":"DARK")"));
}

TEST(StoredState, LooksUpContactsAndTheirMessages) {
    StoredState state;
    state.bots = {contact(QStringLiteral("a"), spanish), contact(QStringLiteral("b"), japanese)};
    state.messages = {message(QStringLiteral("1"), QStringLiteral("a"), MessageRole::User, 1),
                      message(QStringLiteral("2"), QStringLiteral("b"), MessageRole::User, 2),
                      message(QStringLiteral("3"), QStringLiteral("a"), MessageRole::Assistant, 3)};
    ASSERT_TRUE(state.bot(QStringLiteral("b")).has_value());
    EXPECT_EQ(state.bot(QStringLiteral("b"))->targetLanguage, japanese);
    EXPECT_FALSE(state.bot(QStringLiteral("B")).has_value());

    const QList<ChatMessage> chat = state.messagesFor(QStringLiteral("a"));
    ASSERT_EQ(chat.size(), 2);
    EXPECT_EQ(chat[0].id, u"1");
    EXPECT_EQ(chat[1].id, u"3");
    EXPECT_TRUE(state.messagesFor(QStringLiteral("nobody")).isEmpty());
}

TEST(StoredState, UnreadCountsTheContactsMessagesAfterTheMark) {
    StoredState state;
    const QString a = QStringLiteral("a");
    state.messages = {
        message(QStringLiteral("1"), a, MessageRole::Assistant, 100),
        message(QStringLiteral("2"), a, MessageRole::User, 200),
        message(QStringLiteral("3"), a, MessageRole::Assistant, 200),
        message(QStringLiteral("4"), a, MessageRole::Assistant, 300),
        message(QStringLiteral("5"), QStringLiteral("b"), MessageRole::Assistant, 400)};
    EXPECT_EQ(state.unreadCount(a), 3); // no mark: every reply of the contact
    state.lastReadAt.insert(a, 200);
    EXPECT_EQ(state.unreadCount(a), 1); // a reply at the mark itself is read
    state.lastReadAt.insert(a, 300);
    EXPECT_EQ(state.unreadCount(a), 0);
    EXPECT_EQ(state.unreadCount(QStringLiteral("nobody")), 0);
}

TEST(StoredState, PractisedLanguagesFollowTheContacts) {
    StoredState state;
    state.profile.languages = {LanguageSettings(spanish, CefrLevel::B2, ReplyLength::Long),
                               LanguageSettings(japanese, CefrLevel::C1)};
    state.bots = {contact(QStringLiteral("1"), spanish),
                  contact(QStringLiteral("2"), QStringLiteral("  spanish \n")),
                  contact(QStringLiteral("3"), QStringLiteral("Chinese")),
                  contact(QStringLiteral("4"), QStringLiteral("Mandarin")),
                  contact(QStringLiteral("5"), QStringLiteral("any language")),
                  contact(QStringLiteral("6"), QStringLiteral("  "))};
    const StoredState synced = state.withSyncedLanguages();
    EXPECT_EQ(synced.profile.languages,
              (QList<LanguageSettings>{LanguageSettings(spanish, CefrLevel::B2, ReplyLength::Long),
                                       LanguageSettings(QStringLiteral("Chinese"))}));
    EXPECT_TRUE(synced.profile.languages[1].showsRomanization);
    EXPECT_EQ(synced.bots, state.bots);

    // Japanese lost its last contact and its settings with it; a new one brings it back fresh.
    StoredState again = synced;
    again.bots.append(contact(QStringLiteral("7"), japanese));
    EXPECT_EQ(again.withSyncedLanguages().profile.languages.last(),
              LanguageSettings(japanese, CefrLevel::A1, ReplyLength::Short, true));

    StoredState onlyAny;
    onlyAny.profile.languages = {LanguageSettings(spanish)};
    onlyAny.bots = {contact(QStringLiteral("x"), QStringLiteral("Any language"))};
    EXPECT_TRUE(onlyAny.withSyncedLanguages().profile.languages.isEmpty());
}

TEST(StoredState, TheAccountCopyDropsGlossesAndDevicePreferences) {
    const StoredState state = fullDocument();
    const StoredState account = state.forAccount();
    ASSERT_EQ(account.messages.size(), state.messages.size());
    for (qsizetype i = 0; i < state.messages.size(); ++i) {
        EXPECT_TRUE(account.messages.at(i).words.isEmpty());
        EXPECT_EQ(account.messages.at(i).text, state.messages.at(i).text);
    }
    EXPECT_FALSE(state.messages.first().words.isEmpty()); // the original keeps its glosses

    StoredState expected = state;
    expected.messages = account.messages;
    const StoredState fresh;
    expected.nextNudgeAt = fresh.nextNudgeAt;
    expected.botsCanStartConversations = fresh.botsCanStartConversations;
    expected.notificationsEnabled = fresh.notificationsEnabled;
    expected.keepRunningWhenClosed = fresh.keepRunningWhenClosed;
    expected.theme = fresh.theme;
    expected.translationCache = fresh.translationCache;
    expected.textSettings = fresh.textSettings;
    EXPECT_EQ(account, expected); // profile, contacts, marks, wordTranslations, speech kept
}

TEST(StoredState, SigningOutKeepsOnlyThisDevicesPreferences) {
    const StoredState state = fullDocument();
    StoredState expected;
    expected.botsCanStartConversations = true;
    expected.notificationsEnabled = false;
    expected.keepRunningWhenClosed = false;
    expected.theme = ThemeChoice::Dark;
    expected.textSettings = state.textSettings;
    EXPECT_EQ(state.signedOut(), expected);
    EXPECT_TRUE(state.signedOut().wordTranslations);
}

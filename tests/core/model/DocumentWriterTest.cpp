// SPDX-License-Identifier: Apache-2.0
#include "model/DocumentWriter.h"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>

using namespace quillo;

namespace {

StoredState richDocument() {
    StoredState state;
    state.profile.displayName = QStringLiteral("Ana \"la\" María");
    state.profile.interests = {QStringLiteral("chess"), QStringLiteral("日本")};
    state.profile.languages = {LanguageSettings(QStringLiteral("Japanese"), CefrLevel::B1)};
    state.profile.about = QStringLiteral("line\nbreak\ttab \\ slash / and \u2028");
    BotProfile bot;
    bot.id = QStringLiteral("b1");
    bot.displayName = QStringLiteral("Kenji 🚃");
    bot.targetLanguage = QStringLiteral("Japanese");
    bot.speakingLevel = CefrLevel::C1;
    bot.memories = {QStringLiteral("likes trains")};
    state.bots = {bot, bot};
    state.bots[1].id = QStringLiteral("b2");
    state.bots[1].speakingLevel.reset();
    for (int i = 0; i < 3; ++i)
        state.messages.append({QStringLiteral("m%1").arg(i),
                               QStringLiteral("b1"),
                               i % 2 ? MessageRole::Assistant : MessageRole::User,
                               QStringLiteral("こんにちは\u0001 %1").arg(i),
                               {{QStringLiteral("こんにちは"), QStringLiteral("hello")}},
                               1'700'000'000'000 + i,
                               MessageSource::Provider,
                               QStringLiteral("Japanese")});
    state.lastReadAt = {{QStringLiteral("b1"), 1'700'000'000'002}};
    state.nextNudgeAt = {{QStringLiteral("b2"), -5}};
    state.botsCanStartConversations = true;
    state.keepRunningWhenClosed = false;
    state.theme = ThemeChoice::Dark;
    state.translationCache = {
        {QStringLiteral("ja|en|駅"), Meaning{QStringLiteral("station"), {QStringLiteral("stop")}}}};
    state.textSettings = {17.5, 1.45, 10.0, 1e-3};
    state.speechLanguage = QStringLiteral("Japanese");
    return state;
}

} // namespace

TEST(DocumentWriter, WritesWhatQtsWriterWritesForTheSameDocument) {
    const StoredState state = richDocument();
    EXPECT_EQ(compactDocumentJson(state),
              QJsonDocument(state.toJson()).toJson(QJsonDocument::Compact));
    EXPECT_EQ(compactDocumentJson(StoredState()),
              QJsonDocument(StoredState().toJson()).toJson(QJsonDocument::Compact));
    // The sync mark, with and without a fingerprint; it reads back, and a bad one reads as none.
    StoredState marked = state;
    for (const auto& fingerprint :
         {std::optional<QString>(), std::optional(QStringLiteral("f/+="))}) {
        marked.syncMark = SyncMark{1'795'000'000'123, fingerprint};
        const QByteArray bytes = compactDocumentJson(marked);
        EXPECT_EQ(bytes, QJsonDocument(marked.toJson()).toJson(QJsonDocument::Compact));
        EXPECT_EQ(StoredState::fromJson(QJsonDocument::fromJson(bytes).object()).value(), marked);
        EXPECT_FALSE(marked.forAccount().syncMark);
        EXPECT_FALSE(marked.signedOut().syncMark);
    }
    QJsonObject bad = marked.toJson();
    bad.insert(QStringLiteral("syncMark"), QJsonObject{{QStringLiteral("syncedAt"), true}});
    EXPECT_FALSE(StoredState::fromJson(bad).value().syncMark);
}

TEST(DocumentWriter, EveryStringReadsBackExactly) {
    StoredState state = richDocument();
    QString awkward = QStringLiteral("\"\\/\b\f\n\r\t\u001f\u007f\u00e9\u20ac");
    awkward += QChar(0xD800); // a lone half of a surrogate pair
    awkward += QStringLiteral("😀");
    awkward += QChar(0xDC00);
    state.profile.about = awkward;
    state.translationCache.insert(awkward, Meaning{awkward, {}});
    const auto read =
        StoredState::fromJson(QJsonDocument::fromJson(compactDocumentJson(state)).object());
    ASSERT_TRUE(read.ok());
    EXPECT_EQ(read.value(), state);
}

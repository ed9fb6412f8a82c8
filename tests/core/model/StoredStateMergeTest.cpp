// SPDX-License-Identifier: Apache-2.0
#include "TestRecords.h"
#include "model/StoredState.h"

#include <gtest/gtest.h>

using namespace quillo;
using quillo::testrecords::contact;

namespace {

ChatMessage message(const QString& id, qint64 createdAt,
                    const QString& botId = QStringLiteral("a")) {
    return {id, botId,     MessageRole::Assistant,  QStringLiteral("text of ") + id,
            {}, createdAt, MessageSource::Provider, {}};
}

QStringList ids(const MessageList& messages) {
    QStringList list;
    for (const ChatMessage& each : messages)
        list.append(each.id);
    return list;
}

QStringList ids(const QList<BotProfile>& bots) {
    QStringList list;
    for (const BotProfile& each : bots)
        list.append(each.id);
    return list;
}

// Two contacts both sides know, "a" and "b".
StoredState document() {
    StoredState state;
    state.profile.setupCompleted = true;
    state.bots = {contact(QStringLiteral("a")), contact(QStringLiteral("b"))};
    return state.withSyncedLanguages();
}

} // namespace

TEST(StoredStateMerge, EveryMessageOfBothSidesSurvivesInTimeOrder) {
    StoredState local = document();
    local.messages = {message(QStringLiteral("1"), 10), message(QStringLiteral("3"), 30),
                      message(QStringLiteral("4"), 30)};
    StoredState downloaded = document();
    downloaded.messages = {message(QStringLiteral("1"), 10), message(QStringLiteral("2"), 20),
                           message(QStringLiteral("5"), 30)};

    const StoredState merged = local.adopting(downloaded);
    // At equal times the downloaded message goes first, so the device that uploaded it and this
    // one settle on one order once the merge has been uploaded.
    EXPECT_EQ(ids(merged.messages),
              QStringList({QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("5"),
                           QStringLiteral("3"), QStringLiteral("4")}));
    EXPECT_EQ(ids(downloaded.adopting(merged.forAccount()).messages), ids(merged.messages));
}

TEST(StoredStateMerge, LocalGlossesStayWithTheirMessages) {
    StoredState local = document();
    ChatMessage glossed = message(QStringLiteral("1"), 10);
    glossed.words = {WordGloss{QStringLiteral("Hola"), QStringLiteral("Hello")}};
    ChatMessage rewritten = message(QStringLiteral("2"), 20);
    rewritten.words = {WordGloss{QStringLiteral("Adiós"), QStringLiteral("Bye")}};
    local.messages = {glossed, rewritten};

    StoredState downloaded = local.forAccount();
    ChatMessage changed = downloaded.messages.at(1);
    changed.text = QStringLiteral("Hasta luego");
    downloaded.messages.replace(1, changed);

    const StoredState merged = local.adopting(downloaded);
    EXPECT_EQ(merged.messages.at(0), glossed);
    // Glosses of another text would be wrong; the message is glossed again instead.
    EXPECT_EQ(merged.messages.at(1), changed);
}

TEST(StoredStateMerge, AThroughTheServiceRoundTripChangesNothing) {
    StoredState local = document();
    ChatMessage glossed = message(QStringLiteral("1"), 10);
    glossed.words = {WordGloss{QStringLiteral("Hola"), QStringLiteral("Hello")}};
    local.messages = {glossed, message(QStringLiteral("2"), 20, QStringLiteral("b"))};
    local.lastReadAt = {{QStringLiteral("a"), 10}};
    local.nextNudgeAt = {{QStringLiteral("b"), 99}};
    local.theme = ThemeChoice::Dark;

    const StoredState merged = local.adopting(local.forAccount());
    EXPECT_EQ(merged, local);
    EXPECT_EQ(&merged.messages.at(0), &local.messages.at(0)); // the list is still shared
}

TEST(StoredStateMerge, SharedContactsComeFromTheServiceAndLocalOnesStay) {
    StoredState local = document();
    local.bots.append(contact(QStringLiteral("mine"), QStringLiteral("Japanese")));
    local.bots[0].notes = QStringLiteral("old notes");
    local = local.withSyncedLanguages();
    StoredState downloaded = document();
    downloaded.bots.prepend(contact(QStringLiteral("theirs")));
    downloaded.bots[1].notes = QStringLiteral("new notes");

    const StoredState merged = local.adopting(downloaded);
    EXPECT_EQ(ids(merged.bots), (QStringList{QStringLiteral("theirs"), QStringLiteral("a"),
                                             QStringLiteral("b"), QStringLiteral("mine")}));
    EXPECT_EQ(merged.bot(QStringLiteral("a"))->notes, QStringLiteral("new notes"));
    ASSERT_EQ(merged.profile.languages.size(), 2); // the local-only contact keeps its language
    EXPECT_EQ(merged.profile.languages[1].language, u"Japanese");
}

TEST(StoredStateMerge, ReadingMarksTakeTheLaterOfTheTwo) {
    StoredState local = document();
    local.lastReadAt = {
        {QStringLiteral("a"), 50}, {QStringLiteral("b"), 10}, {QStringLiteral("gone"), 70}};
    StoredState downloaded = document();
    downloaded.bots.append(contact(QStringLiteral("c")));
    downloaded.lastReadAt = {{QStringLiteral("a"), 40},
                             {QStringLiteral("b"), 20},
                             {QStringLiteral("c"), 5},
                             {QStringLiteral("removed"), 9}};

    const StoredState merged = local.adopting(downloaded);
    const QMap<QString, qint64> expected{
        {QStringLiteral("a"), 50}, {QStringLiteral("b"), 20}, {QStringLiteral("c"), 5}};
    EXPECT_EQ(merged.lastReadAt, expected);

    local.lastReadAt = {{QStringLiteral("a"), -5}};
    downloaded.lastReadAt.clear();
    EXPECT_EQ(local.adopting(downloaded).lastReadAt.value(QStringLiteral("a")),
              0); // missing counts as 0
}

TEST(StoredStateMerge, DevicePreferencesAndScheduleStayLocal) {
    StoredState local = document();
    local.nextNudgeAt = {{QStringLiteral("a"), 100}, {QStringLiteral("gone"), 200}};
    local.botsCanStartConversations = true;
    local.notificationsEnabled = false;
    local.keepRunningWhenClosed = false;
    local.theme = ThemeChoice::Light;
    local.textSettings.textSize = 20;
    local.translationCache = {{QStringLiteral("key"), Meaning{QStringLiteral("cat"), {}}}};
    local.wordTranslations = true;
    local.speechLanguage = QStringLiteral("German");

    StoredState downloaded = document();
    downloaded.nextNudgeAt = {{QStringLiteral("b"), 300}};
    downloaded.theme = ThemeChoice::Dark;
    downloaded.wordTranslations = false;
    downloaded.speechLanguage = QStringLiteral("French");

    const StoredState merged = local.adopting(downloaded);
    EXPECT_EQ(merged.nextNudgeAt, (QMap<QString, qint64>{{QStringLiteral("a"), 100}}));
    EXPECT_TRUE(merged.botsCanStartConversations);
    EXPECT_FALSE(merged.notificationsEnabled);
    EXPECT_FALSE(merged.keepRunningWhenClosed);
    EXPECT_EQ(merged.theme, ThemeChoice::Light);
    EXPECT_EQ(merged.textSettings, local.textSettings);
    EXPECT_EQ(merged.translationCache, local.translationCache);
    // These travel with the account.
    EXPECT_FALSE(merged.wordTranslations);
    EXPECT_EQ(merged.speechLanguage, u"French");
}

TEST(StoredStateMerge, AProfileThatWasNeverSetUpDoesNotReplaceOneThatWas) {
    StoredState local = document();
    local.profile.displayName = QStringLiteral("Ana");
    local.profile.languages[0].level = CefrLevel::B2;
    StoredState downloaded = document();
    downloaded.profile.displayName = QStringLiteral("Ana María");
    EXPECT_EQ(local.adopting(downloaded).profile, downloaded.profile);

    StoredState fresh; // an account whose copy on the service was never set up
    fresh.messages = {message(QStringLiteral("1"), 1)};
    const StoredState merged = local.adopting(fresh);
    EXPECT_EQ(merged.profile, local.profile);
    EXPECT_EQ(ids(merged.bots), ids(local.bots));
    EXPECT_EQ(merged.messages.size(), 1);

    // After a sign-out the local profile is the fresh one, and the account's comes back.
    EXPECT_EQ(local.signedOut().adopting(local).profile, local.profile);
}

// SPDX-License-Identifier: Apache-2.0
#include "TestRecords.h"
#include "model/StoredState.h"

#include <gtest/gtest.h>

#include <random>

using namespace quillo;
using quillo::testrecords::contact;

namespace {

ChatMessage message(const QString& id, qint64 createdAt, const QString& botId) {
    return {id, botId,     MessageRole::Assistant,  QStringLiteral("text of ") + id,
            {}, createdAt, MessageSource::Provider, {}};
}

template <typename List>
QStringList ids(const List& list) {
    QStringList result;
    for (const auto& each : list)
        result.append(each.id);
    return result;
}

QStringList split(const char* text) {
    return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts);
}

// What removing a contact does in the app: its messages and marks go with it.
StoredState removing(StoredState state, const QString& id) {
    state.bots.removeIf([&id](const BotProfile& bot) { return bot.id == id; });
    state.messages.removeIf([&id](const ChatMessage& each) { return each.botId == id; });
    state.lastReadAt.remove(id);
    state.nextNudgeAt.remove(id);
    return state.withSyncedLanguages();
}

// Spanish contacts "a" and "b", a Japanese one "c", one message each.
StoredState base() {
    StoredState state;
    state.profile.setupCompleted = true;
    state.bots = {contact(QStringLiteral("a")), contact(QStringLiteral("b")),
                  contact(QStringLiteral("c"), QStringLiteral("Japanese"))};
    state.messages = {message(QStringLiteral("a1"), 10, QStringLiteral("a")),
                      message(QStringLiteral("b1"), 20, QStringLiteral("b")),
                      message(QStringLiteral("c1"), 30, QStringLiteral("c"))};
    state.lastReadAt = {{QStringLiteral("a"), 10}, {QStringLiteral("b"), 20}};
    return state.withSyncedLanguages();
}

} // namespace

TEST(ThreeWayMerge, ARemovalOnEitherSideSticksWithItsMessages) {
    StoredState local = base();
    local.messages.append(message(QStringLiteral("a2"), 40, QStringLiteral("a")));
    local.nextNudgeAt = {{QStringLiteral("b"), 99}};
    StoredState downloaded = removing(base(), QStringLiteral("b"));
    downloaded = removing(downloaded, QStringLiteral("c"));
    // A glossed copy of b's message is no new message: the removal still sticks.
    QList<ChatMessage> glossed = local.messages.toList();
    glossed[1].words = {{QStringLiteral("text"), QStringLiteral("texto")}};
    local.messages = MessageList::fromList(glossed);

    const StoredState merged = local.merging(base(), downloaded);
    EXPECT_EQ(ids(merged.bots), split("a"));
    EXPECT_EQ(ids(merged.messages), split("a1 a2"));
    EXPECT_EQ(merged.lastReadAt.keys(), split("a"));
    EXPECT_TRUE(merged.nextNudgeAt.isEmpty());
    EXPECT_EQ(merged.profile.languages.size(), 1);
}

TEST(ThreeWayMerge, NewMessagesToARemovedContactBringItBackWithTheWholeChat) {
    // Written to "c" elsewhere while this device removed it; written to "b" here while the other
    // device removed it. Neither remover had seen those messages.
    StoredState local = removing(base(), QStringLiteral("c"));
    local.messages.append(message(QStringLiteral("b2"), 40, QStringLiteral("b")));
    StoredState downloaded = removing(base(), QStringLiteral("b"));
    downloaded.messages.append(message(QStringLiteral("c2"), 50, QStringLiteral("c")));

    for (const bool fromHere : {true, false}) {
        const StoredState merged =
            fromHere ? local.merging(base(), downloaded) : downloaded.merging(base(), local);
        EXPECT_EQ(ids(merged.bots).size(), 3);
        EXPECT_EQ(ids(merged.messages), split("a1 b1 c1 b2 c2"));
        EXPECT_EQ(merged.profile.languages.size(), 2);
    }
}

TEST(ThreeWayMerge, AnEditBeatsARemovalAndBothEditedTakesTheDownloadedOne) {
    StoredState local = removing(base(), QStringLiteral("b"));
    local.bots[0].notes = QStringLiteral("edited here");      // "a", removed there
    local.bots[1].notes = QStringLiteral("also edited here"); // "c", edited there too
    StoredState downloaded = removing(base(), QStringLiteral("a"));
    downloaded.bots[0].notes = QStringLiteral("edited there"); // "b", removed here
    downloaded.bots[1].notes = QStringLiteral("also edited there");

    const StoredState merged = local.merging(base(), downloaded);
    EXPECT_EQ(ids(merged.bots), split("b c a"));
    EXPECT_EQ(merged.bot(QStringLiteral("a"))->notes, u"edited here");
    EXPECT_EQ(merged.bot(QStringLiteral("b"))->notes, u"edited there");
    EXPECT_EQ(merged.bot(QStringLiteral("c"))->notes, u"also edited there");
    EXPECT_EQ(ids(merged.messages), split("a1 b1 c1"));
}

TEST(ThreeWayMerge, AdditionsOnBothSidesAllSurvive) {
    StoredState local = base();
    local.bots.append(contact(QStringLiteral("mine"), QStringLiteral("German")));
    local.messages.append(message(QStringLiteral("m1"), 35, QStringLiteral("mine")));
    local.messages.append(message(QStringLiteral("a2"), 60, QStringLiteral("a")));
    StoredState downloaded = base();
    downloaded.bots.append(contact(QStringLiteral("theirs")));
    downloaded.messages.append(message(QStringLiteral("t1"), 35, QStringLiteral("theirs")));
    downloaded.messages.append(message(QStringLiteral("b2"), 50, QStringLiteral("b")));

    const StoredState merged =
        local.withSyncedLanguages().merging(base(), downloaded.withSyncedLanguages());
    EXPECT_EQ(ids(merged.bots), split("a b c theirs mine"));
    EXPECT_EQ(ids(merged.messages), split("a1 b1 c1 t1 m1 b2 a2"));
    EXPECT_EQ(merged.profile.languages.size(), 3);
}

TEST(ThreeWayMerge, EachSettingTakesTheSideThatChangedIt) {
    StoredState local = base();
    local.profile.languages[0].level = CefrLevel::B1;           // Spanish on both sides
    local.profile.languages[1].replyLength = ReplyLength::Long; // Japanese here only
    local.profile.about = QStringLiteral("edited here");
    local.speechLanguage = QStringLiteral("German");
    local.lastReadAt = {{QStringLiteral("a"), 5}, {QStringLiteral("b"), 25}};
    StoredState downloaded = base();
    downloaded.profile.languages[0].level = CefrLevel::B2;
    downloaded.profile.displayName = QStringLiteral("Ana");
    downloaded.wordTranslations = false;
    downloaded.lastReadAt = {{QStringLiteral("a"), 15}, {QStringLiteral("c"), 30}};

    const StoredState merged = local.merging(base(), downloaded);
    EXPECT_EQ(merged.profile.languages[0].level, CefrLevel::B2);
    EXPECT_EQ(merged.profile.languages[1].replyLength, ReplyLength::Long);
    EXPECT_EQ(merged.profile.about, u""); // the rest of the profile changed on both sides
    EXPECT_EQ(merged.profile.displayName, u"Ana");
    EXPECT_EQ(merged.speechLanguage, u"German");
    EXPECT_FALSE(merged.wordTranslations);
    const QMap<QString, qint64> later{
        {QStringLiteral("a"), 15}, {QStringLiteral("b"), 25}, {QStringLiteral("c"), 30}};
    EXPECT_EQ(merged.lastReadAt, later);

    // A new Japanese contact here while the last one went there keeps the agreed settings.
    StoredState practised = base();
    practised.profile.languages[1].level = CefrLevel::C1;
    StoredState added = practised;
    added.bots.append(contact(QStringLiteral("c2"), QStringLiteral("Japanese")));
    const StoredState kept = added.merging(practised, removing(practised, QStringLiteral("c")));
    EXPECT_EQ(ids(kept.bots), split("a b c2"));
    EXPECT_EQ(kept.profile.settings(QStringLiteral("Japanese")).level, CefrLevel::C1);
}

TEST(ThreeWayMerge, GlossesAndDevicePreferencesStay) {
    StoredState local = base();
    ChatMessage glossed = local.messages.at(0);
    glossed.words = {WordGloss{QStringLiteral("text"), QStringLiteral("texto")}};
    local.messages.replace(0, glossed);
    local.theme = ThemeChoice::Dark;
    local.keepRunningWhenClosed = false;
    local.nextNudgeAt = {{QStringLiteral("a"), 100}, {QStringLiteral("c"), 200}};
    StoredState downloaded = removing(base(), QStringLiteral("c"));
    downloaded.messages.append(message(QStringLiteral("b2"), 50, QStringLiteral("b")));

    const StoredState merged = local.merging(base(), downloaded);
    EXPECT_EQ(merged.messages.at(0), glossed);
    EXPECT_EQ(merged.theme, ThemeChoice::Dark);
    EXPECT_FALSE(merged.keepRunningWhenClosed);
    EXPECT_EQ(merged.nextNudgeAt.keys(), split("a"));
    // Nothing new from the service: the document stays as it is, chunks still shared.
    const StoredState same = local.merging(base(), base());
    EXPECT_EQ(same, local);
    EXPECT_EQ(&same.messages.at(0), &local.messages.at(0));
}

namespace {

struct Dice {
    std::mt19937 engine;
    int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(engine); }
    bool chance(int percent) { return below(100) < percent; }
    QString language() {
        return QStringList{QStringLiteral("Spanish"), QStringLiteral(" spanish "),
                           QStringLiteral("Japanese"), QStringLiteral("Any language")}
            .at(below(4));
    }
    // Some contact's position, or -1 when there is none.
    int contact(const StoredState& state) {
        return state.bots.isEmpty() ? -1 : below(int(state.bots.size()));
    }
};

// Times repeat and go backwards, as the clocks of several devices do; "ghost" is a contact no
// document has.
void addMessages(StoredState& state, Dice& dice, int count, const QString& prefix) {
    for (int i = 0; i < count; ++i) {
        const int at = dice.chance(85) ? dice.contact(state) : -1;
        const QString botId = at < 0 ? QStringLiteral("ghost") : state.bots.at(at).id;
        state.messages.append(message(prefix + QString::number(i), dice.below(6), botId));
    }
}

StoredState randomBase(Dice& dice) {
    StoredState state;
    state.profile.setupCompleted = true;
    for (const char* id : {"a", "b", "c", "d"}) {
        if (dice.chance(70))
            state.bots.append(contact(QString::fromLatin1(id), dice.language()));
        if (dice.chance(50) && !state.bots.isEmpty())
            state.lastReadAt.insert(state.bots.last().id, dice.below(6));
    }
    addMessages(state, dice, dice.below(6), QStringLiteral("m"));
    return state.withSyncedLanguages();
}

// What a device might do between two exchanges; `side` keeps the new ids of devices apart.
StoredState edited(StoredState state, Dice& dice, const QString& side) {
    if (const int at = dice.contact(state); at >= 0 && dice.chance(30))
        state = removing(state, state.bots.at(at).id);
    if (const int at = dice.contact(state); at >= 0 && dice.chance(40))
        state.bots[at].notes = side;
    if (dice.chance(30))
        state.bots.append(contact(dice.chance(50) ? QStringLiteral("e") : side, dice.language()));
    state = state.withSyncedLanguages();
    addMessages(state, dice, dice.below(3), side);
    if (!state.messages.isEmpty() && dice.chance(20)) {
        const qsizetype at = dice.below(int(state.messages.size()));
        ChatMessage changed = state.messages.at(at);
        changed.text = side;
        state.messages.replace(at, changed);
    }
    if (const int at = dice.contact(state); at >= 0 && dice.chance(40))
        state.lastReadAt.insert(state.bots.at(at).id, dice.below(6));
    if (!state.profile.languages.isEmpty() && dice.chance(30))
        state.profile.languages[0].level = dice.chance(50) ? CefrLevel::B1 : CefrLevel::C2;
    if (dice.chance(20))
        state.profile.displayName = side;
    return state;
}

// This device's own additions, which never travel.
StoredState onDevice(StoredState state, Dice& dice) {
    for (qsizetype i = 0; i < state.messages.size(); ++i) {
        if (dice.chance(50)) {
            ChatMessage glossed = state.messages.at(i);
            glossed.words = {WordGloss{glossed.text, QStringLiteral("gloss")}};
            state.messages.replace(i, glossed);
        }
    }
    for (const BotProfile& bot : state.bots)
        state.nextNudgeAt.insert(bot.id, 100);
    state.theme = ThemeChoice::Dark;
    return state;
}

} // namespace

// Two devices edit the same base; the second uploads first, the first merges that and uploads
// the result, and the second merges it in turn: both must end with one account document.
TEST(ThreeWayMerge, TwoDevicesConvergeAndNothingOfAKeptContactIsLost) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(seed);
        Dice dice{std::mt19937(seed)};
        const StoredState agreed = randomBase(dice);
        const StoredState first = onDevice(edited(agreed, dice, QStringLiteral("x")), dice);
        const StoredState second = onDevice(edited(agreed, dice, QStringLiteral("y")), dice);

        const StoredState uploaded = second.forAccount();
        EXPECT_EQ(onDevice(agreed, dice).merging(agreed, uploaded).forAccount(), uploaded);
        const StoredState merged = first.merging(agreed, uploaded);
        const StoredState settled = merged.forAccount();
        EXPECT_EQ(second.merging(uploaded, settled).forAccount(), settled);
        EXPECT_EQ(merged.merging(uploaded, uploaded), merged);

        for (const BotProfile& mine : first.bots) { // an edit only made here stays
            const std::optional<BotProfile> theirs = uploaded.bot(mine.id);
            if (theirs && theirs == agreed.bot(mine.id)) {
                EXPECT_EQ(merged.bot(mine.id), mine);
            }
        }
        const QStringList kept = ids(merged.bots) << QStringLiteral("ghost");
        for (const MessageList* side : {&first.messages, &uploaded.messages}) {
            for (const ChatMessage& each : *side)
                EXPECT_EQ(ids(merged.messages).contains(each.id), kept.contains(each.botId));
        }
    }
}

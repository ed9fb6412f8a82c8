// SPDX-License-Identifier: Apache-2.0
#include "AppModelsFixture.h"
#include "desktop/LoginItem.h"
#include "dictation/WavFileSource.h"
#include "screens/Appearance.h"
#include "screens/ComposerDictation.h"
#include "screens/ContactDraft.h"
#include "screens/NotificationCards.h"
#include "screens/ProfileSettings.h"

#include <QFile>
#include <QSignalSpy>

using namespace quillo;
using namespace quillo::apptest;

namespace {

class ScreenAdaptersTest : public AppModelsTest {
protected:
    QTemporaryDir config;
    LoginItem loginItem{config.filePath(QStringLiteral("autostart")),
                        config.filePath(QStringLiteral("systemd"))};

    void openWithTwoContacts() {
        StoredState seed;
        BotProfile lucia = contact(QStringLiteral("lucia"));
        lucia.memories = {QStringLiteral("likes jazz"), QStringLiteral("lives in Lyon")};
        BotProfile yui = contact(QStringLiteral("yui"));
        yui.targetLanguage = QStringLiteral("Japanese");
        seed.bots = {lucia, yui};
        seed.messages = {message(QStringLiteral("lucia"), MessageRole::Assistant, 1),
                         message(QStringLiteral("yui"), MessageRole::Assistant, 2)};
        open(seed.withSyncedLanguages());
    }
};

TEST_F(ScreenAdaptersTest, ANewContactIsSavedOnlyWhenAskedTrimmedAndLast) {
    openWithTwoContacts();
    ContactDraft draft(*repository, QString());
    EXPECT_TRUE(draft.isNew());
    EXPECT_FALSE(draft.canSave()) << "a contact needs a name";
    draft.setDisplayName(QStringLiteral("  Cafe Coco "));
    draft.setTopic(QStringLiteral(" coffee "));
    draft.setStyle(int(ContactDraft::styleTitles().indexOf(QStringLiteral("Playful"))));
    EXPECT_EQ(repository->state().bots.size(), 2) << "nothing is saved while editing";

    draft.save();
    ASSERT_EQ(repository->state().bots.size(), 3);
    const BotProfile saved = repository->state().bots.last();
    EXPECT_EQ(saved.displayName, u"Cafe Coco");
    EXPECT_EQ(saved.topic, u"coffee");
    EXPECT_EQ(saved.conversationStyle, ConversationStyle::Playful);
    EXPECT_EQ(saved.id, draft.botId());
}

TEST_F(ScreenAdaptersTest, EditingKeepsThePlaceWhileForgettingAndDeletingActAtOnce) {
    openWithTwoContacts();
    ContactDraft draft(*repository, QStringLiteral("lucia"));
    EXPECT_FALSE(draft.isNew());
    draft.setDisplayName(QStringLiteral("Lucía"));
    draft.forget(QStringLiteral("LIKES JAZZ")); // only an exact match is forgotten
    draft.forget(QStringLiteral("likes jazz"));
    EXPECT_EQ(repository->state().bots.first().memories, QStringList{u"lives in Lyon"_qs});
    EXPECT_EQ(repository->state().bots.first().displayName, u"lucia") << "not saved yet";

    draft.save();
    EXPECT_EQ(repository->state().bots.first().displayName, u"Lucía");
    EXPECT_EQ(repository->state().bots.first().memories, QStringList{u"lives in Lyon"_qs})
        << "saving keeps what forgetting did";
    draft.forgetEverything();
    EXPECT_TRUE(draft.memories().isEmpty());

    draft.remove();
    EXPECT_FALSE(repository->state().bot(QStringLiteral("lucia")).has_value());
    for (const ChatMessage& message : repository->state().messages)
        EXPECT_NE(message.botId, u"lucia") << "the conversation goes too";
}

TEST_F(ScreenAdaptersTest, TheReadingSwitchOfAContactSetsItsLanguage) {
    openWithTwoContacts();
    ContactDraft yui(*repository, QStringLiteral("yui"));
    EXPECT_TRUE(yui.readingAvailable());
    ContactDraft lucia(*repository, QStringLiteral("lucia"));
    EXPECT_FALSE(lucia.readingAvailable());

    yui.setShowsReading(!yui.showsReading());
    const bool wanted = yui.showsReading();
    yui.save();
    EXPECT_EQ(repository->state().profile.settings(QStringLiteral("Japanese")).showsRomanization,
              wanted);
}

TEST_F(ScreenAdaptersTest, SettingsChangeTheDocumentThroughPickerIndexes) {
    openWithTwoContacts();
    ProfileSettings settings(*repository, loginItem);
    QSignalSpy changed(&settings, &ProfileSettings::documentChanged);

    settings.setLevel(QStringLiteral("japanese"), 3);
    settings.setReplyLength(QStringLiteral("Japanese"), 2);
    settings.setPronunciation(QStringLiteral("Japanese"), false); // on by default for Japanese
    const LanguageSettings japanese =
        repository->state().profile.settings(QStringLiteral("Japanese"));
    EXPECT_EQ(japanese.level, CefrLevel::B2);
    EXPECT_EQ(japanese.replyLength, ReplyLength::Long);
    EXPECT_FALSE(japanese.showsRomanization);
    EXPECT_EQ(changed.count(), 3);

    settings.setTheme(2);
    EXPECT_EQ(repository->state().theme, ThemeChoice::Dark);
    settings.setTheme(7); // out of range changes nothing
    EXPECT_EQ(repository->state().theme, ThemeChoice::Dark);

    settings.setTextSize(20);
    settings.setReadingGap(3);
    EXPECT_EQ(repository->state().textSettings.textSize, 20);
    EXPECT_EQ(repository->state().textSettings.readingGap, 3);
    EXPECT_EQ(repository->state().textSettings.lineSpacing, TextSettings().lineSpacing);
    settings.resetTextSettings();
    EXPECT_EQ(repository->state().textSettings, TextSettings());

    settings.setInterests(QStringLiteral("jazz, , Jazz, films "));
    EXPECT_EQ(repository->state().profile.interests, (QStringList{u"jazz"_qs, u"films"_qs}));
    EXPECT_EQ(settings.interests(), u"jazz, films");
    EXPECT_EQ(ProfileSettings::toggleListItem(settings.interests(), QStringLiteral("JAZZ")),
              u"films");
    EXPECT_TRUE(ProfileSettings::listHolds(settings.interests(), QStringLiteral("Films")));

    settings.removeLanguage(QStringLiteral("Japanese"));
    EXPECT_FALSE(repository->state().bot(QStringLiteral("yui")).has_value());
}

TEST_F(ScreenAdaptersTest, OnboardingTakesTheInterestsAsTypedAndTheAgeGroupChosen) {
    open(StoredState());
    ProfileSettings settings(*repository, loginItem);
    EXPECT_EQ(settings.ageGroupTitles(), (QStringList{u"Under 18"_qs, u"18+"_qs}));
    settings.completeOnboarding(QStringLiteral(" Ana "), QStringLiteral("English"),
                                {QStringLiteral("Spanish"), QStringLiteral("Japanese")},
                                QStringLiteral("music,  travel"), 0);
    EXPECT_TRUE(settings.setupCompleted());
    EXPECT_EQ(settings.displayName(), u"Ana");
    EXPECT_EQ(repository->state().profile.interests, (QStringList{u"music"_qs, u"travel"_qs}));
    EXPECT_EQ(repository->state().bots.size(), 2);
    EXPECT_EQ(settings.languages().size(), 2);
    EXPECT_EQ(repository->state().profile.ageGroup, UserAgeGroup::Under18);

    // Changed later in the settings; an index out of range changes nothing.
    settings.setAgeGroup(1);
    EXPECT_EQ(repository->state().profile.ageGroup, UserAgeGroup::Adult);
    settings.setAgeGroup(7);
    EXPECT_EQ(settings.ageGroup(), 1);

    // Setting up again starts from an adult's profile, then takes the choice.
    settings.completeOnboarding(QStringLiteral("Ana"), QStringLiteral("English"),
                                {QStringLiteral("Spanish")}, QString(), 1);
    EXPECT_EQ(repository->state().profile.ageGroup, UserAgeGroup::Adult);
}

TEST_F(ScreenAdaptersTest, TheLoginEntryStartsQuilloQuietlyUntilRemoved) {
    EXPECT_FALSE(loginItem.isOn());
    EXPECT_FALSE(loginItem.set(true).has_value());
    EXPECT_TRUE(loginItem.isOn());
    QFile entry(loginItem.entryPath());
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(entry.readAll());
    EXPECT_TRUE(text.startsWith(u"[Desktop Entry]\n"));
    EXPECT_TRUE(text.contains(u" --launched-at-login\n")) << text.toStdString();
    entry.close();

    // Switched off in the desktop's own settings, the entry stays but counts as off.
    ASSERT_TRUE(entry.open(QIODevice::Append));
    entry.write("Hidden=true\n");
    entry.close();
    EXPECT_FALSE(loginItem.isOn());

    EXPECT_FALSE(loginItem.set(false).has_value());
    EXPECT_FALSE(QFile::exists(loginItem.entryPath()));
    EXPECT_FALSE(loginItem.set(false).has_value()) << "already off is fine";

    EXPECT_FALSE(loginItem.managedByInstaller());
    QDir().mkpath(config.filePath(QStringLiteral("systemd")));
    QFile unit(config.filePath(QStringLiteral("systemd/app.quillo.agent.service")));
    ASSERT_TRUE(unit.open(QIODevice::WriteOnly));
    unit.close();
    EXPECT_TRUE(loginItem.managedByInstaller());

    EXPECT_TRUE(LoginItem::isLoginLaunch({u"quillo"_qs, u"--launched-at-login"_qs}, {}));
    EXPECT_TRUE(LoginItem::isLoginLaunch({u"quillo"_qs}, u"app.quillo.agent"_qs));
    EXPECT_FALSE(LoginItem::isLoginLaunch({u"quillo"_qs}, u"something.else"_qs));
}

TEST_F(ScreenAdaptersTest, AutomaticFollowsTheDesktopsSchemeAndAChoiceOverridesIt) {
    open(StoredState());
    Appearance appearance(*repository);
    EXPECT_FALSE(appearance.dark()) << "light while the desktop has not said";
    appearance.setDesktopScheme(1);
    EXPECT_TRUE(appearance.dark());
    repository->editing().setTheme(ThemeChoice::Light);
    EXPECT_FALSE(appearance.dark());
    appearance.setDesktopScheme(2);
    repository->editing().setTheme(ThemeChoice::Dark);
    EXPECT_TRUE(appearance.dark());
    repository->editing().setTheme(ThemeChoice::System);
    EXPECT_FALSE(appearance.dark()) << "the desktop prefers light now";
}

TEST_F(ScreenAdaptersTest, DictationFollowsTheConversationUntilTheUserPicksALanguage) {
    openWithTwoContacts();
    WavFileSource silence(QByteArray(4096, '\0'));
    ComposerDictation dictation({silence, api, *session, clock}, *repository);
    dictation.setBotId(QStringLiteral("yui"));
    EXPECT_EQ(dictation.languages().first(), QStringLiteral("Japanese"));
    EXPECT_TRUE(dictation.languages().contains(QStringLiteral("Spanish")));
    EXPECT_EQ(dictation.language(), QStringLiteral("Japanese"));
    dictation.setBotId(QStringLiteral("lucia"));
    EXPECT_EQ(dictation.language(), QStringLiteral("Spanish"));

    // A choice holds for every conversation, and travels with the document.
    dictation.setLanguage(QStringLiteral("Japanese"));
    EXPECT_EQ(repository->state().speechLanguage, QStringLiteral("Japanese"));
    EXPECT_EQ(dictation.language(), QStringLiteral("Japanese"));
    dictation.setBotId(QStringLiteral("yui"));
    // Picking the conversation's own language follows conversations again.
    dictation.setLanguage(QStringLiteral("Japanese"));
    EXPECT_EQ(repository->state().speechLanguage, QString());
    dictation.setBotId(QStringLiteral("lucia"));
    EXPECT_EQ(dictation.language(), QStringLiteral("Spanish"));
    dictation.setLanguage(QStringLiteral("Japanese"));

    // Signed out here: the service cannot listen, and the composer says so in one line.
    QSignalSpy transcribed(&dictation, &ComposerDictation::transcribed);
    dictation.start();
    EXPECT_FALSE(dictation.active());
    EXPECT_EQ(dictation.problemLine(),
              QStringLiteral("This computer can't listen in Japanese right now."));
    EXPECT_EQ(transcribed.count(), 0) << "nothing was heard";
    dictation.setBotId(QStringLiteral("yui"));
    EXPECT_EQ(dictation.problemLine(), QString()) << "another chat starts clean";
}

TEST(NotificationCards, NewestFirstOneCardPerContactAndOnlyAFew) {
    NotificationCards cards;
    const auto payload = [](const QString& botId, const QString& body) {
        return NotificationPayload{botId, botId, {}, {}, {}, body};
    };
    cards.push(payload(u"a"_qs, u"one"_qs));
    cards.push(payload(u"b"_qs, u"two"_qs));
    cards.push(payload(u"a"_qs, u"three"_qs));
    ASSERT_EQ(cards.rowCount(), 2);
    EXPECT_EQ(cards.cards()[0].body, u"three");
    EXPECT_EQ(cards.cards()[1].botId, u"b");

    cards.push(payload(u"c"_qs, {}));
    cards.push(payload(u"d"_qs, {}));
    EXPECT_EQ(cards.rowCount(), NotificationCards::mostCards);
    EXPECT_EQ(cards.cards().last().botId, u"a") << "the oldest card went";

    QSignalSpy activated(&cards, &NotificationCards::activated);
    cards.activate(1);
    ASSERT_EQ(activated.count(), 1);
    EXPECT_EQ(activated.first().first().toString(), u"c");
    EXPECT_EQ(cards.rowCount(), 2);
    cards.activate(9);
    EXPECT_EQ(activated.count(), 1);
    cards.dismissFor(u"d"_qs);
    EXPECT_EQ(cards.rowCount(), 1);
}

} // namespace

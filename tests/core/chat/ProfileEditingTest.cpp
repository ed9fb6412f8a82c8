// SPDX-License-Identifier: Apache-2.0
#include "TestRecords.h"
#include "model/Identifiers.h"
#include "model/StarterBots.h"
#include "repository/ChatRepository.h"
#include "service/QuilloAPI.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"
#include "support/ManualClock.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <limits>
#include <memory>

using namespace quillo;
using quillo::testrecords::contact;

namespace {

ChatMessage messageOf(const QString& botId, qint64 at) {
    ChatMessage message;
    message.id = newID();
    message.botId = botId;
    message.text = QStringLiteral("hola");
    message.createdAt = at;
    return message;
}

class ProfileEditingTest : public ::testing::Test {
protected:
    QString path() const { return m_dir.filePath(QStringLiteral("state.json")); }

    // Writes `state` as the document the repository then starts from.
    void seed(const StoredState& state) {
        StateStore store(path(), clock);
        store.save(state);
        store.flush();
    }

    ChatRepository& open() {
        m_store = std::make_unique<StateStore>(path(), clock);
        m_session = std::make_unique<SessionStore>(m_dir.filePath(QStringLiteral("session.json")));
        m_repository = std::make_unique<ChatRepository>(*m_store, *m_session, m_api, clock);
        QObject::connect(m_repository.get(), &ChatRepository::stateChanged,
                         [this](const StoredState& state) {
                             ++published;
                             EXPECT_EQ(state, m_repository->state());
                         });
        QObject::connect(m_repository.get(), &ChatRepository::errorOccurred,
                         [this](const QString& line) { errors.append(line); });
        return *m_repository;
    }

    // The document a later start would find on disk.
    StoredState onDisk() {
        m_repository->flush();
        return StateStore(path(), clock).load();
    }

    bool fileExists() {
        m_repository->flush();
        return QFile::exists(path());
    }

    ManualClock clock;
    int published = 0;
    QStringList errors;

private:
    QTemporaryDir m_dir;
    std::unique_ptr<StateStore> m_store;
    std::unique_ptr<SessionStore> m_session;
    // Nothing listens there: editing never reaches the service.
    QuilloAPI m_api{QUrl(QStringLiteral("http://127.0.0.1:9"))};
    std::unique_ptr<ChatRepository> m_repository;
};

} // namespace

TEST_F(ProfileEditingTest, AnEditThatChangesNothingNeitherPublishesNorWrites) {
    ChatRepository& repository = open();
    repository.editing().saveProfile([](UserProfile&) {});
    repository.editing().setTheme(ThemeChoice::System);
    repository.editing().markRead(QStringLiteral("nobody"));
    repository.editing().forget(QStringLiteral("nobody"));
    repository.editing().removeLanguage(QStringLiteral("  "));
    EXPECT_EQ(published, 0);
    EXPECT_FALSE(fileExists());

    repository.editing().setTheme(ThemeChoice::Dark);
    EXPECT_EQ(published, 1);
    EXPECT_EQ(onDisk(), repository.state());
    ASSERT_TRUE(QFile::remove(path()));
    repository.editing().setTheme(ThemeChoice::Dark);
    repository.editing().saveProfile([](UserProfile& profile) { profile.about = QString(); });
    EXPECT_EQ(published, 1);
    EXPECT_FALSE(fileExists());
}

TEST_F(ProfileEditingTest, SaveBotAppendsNewContactsAndKeepsThePlaceOfKnownOnes) {
    ChatRepository& repository = open();
    repository.editing().completeOnboarding(QStringLiteral("Ana"), QStringLiteral("English"),
                                            {QStringLiteral("Spanish"), QStringLiteral("Japanese")},
                                            {});
    BotProfile added = StarterBots::blank(QStringLiteral("French"), 2);
    added.displayName = QStringLiteral("Lu");
    repository.editing().saveBot(added);
    ASSERT_EQ(repository.state().bots.size(), 3);
    EXPECT_EQ(repository.state().bots.last(), added);
    EXPECT_EQ(repository.state().profile.languages.last().language, u"French");

    BotProfile renamed = repository.state().bots.first();
    renamed.displayName = QStringLiteral("Rosa");
    renamed.targetLanguage = QStringLiteral("Italian");
    repository.editing().saveBot(renamed);
    ASSERT_EQ(repository.state().bots.size(), 3);
    EXPECT_EQ(repository.state().bots.first(), renamed);
    QStringList languages;
    for (const LanguageSettings& settings : repository.state().profile.languages)
        languages.append(settings.language);
    EXPECT_EQ(languages, QStringList({QStringLiteral("Italian"), QStringLiteral("Japanese"),
                                      QStringLiteral("French")}));
    EXPECT_EQ(onDisk(), repository.state());
}

TEST_F(ProfileEditingTest, ForgetRemovesExactMatchesOnly) {
    StoredState state;
    BotProfile bot = contact(QStringLiteral("b1"), QStringLiteral("Spanish"));
    bot.memories = {QStringLiteral("Likes tea"), QStringLiteral("likes tea"),
                    QStringLiteral("Likes tea"), QStringLiteral("Has a dog")};
    state.bots = {bot};
    seed(state.withSyncedLanguages());
    ChatRepository& repository = open();

    repository.editing().forget(bot.id, QStringLiteral("LIKES TEA"));
    EXPECT_EQ(published, 0);
    repository.editing().forget(bot.id, QStringLiteral("Likes tea"));
    EXPECT_EQ(repository.state().bots.first().memories,
              QStringList({QStringLiteral("likes tea"), QStringLiteral("Has a dog")}));
    repository.editing().forget(bot.id);
    EXPECT_TRUE(repository.state().bots.first().memories.isEmpty());
    EXPECT_EQ(published, 2);
    EXPECT_EQ(onDisk(), repository.state());
}

TEST_F(ProfileEditingTest, RemovingContactsTakesTheirChatsMarksAndUnusedLanguages) {
    StoredState state;
    state.bots = {contact(QStringLiteral("es"), QStringLiteral("Spanish")),
                  contact(QStringLiteral("ja"), QStringLiteral("Japanese")),
                  contact(QStringLiteral("es2"), QStringLiteral(" spanish "))};
    state.profile.languages = {LanguageSettings(QStringLiteral("Spanish"), CefrLevel::B2)};
    for (const BotProfile& bot : state.bots) {
        state.messages.append(messageOf(bot.id, 1));
        state.lastReadAt.insert(bot.id, 1);
        state.nextNudgeAt.insert(bot.id, 2);
    }
    seed(state.withSyncedLanguages());
    ChatRepository& repository = open();

    repository.editing().removeBots({QStringLiteral("ja")});
    const StoredState& after = repository.state();
    ASSERT_EQ(after.profile.languages.size(), 1);
    EXPECT_EQ(after.profile.languages.first().level, CefrLevel::B2);
    EXPECT_EQ(after.messages.size(), 2);
    EXPECT_EQ(after.lastReadAt.keys(), QStringList({QStringLiteral("es"), QStringLiteral("es2")}));
    EXPECT_EQ(after.nextNudgeAt.keys(), QStringList({QStringLiteral("es"), QStringLiteral("es2")}));

    // The language's settings go through its key, whatever the spelling.
    repository.editing().saveLanguage(LanguageSettings(QStringLiteral("SPANISH"), CefrLevel::C1));
    EXPECT_EQ(repository.state().profile.languages.first().level, CefrLevel::C1);
    EXPECT_EQ(repository.state().profile.languages.first().language, u"Spanish");

    repository.editing().removeLanguage(QStringLiteral(" spanish"));
    EXPECT_TRUE(repository.state().bots.isEmpty());
    EXPECT_TRUE(repository.state().messages.isEmpty());
    EXPECT_TRUE(repository.state().profile.languages.isEmpty());
    EXPECT_TRUE(repository.state().lastReadAt.isEmpty());
    EXPECT_EQ(onDisk(), repository.state());
}

TEST_F(ProfileEditingTest, AddingALanguageContinuesTheStarterDealUnlessItIsPractised) {
    ChatRepository& repository = open();
    repository.editing().completeOnboarding(QStringLiteral("Ana"), QStringLiteral("English"),
                                            {QStringLiteral("Chinese")},
                                            {QStringLiteral("tea"), QStringLiteral("film")});
    const int before = published;
    repository.editing().addLanguage(QStringLiteral("Mandarin"));
    repository.editing().addLanguage(QStringLiteral(" \n "));
    EXPECT_EQ(published, before);
    EXPECT_EQ(repository.state().bots.size(), 1);

    repository.editing().addLanguage(QStringLiteral(" Korean "));
    ASSERT_EQ(repository.state().bots.size(), 2);
    const BotProfile& added = repository.state().bots.last();
    EXPECT_EQ(added.targetLanguage, u"Korean");
    EXPECT_EQ(added.displayName, u"Cafe Coco");
    EXPECT_EQ(added.topic, u"film");
    const LanguageSettings& korean = repository.state().profile.languages.last();
    EXPECT_EQ(korean.language, u"Korean");
    EXPECT_EQ(korean.level, CefrLevel::A1);
    EXPECT_TRUE(korean.showsRomanization);
    EXPECT_EQ(onDisk(), repository.state());
}

TEST_F(ProfileEditingTest, OnboardingStartsOverButKeepsThisDevicesPreferences) {
    StoredState state;
    state.bots = {contact(QStringLiteral("old"), QStringLiteral("French"))};
    state.messages.append(messageOf(QStringLiteral("old"), 5));
    state.lastReadAt.insert(QStringLiteral("old"), 5);
    state.nextNudgeAt.insert(QStringLiteral("old"), 6);
    state.profile.about = QStringLiteral("I design things.");
    state.theme = ThemeChoice::Dark;
    state.notificationsEnabled = false;
    state.keepRunningWhenClosed = false;
    state.speechLanguage = QStringLiteral("French");
    state.textSettings.textSize = 20;
    seed(state.withSyncedLanguages());
    ChatRepository& repository = open();

    repository.editing().completeOnboarding(QStringLiteral("  Ana \n"), QStringLiteral(" English "),
                                            {QStringLiteral("Chinese"), QStringLiteral("mandarin"),
                                             QStringLiteral(""), QStringLiteral("Spanish")},
                                            {QStringLiteral("tea")});
    const QList<BotProfile> first = repository.state().bots;
    repository.editing().completeOnboarding(QStringLiteral("Ana"), QStringLiteral("English"),
                                            {QStringLiteral("Chinese"), QStringLiteral("Spanish")},
                                            {QStringLiteral("tea")});
    const StoredState& after = repository.state();
    ASSERT_EQ(after.bots.size(), 2);
    EXPECT_NE(after.bots.first().id, first.first().id);
    EXPECT_EQ(after.bots.at(1).displayName, u"Cafe Coco");
    EXPECT_TRUE(after.messages.isEmpty());
    EXPECT_TRUE(after.lastReadAt.isEmpty());
    EXPECT_TRUE(after.nextNudgeAt.isEmpty());

    EXPECT_EQ(after.profile.displayName, u"Ana");
    EXPECT_EQ(after.profile.nativeLanguage, u"English");
    EXPECT_TRUE(after.profile.setupCompleted);
    EXPECT_TRUE(after.profile.about.isEmpty());
    ASSERT_EQ(after.profile.languages.size(), 2);
    EXPECT_TRUE(after.profile.languages.first().showsRomanization);
    EXPECT_FALSE(after.profile.languages.last().showsRomanization);

    EXPECT_EQ(after.theme, ThemeChoice::Dark);
    EXPECT_FALSE(after.notificationsEnabled);
    EXPECT_FALSE(after.keepRunningWhenClosed);
    EXPECT_EQ(after.speechLanguage, u"French");
    EXPECT_EQ(after.textSettings.textSize, 20);
    EXPECT_EQ(onDisk(), after);
}

TEST_F(ProfileEditingTest, ReadingMarksComeFromTheClock) {
    StoredState state;
    state.bots = {contact(QStringLiteral("b1"), QStringLiteral("Greek"))};
    seed(state);
    ChatRepository& repository = open();

    clock.set(1'750'000'000'123);
    repository.editing().markRead(QStringLiteral("b1"));
    EXPECT_EQ(repository.state().lastReadAt.value(QStringLiteral("b1")), 1'750'000'000'123);
    clock.advance(5);
    repository.editing().openConversation(QStringLiteral("b1"));
    EXPECT_EQ(repository.state().lastReadAt.value(QStringLiteral("b1")), 1'750'000'000'128);
    EXPECT_EQ(onDisk(), repository.state());
}

TEST_F(ProfileEditingTest, PreferencesAreSavedAndUnusableTextSettingsAreRefused) {
    ChatRepository& repository = open();
    repository.editing().setNotificationsEnabled(false);
    repository.editing().setWordTranslations(false);
    repository.editing().setBotsCanStartConversations(true);
    repository.editing().setSpeechLanguage(QStringLiteral("Greek"));
    repository.editing().setKeepRunningWhenClosed(false);
    EXPECT_EQ(published, 5);

    TextSettings broken;
    broken.readingGap = std::numeric_limits<double>::quiet_NaN();
    repository.editing().setTextSettings(broken);
    EXPECT_EQ(errors, QStringList({QStringLiteral("Couldn't use these text settings.")}));
    EXPECT_EQ(repository.state().textSettings, TextSettings());
    EXPECT_EQ(published, 5);

    const StoredState saved = onDisk();
    EXPECT_EQ(saved, repository.state());
    EXPECT_TRUE(saved.botsCanStartConversations);
    EXPECT_EQ(saved.speechLanguage, u"Greek");
    EXPECT_FALSE(saved.keepRunningWhenClosed);
}

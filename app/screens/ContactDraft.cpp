// SPDX-License-Identifier: Apache-2.0
#include "ContactDraft.h"

#include "EnumChoices.h"
#include "model/Languages.h"
#include "model/ModelConstants.h"
#include "model/StarterBots.h"
#include "model/TextHelpers.h"
#include "repository/ChatRepository.h"

namespace quillo {

ContactDraft::ContactDraft(ChatRepository& repository, const QString& botId, QObject* parent)
    : QObject(parent)
    , m_repository(repository) {
    const StoredState& state = repository.state();
    const std::optional<BotProfile> existing = botId.isEmpty() ? std::nullopt : state.bot(botId);
    m_isNew = !existing;
    if (existing) {
        m_bot = *existing;
    } else {
        const QString language = state.profile.languages.isEmpty()
                                     ? anyLanguageName()
                                     : state.profile.languages.first().language;
        m_bot = StarterBots::blank(language, state.bots.size());
    }
    m_showsReading = state.profile.settings(m_bot.currentLanguage()).showsRomanization ||
                     (m_isNew && supportsRomanization(m_bot.currentLanguage()));
    connect(&repository, &ChatRepository::stateChanged, this, &ContactDraft::memoriesChanged);
}

bool ContactDraft::readingAvailable() const {
    return supportsRomanization(m_bot.currentLanguage());
}

void ContactDraft::setShowsReading(bool on) {
    if (on == m_showsReading)
        return;
    m_showsReading = on;
    Q_EMIT changed();
}

template <typename Field, typename Value>
void ContactDraft::update(Field BotProfile::*field, const Value& value) {
    if (m_bot.*field == value)
        return;
    m_bot.*field = value;
    Q_EMIT changed();
}

void ContactDraft::setDisplayName(const QString& name) {
    update(&BotProfile::displayName, name);
}

void ContactDraft::setTargetLanguage(const QString& language) {
    update(&BotProfile::targetLanguage, language);
}

void ContactDraft::setTopic(const QString& topic) {
    update(&BotProfile::topic, topic);
}

void ContactDraft::setPersonality(const QString& personality) {
    update(&BotProfile::personality, personality);
}

void ContactDraft::setStyleNote(const QString& note) {
    update(&BotProfile::styleNote, note);
}

void ContactDraft::setNotes(const QString& notes) {
    update(&BotProfile::notes, notes);
}

void ContactDraft::setAccent(const QString& accent) {
    update(&BotProfile::accent, accent.toUpper());
}

void ContactDraft::setActive(bool active) {
    update(&BotProfile::isEnabled, active);
}

int ContactDraft::style() const {
    return indexOf(m_bot.conversationStyle);
}

void ContactDraft::setStyle(int index) {
    update(&BotProfile::conversationStyle, caseAt(index, m_bot.conversationStyle));
}

int ContactDraft::gender() const {
    return indexOf(m_bot.personaGender);
}

void ContactDraft::setGender(int index) {
    update(&BotProfile::personaGender, caseAt(index, m_bot.personaGender));
}

int ContactDraft::age() const {
    return indexOf(m_bot.personaAge);
}

void ContactDraft::setAge(int index) {
    update(&BotProfile::personaAge, caseAt(index, m_bot.personaAge));
}

QStringList ContactDraft::memories() const {
    const std::optional<BotProfile> saved = m_repository.state().bot(m_bot.id);
    return saved ? saved->memories : QStringList();
}

bool ContactDraft::canSave() const {
    return !isBlank(m_bot.displayName) && !isBlank(m_bot.targetLanguage);
}

QStringList ContactDraft::styleTitles() {
    return titlesOf<ConversationStyle>();
}

QStringList ContactDraft::genderTitles() {
    return titlesOf<PersonaGender>();
}

QStringList ContactDraft::ageTitles() {
    return titlesOf<PersonaAge>();
}

QStringList ContactDraft::accents() {
    return botAccents();
}

QStringList ContactDraft::languageChoices() const {
    QStringList choices;
    for (const LanguageSettings& settings : m_repository.state().profile.languages)
        choices.append(settings.language);
    if (!isAnyLanguageName(m_bot.targetLanguage) &&
        std::none_of(choices.cbegin(), choices.cend(), [this](const QString& language) {
            return languageKey(language) == languageKey(m_bot.targetLanguage);
        }))
        choices.append(m_bot.targetLanguage);
    choices.append(anyLanguageName());
    return choices;
}

BotProfile ContactDraft::edited() const {
    BotProfile bot = m_bot;
    bot.displayName = trimmedText(bot.displayName);
    bot.targetLanguage = trimmedText(bot.targetLanguage);
    bot.topic = trimmedText(bot.topic);
    bot.personality = trimmedText(bot.personality);
    bot.styleNote = trimmedText(bot.styleNote);
    bot.notes = trimmedText(bot.notes);
    // Memories change only through forgetting, which acts on the document directly.
    if (const std::optional<BotProfile> saved = m_repository.state().bot(bot.id))
        bot.memories = saved->memories;
    return bot;
}

void ContactDraft::save() {
    if (!canSave())
        return;
    const BotProfile bot = edited();
    m_repository.editing().saveBot(bot);
    // The language's settings exist once a contact practises it.
    if (readingAvailable()) {
        LanguageSettings settings = m_repository.state().profile.settings(bot.currentLanguage());
        settings.showsRomanization = m_showsReading;
        m_repository.editing().saveLanguage(settings);
    }
}

void ContactDraft::remove() {
    if (!m_isNew)
        m_repository.editing().removeBots({m_bot.id});
}

void ContactDraft::forget(const QString& memory) {
    m_repository.editing().forget(m_bot.id, memory);
}

void ContactDraft::forgetEverything() {
    m_repository.editing().forget(m_bot.id);
}

} // namespace quillo

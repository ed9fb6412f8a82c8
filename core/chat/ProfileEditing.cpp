// SPDX-License-Identifier: Apache-2.0
#include "ProfileEditing.h"

#include "model/Identifiers.h"
#include "model/Languages.h"
#include "model/StarterBots.h"
#include "model/TextHelpers.h"

#include <QSet>

#include <cmath>

namespace quillo {

namespace {

using Languages = DocumentAccess::Languages;

qsizetype indexOfBot(const QList<BotProfile>& bots, const QString& id) {
    for (qsizetype i = 0; i < bots.size(); ++i) {
        if (bots.at(i).id == id)
            return i;
    }
    return -1;
}

bool practises(const UserProfile& profile, const QString& language) {
    const QString key = languageKey(language);
    for (const LanguageSettings& entry : profile.languages) {
        if (languageKey(entry.language) == key)
            return true;
    }
    return false;
}

// The first spelling of each distinct language, blanks dropped.
QStringList distinctLanguages(const QStringList& languages) {
    QStringList kept;
    QSet<QString> seen;
    for (const QString& language : languages) {
        const QString key = languageKey(language);
        if (key.isEmpty() || seen.contains(key))
            continue;
        seen.insert(key);
        kept.append(language);
    }
    return kept;
}

} // namespace

ProfileEditing::ProfileEditing(DocumentAccess& document)
    : m_document(document) {}

void ProfileEditing::completeOnboarding(const QString& name, const QString& nativeLanguage,
                                        const QStringList& languages,
                                        const QStringList& interests) {
    const QStringList kept = distinctLanguages(languages);
    UserProfile profile;
    profile.displayName = trimmedText(name);
    profile.ageGroup = UserAgeGroup::Adult;
    profile.nativeLanguage = trimmedText(nativeLanguage);
    profile.interests = interests;
    profile.progressiveDifficulty = true;
    for (const QString& language : kept)
        profile.languages.append(LanguageSettings(language));
    profile.setupCompleted = true;
    const QList<BotProfile> bots = StarterBots::forProfile(kept, interests);

    // Everything of the earlier setup goes; the device's preferences stay.
    m_document.apply(
        [&](StoredState& state) {
            state.profile = profile;
            state.bots = bots;
            state.messages = MessageList();
            state.lastReadAt.clear();
            state.nextNudgeAt.clear();
        },
        Languages::Rebuild);
}

void ProfileEditing::saveProfile(const ProfileEdit& edit) {
    if (!edit)
        return;
    m_document.apply([&](StoredState& state) { edit(state.profile); }, Languages::Rebuild);
}

void ProfileEditing::saveLanguage(const LanguageSettings& settings) {
    const QString key = languageKey(settings.language);
    m_document.apply(
        [&](StoredState& state) {
            QList<LanguageSettings>& languages = state.profile.languages;
            for (qsizetype i = 0; i < languages.size(); ++i) {
                if (languageKey(languages.at(i).language) == key)
                    languages[i] = settings;
            }
        },
        Languages::Rebuild);
}

void ProfileEditing::saveBot(const BotProfile& bot) {
    BotProfile saved = bot;
    // A contact handed over without an id is new; it needs one to be found again.
    if (isBlank(saved.id))
        saved.id = newID();
    m_document.apply(
        [&](StoredState& state) {
            const qsizetype index = indexOfBot(state.bots, saved.id);
            if (index < 0)
                state.bots.append(saved);
            else
                state.bots[index] = saved;
        },
        Languages::Rebuild);
}

void ProfileEditing::forget(const QString& botId, const std::optional<QString>& memory) {
    m_document.apply(
        [&](StoredState& state) {
            const qsizetype index = indexOfBot(state.bots, botId);
            if (index < 0)
                return;
            QStringList& memories = state.bots[index].memories;
            if (memory)
                memories.removeAll(*memory);
            else
                memories.clear();
        },
        Languages::Keep);
}

void ProfileEditing::removeBots(const QStringList& ids) {
    const QSet<QString> gone(ids.cbegin(), ids.cend());
    m_document.apply(
        [&](StoredState& state) {
            if (gone.isEmpty())
                return;
            state.bots.removeIf([&](const BotProfile& bot) { return gone.contains(bot.id); });
            state.messages.removeIf(
                [&](const ChatMessage& message) { return gone.contains(message.botId); });
            for (const QString& id : gone) {
                state.lastReadAt.remove(id);
                state.nextNudgeAt.remove(id);
            }
        },
        Languages::Rebuild);
}

void ProfileEditing::addLanguage(const QString& name) {
    const QString language = trimmedText(name);
    if (language.isEmpty())
        return;
    m_document.apply(
        [&](StoredState& state) {
            if (practises(state.profile, language))
                return;
            // The index continues the deal, so the new contact differs from the ones before.
            state.bots.append(
                StarterBots::forLanguage(language, state.profile.interests, state.bots.size()));
        },
        Languages::Rebuild);
}

void ProfileEditing::removeLanguage(const QString& name) {
    // A blank key would match every contact without a language.
    if (isBlank(name))
        return;
    const QString key = languageKey(name);
    QStringList ids;
    for (const BotProfile& bot : m_document.document().bots) {
        if (languageKey(bot.targetLanguage) == key)
            ids.append(bot.id);
    }
    removeBots(ids);
}

void ProfileEditing::setNotificationsEnabled(bool on) {
    m_document.apply([&](StoredState& state) { state.notificationsEnabled = on; }, Languages::Keep);
}

void ProfileEditing::setKeepRunningWhenClosed(bool on) {
    m_document.apply([&](StoredState& state) { state.keepRunningWhenClosed = on; },
                     Languages::Keep);
}

void ProfileEditing::setTheme(ThemeChoice choice) {
    m_document.apply([&](StoredState& state) { state.theme = choice; }, Languages::Keep);
}

void ProfileEditing::setTextSettings(const TextSettings& settings) {
    // Not a number never equals itself, so it would be saved again on every change.
    for (double value :
         {settings.textSize, settings.lineSpacing, settings.readingSize, settings.readingGap}) {
        if (!std::isfinite(value)) {
            m_document.reportError(QStringLiteral("Couldn't use these text settings."));
            return;
        }
    }
    m_document.apply([&](StoredState& state) { state.textSettings = settings; }, Languages::Keep);
}

void ProfileEditing::setSpeechLanguage(const QString& name) {
    m_document.apply([&](StoredState& state) { state.speechLanguage = name; }, Languages::Keep);
}

void ProfileEditing::setWordTranslations(bool on) {
    m_document.apply([&](StoredState& state) { state.wordTranslations = on; }, Languages::Keep);
}

void ProfileEditing::setBotsCanStartConversations(bool on) {
    m_document.apply([&](StoredState& state) { state.botsCanStartConversations = on; },
                     Languages::Keep);
}

void ProfileEditing::markRead(const QString& botId) {
    if (!m_document.document().bot(botId))
        return;
    const qint64 now = m_document.clock().nowMillis();
    m_document.apply([&](StoredState& state) { state.lastReadAt.insert(botId, now); },
                     Languages::Keep);
}

void ProfileEditing::openConversation(const QString& botId) {
    markRead(botId);
}

} // namespace quillo

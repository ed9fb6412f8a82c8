// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/TextSettings.h"
#include "model/ThemeChoice.h"
#include "parts/DocumentAccess.h"

#include <QStringList>

#include <functional>
#include <optional>

namespace quillo {

// The operations with which the user sets up and edits their own data: onboarding, profile,
// per-language settings, contacts, practised languages, preferences and reading marks. Each
// is one edit of the document; an edit that changes nothing publishes and saves nothing.
class ProfileEditing {
public:
    // Changes the profile in place. A function rather than a whole new profile, so a screen
    // that edits one field never overwrites what changed elsewhere since it opened.
    using ProfileEdit = std::function<void(UserProfile&)>;

    explicit ProfileEditing(DocumentAccess& document);

    // Starts over with a fresh profile, one starter contact per distinct language and no
    // messages; this device's preferences stay.
    void completeOnboarding(const QString& name, const QString& nativeLanguage,
                            const QStringList& languages, const QStringList& interests);

    void saveProfile(const ProfileEdit& edit);

    // Replaces the settings of the practised language with the same key; an unpractised
    // language changes nothing.
    void saveLanguage(const LanguageSettings& settings);

    // Replaces the contact with the same id where it stands, or appends a new one.
    void saveBot(const BotProfile& bot);

    // Removes every memory equal to `memory` (case-sensitive), or all of them without one.
    void forget(const QString& botId, const std::optional<QString>& memory = std::nullopt);

    // Removes the contacts with their whole conversations and reading and nudge marks.
    void removeBots(const QStringList& ids);

    // Adds a starter contact for a language that is not practised yet.
    void addLanguage(const QString& name);

    // Removes every contact of that language, and with them the language.
    void removeLanguage(const QString& name);

    void setNotificationsEnabled(bool on);
    void setKeepRunningWhenClosed(bool on);
    void setTheme(ThemeChoice choice);
    void setTextSettings(const TextSettings& settings);
    void setSpeechLanguage(const QString& name);
    void setWordTranslations(bool on);
    void setBotsCanStartConversations(bool on);

    // Marks the contact's conversation as seen now.
    void markRead(const QString& botId);
    void openConversation(const QString& botId);

private:
    DocumentAccess& m_document;
};

} // namespace quillo

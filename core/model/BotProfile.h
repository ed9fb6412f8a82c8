// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CefrLevel.h"
#include "ConversationStyle.h"
#include "JsonCodec.h"
#include "PersonaAge.h"
#include "PersonaGender.h"
#include "UserAgeGroup.h"

#include <QStringList>

#include <optional>

namespace quillo {

struct ChatMessage;

// A contact: an AI chat partner with a persona, a target language and what it remembers.
struct BotProfile {
    QString id;
    QString displayName;
    QString targetLanguage; // "Any language" makes a contact that writes what the user asks for
    QString topic;          // home topic of the conversation
    QString personality;    // "warm and friendly"
    QString styleNote;      // "talks like a casual friend"
    PersonaGender personaGender = PersonaGender::Neutral;
    PersonaAge personaAge = PersonaAge::Adult;
    ConversationStyle conversationStyle = ConversationStyle::Friend;
    bool isEnabled = true; // inactive contacts keep their messages but never write on their own
    QString accent;        // avatar colour, "#RRGGBB" in upper case
    QString notes;         // the user's wishes for this contact
    QString speaking;      // an "Any language" contact's current language, empty until chosen
    std::optional<CefrLevel> speakingLevel; // ... and its current level
    QStringList memories;                   // facts about the user, oldest first

    bool isAnyLanguage() const;

    // The language the contact writes now.
    QString currentLanguage() const;

    // The language a message of this contact is written in.
    QString language(const ChatMessage& message) const;

    // A copy that also remembers `fact`, unless it is empty or already known.
    BotProfile remembering(const QString& fact) const;

    // Flirting is never offered to users under 18; every prompt goes through this.
    ConversationStyle safeStyle(UserAgeGroup ageGroup) const;

    // Up to two capital letters for the avatar, "?" when the name has none.
    QString initials() const;

    static Decoded<BotProfile> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const BotProfile&, const BotProfile&) = default;
};

} // namespace quillo

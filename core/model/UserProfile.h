// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "JsonCodec.h"
#include "LanguageSettings.h"
#include "UserAgeGroup.h"

#include <QStringList>

namespace quillo {

struct BotProfile;

// Who the user is and what they practise. A fresh profile has exactly these defaults.
struct UserProfile {
    QString displayName; // what contacts call the user
    UserAgeGroup ageGroup = UserAgeGroup::Adult;
    QString nativeLanguage; // glosses and translations go into it
    QStringList interests;
    bool progressiveDifficulty = true;
    QList<LanguageSettings> languages; // in the order the user added them
    bool setupCompleted = false;
    QString about; // free text given to contacts

    // The stored settings of a language, or fresh defaults (not stored) when there are none.
    LanguageSettings settings(const QString& language) const;

    // The level a contact writes at: an "Any language" contact's own choice when it has made
    // one, else the user's level for the language the contact writes.
    CefrLevel level(const BotProfile& bot) const;

    // The language glosses, translations and memories are written in.
    QString glossLanguage() const;

    static Decoded<UserProfile> fromJson(const QJsonValue& value);
    QJsonObject toJson() const;

    friend bool operator==(const UserProfile&, const UserProfile&) = default;
};

} // namespace quillo

// SPDX-License-Identifier: Apache-2.0
#include "UserProfile.h"

#include "BotProfile.h"
#include "Languages.h"
#include "TextHelpers.h"

namespace quillo {

LanguageSettings UserProfile::settings(const QString& language) const {
    const QString key = languageKey(language);
    for (const LanguageSettings& entry : languages) {
        if (languageKey(entry.language) == key)
            return entry;
    }
    return LanguageSettings(language);
}

CefrLevel UserProfile::level(const BotProfile& bot) const {
    if (bot.isAnyLanguage()) {
        if (bot.speakingLevel)
            return *bot.speakingLevel;
        return settings(bot.speaking).level;
    }
    return settings(bot.targetLanguage).level;
}

QString UserProfile::glossLanguage() const {
    return isBlank(nativeLanguage) ? QStringLiteral("English") : nativeLanguage;
}

Decoded<UserProfile> UserProfile::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    const UserProfile defaults;
    UserProfile profile{
        r.lenient<QString>(QStringLiteral("displayName")).value_or(defaults.displayName),
        r.lenient<UserAgeGroup>(QStringLiteral("ageGroup")).value_or(defaults.ageGroup),
        r.lenient<QString>(QStringLiteral("nativeLanguage")).value_or(defaults.nativeLanguage),
        r.strictOptional<QStringList>(QStringLiteral("interests")).value_or(QStringList()),
        r.lenient<bool>(QStringLiteral("progressiveDifficulty"))
            .value_or(defaults.progressiveDifficulty),
        r.strictOptional<QList<LanguageSettings>>(QStringLiteral("languages"))
            .value_or(QList<LanguageSettings>()),
        r.lenient<bool>(QStringLiteral("setupCompleted")).value_or(defaults.setupCompleted),
        r.lenient<QString>(QStringLiteral("about")).value_or(defaults.about),
    };
    if (r.failed())
        return r.error();
    return profile;
}

QJsonObject UserProfile::toJson() const {
    return {
        {QStringLiteral("displayName"), displayName},
        {QStringLiteral("ageGroup"), toJsonValue(ageGroup)},
        {QStringLiteral("nativeLanguage"), nativeLanguage},
        {QStringLiteral("interests"), toJsonValue(interests)},
        {QStringLiteral("progressiveDifficulty"), progressiveDifficulty},
        {QStringLiteral("languages"), toJsonValue(languages)},
        {QStringLiteral("setupCompleted"), setupCompleted},
        {QStringLiteral("about"), about},
    };
}

} // namespace quillo

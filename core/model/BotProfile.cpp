// SPDX-License-Identifier: Apache-2.0
#include "BotProfile.h"

#include "ChatMessage.h"
#include "Identifiers.h"
#include "Languages.h"
#include "ModelConstants.h"
#include "TextHelpers.h"

namespace quillo {

bool BotProfile::isAnyLanguage() const {
    return isAnyLanguageName(targetLanguage);
}

QString BotProfile::currentLanguage() const {
    return isAnyLanguage() ? speaking : targetLanguage;
}

QString BotProfile::language(const ChatMessage& message) const {
    return isBlank(message.language) ? currentLanguage() : message.language;
}

BotProfile BotProfile::remembering(const QString& fact) const {
    const QString memory = leadingCharacters(collapsingWhitespace(fact), maxMemoryChars);
    if (memory.isEmpty())
        return *this;
    for (const QString& known : memories) {
        if (known.compare(memory, Qt::CaseInsensitive) == 0)
            return *this;
    }
    BotProfile copy = *this;
    copy.memories.append(memory);
    if (copy.memories.size() > maxMemories)
        copy.memories.remove(0, copy.memories.size() - maxMemories);
    return copy;
}

ConversationStyle BotProfile::safeStyle(UserAgeGroup ageGroup) const {
    if (conversationStyle == ConversationStyle::Flirty && ageGroup == UserAgeGroup::Under18)
        return ConversationStyle::Friend;
    return conversationStyle;
}

QString BotProfile::initials() const {
    QString letters;
    int found = 0;
    for (QStringView piece : QStringView(displayName).split(u' ', Qt::SkipEmptyParts)) {
        // Code points, not UTF-16 units, so a letter outside the basic plane stays whole.
        for (const char32_t code : piece.toUcs4()) {
            if (QChar::isLetterOrNumber(code)) {
                letters += QString::fromUcs4(&code, 1).toUpper();
                ++found;
                break;
            }
        }
        if (found == 2)
            break;
    }
    return found == 0 ? QStringLiteral("?") : letters;
}

Decoded<BotProfile> BotProfile::fromJson(const QJsonValue& value) {
    ObjectReader r(value);
    const auto id = r.lenient<QString>(QStringLiteral("id"));
    BotProfile bot;
    bot.displayName = r.required<QString>(QStringLiteral("displayName"));
    bot.targetLanguage = r.required<QString>(QStringLiteral("targetLanguage"));
    bot.topic = r.required<QString>(QStringLiteral("topic"));
    bot.personality = r.required<QString>(QStringLiteral("personality"));
    bot.styleNote = r.required<QString>(QStringLiteral("styleNote"));
    bot.memories =
        r.strictOptional<QStringList>(QStringLiteral("memories")).value_or(QStringList());
    if (r.failed())
        return r.error();
    bot.id = id ? *id : newID();
    bot.personaGender =
        r.lenient<PersonaGender>(QStringLiteral("personaGender")).value_or(PersonaGender::Neutral);
    bot.personaAge =
        r.lenient<PersonaAge>(QStringLiteral("personaAge")).value_or(PersonaAge::Adult);
    bot.conversationStyle = r.lenient<ConversationStyle>(QStringLiteral("conversationStyle"))
                                .value_or(ConversationStyle::Friend);
    bot.isEnabled = r.lenient<bool>(QStringLiteral("isEnabled")).value_or(true);
    bot.accent = r.lenient<QString>(QStringLiteral("accent")).value_or(defaultAccent());
    bot.notes = r.lenient<QString>(QStringLiteral("notes")).value_or(QString());
    bot.speaking = r.lenient<QString>(QStringLiteral("speaking")).value_or(QString());
    bot.speakingLevel = r.lenient<CefrLevel>(QStringLiteral("speakingLevel"));
    return bot;
}

QJsonObject BotProfile::toJson() const {
    QJsonObject object{
        {QStringLiteral("id"), id},
        {QStringLiteral("displayName"), displayName},
        {QStringLiteral("targetLanguage"), targetLanguage},
        {QStringLiteral("topic"), topic},
        {QStringLiteral("personality"), personality},
        {QStringLiteral("styleNote"), styleNote},
        {QStringLiteral("personaGender"), toJsonValue(personaGender)},
        {QStringLiteral("personaAge"), toJsonValue(personaAge)},
        {QStringLiteral("conversationStyle"), toJsonValue(conversationStyle)},
        {QStringLiteral("isEnabled"), isEnabled},
        {QStringLiteral("accent"), accent},
        {QStringLiteral("notes"), notes},
        {QStringLiteral("speaking"), speaking},
        {QStringLiteral("memories"), toJsonValue(memories)},
    };
    // An absent level is left out rather than written as null.
    if (speakingLevel)
        object.insert(QStringLiteral("speakingLevel"), toJsonValue(*speakingLevel));
    return object;
}

} // namespace quillo

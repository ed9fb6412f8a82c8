// SPDX-License-Identifier: Apache-2.0
#include "StarterBots.h"

#include "Identifiers.h"
#include "ModelConstants.h"

namespace quillo {

namespace {

// The position in a cycle of `length`, also for indexes below zero.
qsizetype wrapped(qsizetype index, qsizetype length) {
    const qsizetype position = index % length;
    return position < 0 ? position + length : position;
}

} // namespace

const QList<StarterPersona>& StarterBots::catalogue() {
    using G = PersonaGender;
    using A = PersonaAge;
    using S = ConversationStyle;
    static const QList<StarterPersona> personas = {
        {QStringLiteral("Curious Collins"), QStringLiteral("playful and childlike"),
         QStringLiteral("asks very small curious questions"), G::Neutral, A::Child, S::Kid},
        {QStringLiteral("Cafe Coco"), QStringLiteral("warm and friendly"),
         QStringLiteral("talks like a casual friend"), G::Woman, A::YoungAdult, S::Friend},
        {QStringLiteral("Coach Kenji"), QStringLiteral("encouraging and direct"),
         QStringLiteral("pushes consistency with short prompts"), G::Man, A::Adult, S::Teacher},
        {QStringLiteral("Nori Notes"), QStringLiteral("gentle and observant"),
         QStringLiteral("drops tiny comments about the day"), G::Neutral, A::YoungAdult, S::Chill},
        {QStringLiteral("Mila Mosaic"), QStringLiteral("creative and chatty"),
         QStringLiteral("likes hobbies and culture"), G::Woman, A::YoungAdult, S::Playful},
        {QStringLiteral("Rafa Radar"), QStringLiteral("fast and curious"),
         QStringLiteral("shares tiny observations"), G::Man, A::Adult, S::Friend},
    };
    return personas;
}

const QStringList& StarterBots::fallbackTopics() {
    static const QStringList topics = {QStringLiteral("daily life"), QStringLiteral("music"),
                                       QStringLiteral("travel")};
    return topics;
}

BotProfile StarterBots::forLanguage(const QString& language, const QStringList& interests,
                                    qsizetype index) {
    if (index < 0)
        qFatal("StarterBots::forLanguage: negative index %lld", static_cast<long long>(index));
    const StarterPersona& persona = catalogue().at(index % catalogue().size());
    const QStringList& topics = interests.isEmpty() ? fallbackTopics() : interests;
    const QStringList accents = botAccents();

    BotProfile bot;
    bot.id = newID();
    bot.displayName = persona.displayName;
    bot.targetLanguage = language;
    bot.topic = topics.at(index % topics.size());
    bot.personality = persona.personality;
    bot.styleNote = persona.styleNote;
    bot.personaGender = persona.gender;
    bot.personaAge = persona.age;
    bot.conversationStyle = persona.style;
    bot.accent = accents.at(index % accents.size());
    return bot;
}

QList<BotProfile> StarterBots::forProfile(const QStringList& languages,
                                          const QStringList& interests) {
    QList<BotProfile> bots;
    bots.reserve(languages.size());
    for (qsizetype i = 0; i < languages.size(); ++i)
        bots.append(forLanguage(languages.at(i), interests, i));
    return bots;
}

BotProfile StarterBots::blank(const QString& language, qsizetype accentIndex) {
    const QStringList accents = botAccents();
    BotProfile bot;
    bot.id = newID();
    bot.targetLanguage = language;
    bot.topic = QStringLiteral("daily life");
    bot.personality = QStringLiteral("friendly and concise");
    bot.styleNote = QStringLiteral("sounds like a real chat contact");
    bot.personaGender = PersonaGender::Neutral;
    bot.personaAge = PersonaAge::Adult;
    bot.conversationStyle = ConversationStyle::Friend;
    bot.accent = accents.at(wrapped(accentIndex, accents.size()));
    return bot;
}

} // namespace quillo

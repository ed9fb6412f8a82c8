// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "BotProfile.h"

#include <QList>
#include <QStringList>

namespace quillo {

// One row of the starter catalogue: everything a starter contact takes from its persona.
struct StarterPersona {
    QString displayName;
    QString personality;
    QString styleNote;
    PersonaGender gender;
    PersonaAge age;
    ConversationStyle style;
};

// The contacts a user finds ready to chat with. Personas, topics and colours are dealt out by
// position, each on its own cycle, so a user with several languages meets a different contact
// in each.
class StarterBots {
public:
    // The six personas, in the order they are dealt.
    static const QList<StarterPersona>& catalogue();

    // Topics for users who named no interests.
    static const QStringList& fallbackTopics();

    // The starter contact at `index` (0 or more; a negative index stops the program).
    static BotProfile forLanguage(const QString& language, const QStringList& interests,
                                  qsizetype index);

    // One starter contact per language, dealt from position 0 in the given order.
    static QList<BotProfile> forProfile(const QStringList& languages, const QStringList& interests);

    // What the contact editor starts from for a contact made by hand. Any accent index works:
    // it wraps around the colour list.
    static BotProfile blank(const QString& language, qsizetype accentIndex);
};

} // namespace quillo

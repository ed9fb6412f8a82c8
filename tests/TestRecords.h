// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/BotProfile.h"

namespace quillo::testrecords {

// A contact with only what most tests look at: its id (also its name) and its language.
inline BotProfile contact(const QString& id, const QString& language = QStringLiteral("Spanish")) {
    BotProfile bot;
    bot.id = id;
    bot.displayName = id;
    bot.targetLanguage = language;
    return bot;
}

} // namespace quillo::testrecords

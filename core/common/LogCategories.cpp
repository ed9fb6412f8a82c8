// SPDX-License-Identifier: Apache-2.0
#include "LogCategories.h"

namespace quillo {

Q_LOGGING_CATEGORY(lcState, "quillo.state")
Q_LOGGING_CATEGORY(lcSession, "quillo.session")
Q_LOGGING_CATEGORY(lcAccount, "quillo.account")
Q_LOGGING_CATEGORY(lcSync, "quillo.sync")
Q_LOGGING_CATEGORY(lcChat, "quillo.chat")
Q_LOGGING_CATEGORY(lcConversation, "quillo.chat.conversation")
Q_LOGGING_CATEGORY(lcNudges, "quillo.chat.nudges")
Q_LOGGING_CATEGORY(lcGlossing, "quillo.chat.glossing")
Q_LOGGING_CATEGORY(lcTranslate, "quillo.translate")
Q_LOGGING_CATEGORY(lcDictation, "quillo.dictation")

} // namespace quillo

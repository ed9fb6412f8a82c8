// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QLoggingCategory>

namespace quillo {

// The core's log categories, one per component, each defined once. `quillo.*=true` in
// QT_LOGGING_RULES shows them all.
Q_DECLARE_LOGGING_CATEGORY(lcState)        // quillo.state: the document on disk
Q_DECLARE_LOGGING_CATEGORY(lcSession)      // quillo.session: the sign-in on disk
Q_DECLARE_LOGGING_CATEGORY(lcAccount)      // quillo.account: signing in and out
Q_DECLARE_LOGGING_CATEGORY(lcSync)         // quillo.sync: the document and the service
Q_DECLARE_LOGGING_CATEGORY(lcChat)         // quillo.chat: model requests
Q_DECLARE_LOGGING_CATEGORY(lcConversation) // quillo.chat.conversation
Q_DECLARE_LOGGING_CATEGORY(lcNudges)       // quillo.chat.nudges: contacts writing first
Q_DECLARE_LOGGING_CATEGORY(lcGlossing)     // quillo.chat.glossing: word meanings
Q_DECLARE_LOGGING_CATEGORY(lcTranslate)    // quillo.translate: the public translator
Q_DECLARE_LOGGING_CATEGORY(lcDictation)    // quillo.dictation

} // namespace quillo

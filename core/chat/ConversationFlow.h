#pragma once

#include "chat/DocumentAccess.h"

namespace quillo {

// The conversation itself: the user's messages and, as the reply path lands, the contacts'
// answers to them.
class ConversationFlow {
public:
    explicit ConversationFlow(DocumentAccess& document);

    // Appends what the user wrote to a contact's chat and marks the chat read, so that the
    // user's own message never counts as unread. Blank text or an unknown contact does nothing.
    void addUserMessage(const QString& botId, const QString& text);

private:
    DocumentAccess& m_document;
};

} // namespace quillo

#include "ConversationFlow.h"

#include "model/Identifiers.h"
#include "model/TextHelpers.h"

namespace quillo {

ConversationFlow::ConversationFlow(DocumentAccess& document)
    : m_document(document) {}

void ConversationFlow::addUserMessage(const QString& botId, const QString& text) {
    const QString trimmed = trimmedText(text);
    if (trimmed.isEmpty() || !m_document.document().bot(botId))
        return;
    const qint64 now = m_document.clock().nowMillis();
    ChatMessage message{newID(), botId, MessageRole::User,   trimmed,
                        {},      now,   MessageSource::User, {}};
    // One edit for the message and the reading mark: observers and the disk see both at once.
    m_document.apply(
        [&](StoredState& state) {
            state.messages.append(std::move(message));
            state.lastReadAt.insert(botId, now);
        },
        DocumentAccess::Languages::Keep);
}

} // namespace quillo

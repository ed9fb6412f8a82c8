#pragma once

#include "chat/BotReply.h"
#include "common/Result.h"
#include "model/BotProfile.h"
#include "model/ChatMessage.h"
#include "model/UserProfile.h"
#include "service/PromptMessage.h"
#include "service/ProviderError.h"

#include <optional>

namespace quillo {

// The one path by which a contact's message is asked of the model.
class ChatClient {
public:
    // How many earlier messages of a chat go along with a request.
    static constexpr qsizetype historyLimit = 12;

    // The whole message list for one request: the system prompt, the last messages of
    // `history` (stored order, oldest first), and the reply prompt for `userMessage`, or the
    // proactive prompt when there is none.
    static QList<PromptMessage> prompt(const BotProfile& bot, const UserProfile& profile,
                                       const QList<ChatMessage>& history,
                                       const std::optional<QString>& userMessage);

    // Packs a raw completion into a reply. Text with no usable message fails with status 200
    // and the body "Empty reply"; that failure is final, a retry would only cost a request.
    static Result<BotReply, ProviderError> botReply(const QString& raw, const BotProfile& bot,
                                                    int maxLines);
};

} // namespace quillo

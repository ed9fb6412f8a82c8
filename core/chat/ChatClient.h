// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "chat/BotReply.h"
#include "common/Cancellation.h"
#include "common/Clock.h"
#include "common/Result.h"
#include "model/BotProfile.h"
#include "model/ChatMessage.h"
#include "model/UserProfile.h"
#include "service/PromptMessage.h"
#include "service/ProviderError.h"
#include "service/QuilloAPI.h"

#include <QCoroTask>

#include <limits>
#include <optional>

namespace quillo {

// The one path by which a contact's message is asked of the model: builds the message list,
// spaces requests 0.6 s apart (a slot is reserved before waiting for it, so queued requests
// go out in order), retries passing trouble twice (after 1.2 s and 2.4 s) and packs the
// completion into a reply. Lives on the main thread; waits suspend without blocking it.
class ChatClient {
public:
    // One model turn: the reply, and the account the service sent with it (usage counters).
    struct Turn {
        BotReply reply;
        std::optional<Account> account;
    };

    // `api` and `clock` must outlive the client.
    ChatClient(const QuilloAPI& api, const Clock& clock);

    // One complete model turn for `bot`; no `userMessage` asks for a proactive message.
    // Cancelling `cancel` ends any wait at once, and the turn with a ProviderError without
    // status whose body is "Cancelled".
    QCoro::Task<Result<Turn, ApiError>> reply(QString token, BotProfile bot, UserProfile profile,
                                              QList<ChatMessage> history,
                                              std::optional<QString> userMessage,
                                              CancelToken cancel = {});

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

    static constexpr qint64 spacingMillis = 600;
    static constexpr int attempts = 3;
    static constexpr qint64 retryStepMillis = 1200; // wait before attempt n+1: n x 1.2 s
    static constexpr double temperature = 0.6;

private:
    const QuilloAPI& m_api;
    const Clock& m_clock;
    qint64 m_nextRequestAt = std::numeric_limits<qint64>::min();
};

} // namespace quillo

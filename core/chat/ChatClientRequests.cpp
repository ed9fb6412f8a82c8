// SPDX-License-Identifier: Apache-2.0
#include "ChatClient.h"

#include "common/LogCategories.h"
#include "model/ReplyLength.h"

#include <QLoggingCategory>

#include <algorithm>

namespace quillo {

namespace {

using Outcome = Result<ChatClient::Turn, ApiError>;

Outcome cancelled() {
    return ApiError(ProviderError{std::nullopt, QStringLiteral("Cancelled")});
}

// Only the status goes to the log: bodies may quote the user's messages back.
QString statusForLog(const ApiError& error) {
    if (const ProviderError* provider = error.provider())
        return provider->status ? QString::number(*provider->status) : QStringLiteral("none");
    return QStringLiteral("answer not understood");
}

} // namespace

ChatClient::ChatClient(const QuilloAPI& api, const Clock& clock)
    : m_api(api)
    , m_clock(clock) {}

// Runs on the main thread, so nothing else touches the pacing slot between reading and moving
// it; other calls only get in at the waits.
QCoro::Task<Result<ChatClient::Turn, ApiError>>
ChatClient::reply(QString token, BotProfile bot, UserProfile profile, QList<ChatMessage> history,
                  std::optional<QString> userMessage, CancelToken cancel) {
    const QList<PromptMessage> messages = prompt(bot, profile, history, userMessage);
    // An "Any language" contact is held to the user's settings for the language it speaks now.
    const ReplyLength length = profile.settings(bot.currentLanguage()).replyLength;

    for (int attempt = 1;; ++attempt) {
        if (cancel.isCancelled())
            co_return cancelled();
        // Take the slot before waiting for it, so calls that queue up meanwhile go out in order.
        const qint64 now = m_clock.nowMillis();
        const qint64 start = std::max(now, m_nextRequestAt);
        m_nextRequestAt = start + spacingMillis;
        if (start > now && !co_await m_clock.sleep(start - now, cancel))
            co_return cancelled();

        auto answer = co_await m_api.reply(token, messages, maxTokens(length), temperature);
        // Whoever asked may be gone by now, and this client with it: look at nothing of ours.
        if (cancel.isCancelled())
            co_return cancelled();
        if (answer.ok()) {
            // The parser's failure comes after the model has answered: asking again would only
            // spend another of the user's replies.
            auto parsed = botReply(answer->content, bot, maxLines(length));
            if (!parsed.ok())
                co_return Outcome(ApiError(std::move(parsed).error()));
            co_return Outcome(Turn{std::move(parsed).value(), answer->account});
        }

        qCWarning(lcChat).noquote() << "Reply attempt" << attempt << "of" << attempts
                                    << "failed, status" << statusForLog(answer.error());
        if (attempt == attempts || !answer.error().isRetryable())
            co_return Outcome(std::move(answer).error());
        if (!co_await m_clock.sleep(attempt * retryStepMillis, cancel))
            co_return cancelled();
    }
}

} // namespace quillo

// SPDX-License-Identifier: Apache-2.0
#include "ChatClient.h"

#include "chat/Prompts.h"
#include "chat/ReplyParser.h"
#include "common/JsonText.h"
#include "model/TextHelpers.h"

namespace quillo {

namespace {

// An earlier contact message in the shape the contact is asked to answer in, so that an
// "Any language" contact sees which language it wrote each one in.
QString earlierReply(const BotProfile& bot, const ChatMessage& message) {
    QString json = QStringLiteral("{\"message\":") + jsonQuoted(message.text);
    if (bot.isAnyLanguage()) {
        const QString language = isBlank(message.language) ? bot.speaking : message.language;
        json += QStringLiteral(",\"language\":") + jsonQuoted(language);
    }
    return json + u'}';
}

} // namespace

QList<PromptMessage> ChatClient::prompt(const BotProfile& bot, const UserProfile& profile,
                                        const QList<ChatMessage>& history,
                                        const std::optional<QString>& userMessage) {
    QList<PromptMessage> messages;
    messages.reserve(historyLimit + 2);
    messages.append({QStringLiteral("system"), Prompts::systemPrompt(bot, profile)});
    for (const ChatMessage& message : history.last(std::min(historyLimit, history.size()))) {
        if (message.role == MessageRole::User)
            messages.append({QStringLiteral("user"), message.text});
        else
            messages.append({QStringLiteral("assistant"), earlierReply(bot, message)});
    }
    messages.append({QStringLiteral("user"), userMessage
                                                 ? Prompts::replyPrompt(bot, profile, *userMessage)
                                                 : Prompts::proactivePrompt(bot, profile)});
    return messages;
}

Result<BotReply, ProviderError> ChatClient::botReply(const QString& raw, const BotProfile& bot,
                                                     int maxLines) {
    const ReplyParser::Completion completion = ReplyParser::read(raw);
    const auto text = ReplyParser::parseReply(completion, maxLines);
    if (!text)
        return ProviderError{200, QStringLiteral("Empty reply")};
    BotReply reply{*text, std::nullopt, std::nullopt,
                   ReplyParser::field(completion, QStringLiteral("remember"))};
    if (bot.isAnyLanguage()) {
        reply.language = ReplyParser::field(completion, QStringLiteral("language"));
        if (const auto level = ReplyParser::field(completion, QStringLiteral("level")))
            reply.level = fromWireString<CefrLevel>(level->left(2).toUpper());
    }
    return reply;
}

} // namespace quillo

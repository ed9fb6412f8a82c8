// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "ToolIO.h"

#include "chat/ChatClient.h"
#include "common/JsonText.h"

#include <QJsonArray>

namespace quillo::tool {

int promptCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Prints the message list a contact would be sent, as one JSON array."));
    const QCommandLineOption profileOption(QStringLiteral("profile"),
                                           QStringLiteral("The user's profile (JSON)."),
                                           QStringLiteral("P.json"));
    const QCommandLineOption botOption(QStringLiteral("bot"), QStringLiteral("The contact (JSON)."),
                                       QStringLiteral("B.json"));
    const QCommandLineOption historyOption(
        QStringLiteral("history"), QStringLiteral("Earlier messages of the chat (JSON array)."),
        QStringLiteral("H.json"));
    const QCommandLineOption messageOption(
        QStringLiteral("message"),
        QStringLiteral("What the user just wrote; without it the contact writes first."),
        QStringLiteral("TEXT"));
    parser.addOptions({profileOption, botOption, historyOption, messageOption});

    if (const auto done = parseCommand(parser, QStringLiteral("prompt"), arguments))
        return *done;
    if (!parser.isSet(profileOption) || !parser.isSet(botOption)) {
        printError(QStringLiteral("prompt: --profile and --bot are required"));
        return BadInput;
    }
    if (!parser.positionalArguments().isEmpty()) {
        printError(QStringLiteral("prompt: unexpected argument ") +
                   parser.positionalArguments().constFirst());
        return BadInput;
    }

    const auto profile = readRecordFile<UserProfile>(parser.value(profileOption));
    if (!profile)
        return BadInput;
    const auto bot = readRecordFile<BotProfile>(parser.value(botOption));
    if (!bot)
        return BadInput;
    QList<ChatMessage> history;
    if (parser.isSet(historyOption)) {
        auto messages = readRecordFile<QList<ChatMessage>>(parser.value(historyOption));
        if (!messages)
            return BadInput;
        history = std::move(*messages);
    }
    std::optional<QString> message;
    if (parser.isSet(messageOption))
        message = parser.value(messageOption);

    QJsonArray list;
    for (const PromptMessage& entry : ChatClient::prompt(*bot, *profile, history, message))
        list.append(entry.toJson());
    printLine(compactJson(list));
    return Success;
}

} // namespace quillo::tool

// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "ToolIO.h"

#include "chat/ChatClient.h"
#include "common/JsonText.h"

namespace quillo::tool {

int parseReplyCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Reads a raw model completion on standard input and prints the reply a "
                       "contact would send, as one JSON object."));
    const QCommandLineOption maxLinesOption(QStringLiteral("max-lines"),
                                            QStringLiteral("Most lines the reply may keep."),
                                            QStringLiteral("N"));
    const QCommandLineOption botOption(
        QStringLiteral("bot"),
        QStringLiteral("The contact (JSON); language and level are read only for a contact "
                       "that writes any language."),
        QStringLiteral("B.json"));
    parser.addOptions({maxLinesOption, botOption});

    if (const auto done = parseCommand(parser, QStringLiteral("parse-reply"), arguments))
        return *done;
    bool isNumber = false;
    const int maxLines = parser.value(maxLinesOption).toInt(&isNumber);
    if (!parser.isSet(maxLinesOption) || !isNumber || maxLines < 1) {
        printError(QStringLiteral("parse-reply: --max-lines needs a whole number of at least 1"));
        return BadInput;
    }
    if (!parser.positionalArguments().isEmpty()) {
        printError(QStringLiteral("parse-reply: unexpected argument ") +
                   parser.positionalArguments().constFirst());
        return BadInput;
    }

    BotProfile bot;
    if (parser.isSet(botOption)) {
        auto decoded = readRecordFile<BotProfile>(parser.value(botOption));
        if (!decoded)
            return BadInput;
        bot = std::move(*decoded);
    }

    const QString raw = QString::fromUtf8(readStandardInput());
    const auto reply = ChatClient::botReply(raw, bot, maxLines);
    if (!reply) {
        printBareError(reply.error().body); // "Empty reply"
        return NoResult;
    }
    printLine(compactJson(reply->toJson()));
    return Success;
}

} // namespace quillo::tool

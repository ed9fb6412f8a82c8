// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "LocalApp.h"
#include "ToolIO.h"

namespace quillo::tool {

int onboardCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Sets the user up as the app's first screens do: name, native language, the languages "
        "to practise and interests. Each practised language gets a starter contact; an earlier "
        "setup and its chats are replaced."));
    const QCommandLineOption nameOption(QStringLiteral("name"), QStringLiteral("Your name."),
                                        QStringLiteral("NAME"));
    const QCommandLineOption nativeOption(QStringLiteral("native"),
                                          QStringLiteral("Your native language."),
                                          QStringLiteral("LANGUAGE"));
    const QCommandLineOption languageOption(QStringLiteral("language"),
                                            QStringLiteral("A language to practise (repeatable)."),
                                            QStringLiteral("LANGUAGE"));
    const QCommandLineOption interestOption(QStringLiteral("interest"),
                                            QStringLiteral("Something you like (repeatable)."),
                                            QStringLiteral("TOPIC"));
    parser.addOptions({nameOption, nativeOption, languageOption, interestOption});
    if (const auto done = parseCommand(parser, QStringLiteral("onboard"), arguments))
        return *done;
    if (parser.value(nameOption).trimmed().isEmpty() ||
        parser.value(nativeOption).trimmed().isEmpty() || parser.values(languageOption).isEmpty()) {
        printError(QStringLiteral("onboard: --name, --native and at least one --language are "
                                  "required"));
        return BadInput;
    }

    LocalApp app;
    app.repository.editing().completeOnboarding(
        parser.value(nameOption), parser.value(nativeOption), parser.values(languageOption),
        parser.values(interestOption));
    app.finish();
    for (const BotProfile& bot : app.repository.state().bots)
        printLine((bot.displayName + QStringLiteral(" (") + bot.targetLanguage + u')').toUtf8());
    return Success;
}

} // namespace quillo::tool

// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "LocalApp.h"
#include "ToolIO.h"

#include "language/FreeTranslator.h"

#include <QJsonDocument>

namespace quillo::tool {

int translateCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Looks TEXT up as the app's selection panel does and prints its meaning as one JSON "
        "object. QUILLO_TRANSLATE_URL points both translate endpoints elsewhere."));
    const QCommandLineOption fromOption(QStringLiteral("from"),
                                        QStringLiteral("The language of TEXT (a name or a code)."),
                                        QStringLiteral("LANGUAGE"));
    const QCommandLineOption toOption(QStringLiteral("to"),
                                      QStringLiteral("The language to translate into."),
                                      QStringLiteral("LANGUAGE"));
    parser.addOption(fromOption);
    parser.addOption(toOption);
    parser.addPositionalArgument(QStringLiteral("TEXT"), QStringLiteral("What to translate."));
    if (const auto done = parseCommand(parser, QStringLiteral("translate"), arguments))
        return *done;

    const QString text = parser.positionalArguments().join(u' ');
    if (!parser.isSet(fromOption) || !parser.isSet(toOption) || text.trimmed().isEmpty()) {
        printError(QStringLiteral("translate: --from, --to and TEXT are required"));
        return BadInput;
    }
    // The translator would quietly fall back to detecting or to English; asked by name, the
    // user is better told.
    for (const QString& language : {parser.value(fromOption), parser.value(toOption)}) {
        if (!FreeTranslator::languageCode(language)) {
            printError(QStringLiteral("translate: no language code for ") + language);
            return BadInput;
        }
    }

    const FreeTranslator translator;
    const auto meaning =
        waitForResult(translator.lookup(text, parser.value(fromOption), parser.value(toOption)));
    if (!meaning.ok()) {
        printError(QStringLiteral("translate: ") + meaning.error().description());
        return NoResult;
    }
    printLine(QJsonDocument(meaning->toJson()).toJson(QJsonDocument::Compact));
    return Success;
}

} // namespace quillo::tool

// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "ToolIO.h"

#include "common/JsonText.h"
#include "common/Result.h"
#include "language/Romanizer.h"
#include "language/Segments.h"

#include <QJsonArray>

namespace quillo::tool {

namespace {

QCommandLineOption languageOption() {
    return {QStringLiteral("language"), QStringLiteral("The practised language, e.g. Japanese."),
            QStringLiteral("L")};
}

// What the three commands share: a language and the text, taken exactly as given (joined by
// one blank) so that offsets point into what the user typed.
struct LanguageInput {
    QString language;
    QString text;
};

// Parses the command line; gives the exit status when the command is already done.
Result<LanguageInput, int> parseInput(QCommandLineParser& parser, const QString& command,
                                      const QStringList& arguments) {
    const QCommandLineOption language = languageOption();
    parser.addOption(language);
    parser.addPositionalArgument(QStringLiteral("TEXT"), QStringLiteral("The text to look at."));
    if (const auto done = parseCommand(parser, command, arguments))
        return *done;
    LanguageInput input{parser.value(language), parser.positionalArguments().join(u' ')};
    if (input.language.trimmed().isEmpty() || input.text.isEmpty()) {
        printError(command + QStringLiteral(": --language and some text are required"));
        return int(BadInput);
    }
    return input;
}

} // namespace

int wordsCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Prints the words of TEXT one a line, as Quillo finds them for the "
                       "practised language (punctuation left out)."));
    const auto input = parseInput(parser, QStringLiteral("words"), arguments);
    if (!input)
        return input.error();
    const QStringList words = WordBreaks::words(input->text, input->language);
    if (!words.isEmpty())
        printLine(words.join(u'\n').toUtf8());
    return Success;
}

int segmentsCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Prints the word segments of TEXT as the message view lays them out, as one JSON array "
        "of {\"start\",\"end\",\"gloss\"} objects (UTF-16 offsets; gloss only for glossed "
        "words)."));
    const QCommandLineOption glossesOption(
        QStringLiteral("glosses"),
        QStringLiteral("The message's glosses (JSON array of {\"text\",\"gloss\"})."),
        QStringLiteral("G.json"));
    parser.addOption(glossesOption);
    const auto input = parseInput(parser, QStringLiteral("segments"), arguments);
    if (!input)
        return input.error();

    QList<WordGloss> glosses;
    if (parser.isSet(glossesOption)) {
        auto decoded = readRecordFile<QList<WordGloss>>(parser.value(glossesOption));
        if (!decoded)
            return BadInput;
        glosses = std::move(*decoded);
    }

    const QString language = input->language;
    QJsonArray list;
    for (const Segment& segment :
         Segments::build(input->text, glosses, [&language](const QString& gap) {
             return WordBreaks::ranges(gap, language);
         })) {
        QJsonObject object{{QStringLiteral("start"), segment.start},
                           {QStringLiteral("end"), segment.end}};
        if (segment.gloss)
            object.insert(QStringLiteral("gloss"), *segment.gloss);
        list.append(object);
    }
    printLine(compactJson(list));
    return Success;
}

int romanizeCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Prints the reading of TEXT in Latin letters; prints nothing and exits "
                       "with 1 when Quillo would show no reading."));
    const auto input = parseInput(parser, QStringLiteral("romanize"), arguments);
    if (!input)
        return input.error();
    const auto reading = Romanizer::romanize(input->text, input->language);
    if (!reading)
        return NoResult;
    printLine(reading->toUtf8());
    return Success;
}

} // namespace quillo::tool

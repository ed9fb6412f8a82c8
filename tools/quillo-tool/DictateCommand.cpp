// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "LocalApp.h"
#include "ToolIO.h"

#include "dictation/Dictation.h"
#include "dictation/ServiceRecognizer.h"
#include "dictation/WavFile.h"
#include "dictation/WavFileSource.h"

#include <QCommandLineParser>
#include <QEventLoop>

namespace quillo::tool {

int dictateCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Plays a recording through dictation, as if spoken into the microphone, and prints the "
        "final transcript. Checks that the service's speech recogniser is set up."));
    const QCommandLineOption languageOption(QStringLiteral("language"),
                                            QStringLiteral("The language spoken, e.g. Spanish."),
                                            QStringLiteral("L"));
    const QCommandLineOption realTimeOption(
        QStringLiteral("real-time"),
        QStringLiteral("Play at the pace of speech rather than as fast as possible."));
    const QCommandLineOption partialOption(
        QStringLiteral("partial"),
        QStringLiteral("Also print the running transcript on standard error as it changes."));
    parser.addOptions({languageOption, realTimeOption, partialOption});
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("A 16-bit PCM WAV file (any rate; the first "
                                                "channel is used)."));
    if (const auto done = parseCommand(parser, QStringLiteral("dictate"), arguments))
        return *done;
    if (!parser.isSet(languageOption) || parser.positionalArguments().size() != 1) {
        printError(QStringLiteral("dictate: --language and one WAV file are required"));
        return BadInput;
    }
    const QString path = parser.positionalArguments().first();
    const std::optional<QByteArray> file = readFile(path);
    if (!file)
        return BadInput;
    const Result<QByteArray, QString> samples = wav::decode(*file);
    if (!samples) {
        printError(QStringLiteral("dictate: ") + path + QStringLiteral(": ") + samples.error());
        return BadInput;
    }

    LocalApp app;
    if (!app.session.token()) {
        printError(QStringLiteral("dictate: not signed in; sign in with Quillo first"));
        return BadInput;
    }
    WavFileSource recording(samples.value(), parser.isSet(realTimeOption) ? &app.clock : nullptr);
    ServiceRecognizer recognizer(app.api, [&session = app.session] { return session.token(); });
    Dictation dictation(recording, recognizer, app.clock);

    QEventLoop loop;
    std::optional<QString> transcript;
    QString problem;
    dictation.onProblem = [&](const QString& line) {
        problem = line;
        loop.quit();
    };
    if (parser.isSet(partialOption))
        QObject::connect(&dictation, &Dictation::textChanged, &dictation,
                         [&dictation] { printBareError(QStringLiteral("… ") + dictation.text()); });
    // The speaker is done when the recording is.
    QObject::connect(&recording, &WavFileSource::ended, &dictation, [&] {
        dictation.finish([&](const QString& text) {
            transcript = text;
            loop.quit();
        });
    });
    dictation.start(parser.value(languageOption));
    if (dictation.active())
        loop.exec();
    dictation.stop();

    if (!problem.isEmpty()) {
        printBareError(problem);
        return NoResult;
    }
    if (!transcript || transcript->isEmpty()) {
        printError(QStringLiteral("dictate: no transcript came back (QT_LOGGING_RULES="
                                  "\"quillo.dictation=true\" shows what the service said)"));
        return NoResult;
    }
    printLine(transcript->toUtf8());
    return Success;
}

} // namespace quillo::tool

// SPDX-License-Identifier: Apache-2.0
#include "ToolIO.h"

#include <QCoreApplication>

#include <QFile>

#include <cstdio>

namespace quillo::tool {

void printError(const QString& message) {
    const QByteArray line = QStringLiteral("quillo-tool: ").toUtf8() + message.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
}

void printBareError(const QString& message) {
    const QByteArray line = message.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
}

void printLine(const QByteArray& utf8) {
    std::fwrite(utf8.constData(), 1, size_t(utf8.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

QCommandLineOption helpOption() {
    return QCommandLineOption(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                              QStringLiteral("Show this help."));
}

bool parseArguments(QCommandLineParser& parser, const QString& command,
                    const QStringList& arguments) {
    // QCommandLineParser expects the program name first.
    if (parser.parse(QStringList{QStringLiteral("quillo-tool ") + command} + arguments))
        return true;
    printError(command + QStringLiteral(": ") + parser.errorText() +
               QStringLiteral(" (see quillo-tool ") + command + QStringLiteral(" --help)"));
    return false;
}

std::optional<int> parseCommand(QCommandLineParser& parser, const QString& command,
                                const QStringList& arguments) {
    const QCommandLineOption help = helpOption();
    parser.addOption(help);
    if (!parseArguments(parser, command, arguments))
        return 2;
    if (parser.isSet(help)) {
        // The parser names the program by its path; the command's own name says more.
        QString text = parser.helpText();
        text.replace(QStringLiteral("Usage: ") + QCoreApplication::arguments().constFirst(),
                     QStringLiteral("Usage: quillo-tool ") + command);
        printLine(text.toUtf8());
        return 0;
    }
    return std::nullopt;
}

std::optional<QByteArray> readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        printError(path + QStringLiteral(": cannot read: ") + file.errorString());
        return std::nullopt;
    }
    return file.readAll();
}

QByteArray readStandardInput() {
    QFile in;
    if (!in.open(stdin, QIODevice::ReadOnly))
        return {};
    return in.readAll();
}

std::optional<QJsonValue> readJsonFile(const QString& path) {
    const auto bytes = readFile(path);
    if (!bytes)
        return std::nullopt;
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(*bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        printError(path + QStringLiteral(": not valid JSON: ") + error.errorString() +
                   QStringLiteral(" at byte ") + QString::number(error.offset));
        return std::nullopt;
    }
    if (document.isArray())
        return document.array();
    return document.object();
}

} // namespace quillo::tool

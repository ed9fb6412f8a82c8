// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/JsonCodec.h"

#include <QByteArray>
#include <QCommandLineParser>
#include <QJsonDocument>
#include <QString>

#include <optional>

namespace quillo::tool {

// One line on standard error, prefixed with the program's name.
void printError(const QString& message);

// A line on standard error exactly as given, for answers that scripts compare.
void printBareError(const QString& message);

// Text on standard output, followed by a line break.
void printLine(const QByteArray& utf8);

// -h/--help, which every command takes.
QCommandLineOption helpOption();

// Parses `arguments` (without the subcommand) with `parser`; on failure prints the problem and
// a hint, and returns false.
bool parseArguments(QCommandLineParser& parser, const QString& command,
                    const QStringList& arguments);

// Adds -h/--help to `parser` and parses `arguments`. Gives the exit status when the command is
// already done (help printed, or bad arguments reported), nothing when it should go on.
std::optional<int> parseCommand(QCommandLineParser& parser, const QString& command,
                                const QStringList& arguments);

// The bytes of a file, or nothing after printing why it cannot be read.
std::optional<QByteArray> readFile(const QString& path);

// Everything on standard input.
QByteArray readStandardInput();

// A file's JSON, or nothing after printing where it is not valid.
std::optional<QJsonValue> readJsonFile(const QString& path);

// A record decoded from a file with the document's forgiving rules, or nothing after printing
// the file and the field that made it undecodable.
template <typename T>
std::optional<T> readRecordFile(const QString& path) {
    const auto json = readJsonFile(path);
    if (!json)
        return std::nullopt;
    auto decoded = JsonCodec<T>::decode(*json);
    if (!decoded) {
        printError(path + QStringLiteral(": ") + decoded.error().message());
        return std::nullopt;
    }
    return std::move(decoded).value();
}

} // namespace quillo::tool

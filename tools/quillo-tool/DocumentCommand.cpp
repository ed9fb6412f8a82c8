// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "ToolIO.h"

#include "common/JsonText.h"
#include "model/StoredState.h"
#include "model/TextHelpers.h"

#include <QHash>

namespace quillo::tool {

namespace {

const char* const description =
    "Checks or normalises a Quillo state document (state.json).\n"
    "\n"
    "  check FILE      says whether Quillo would load the file and summarises it: practised\n"
    "                  languages, contacts with their language and message count\n"
    "  normalize FILE  prints the document as Quillo writes it after loading (defaults filled\n"
    "                  in, unknown keys dropped), as one line of JSON\n"
    "\n"
    "Exit status: 0 the document loads (and, for normalize, was printed); 1 from check when\n"
    "Quillo would not load the document (it names the record and field, or says the file is of\n"
    "the earlier format; Quillo sets such a file aside and starts fresh); 2 bad arguments, an\n"
    "unreadable file or invalid JSON, and from normalize a document Quillo would not load.";

// Files of the format before synchronisation carry one of these keys at the top. The app sets
// them aside whether or not the rest would decode, so the tool says so instead of reading them.
std::optional<QString> earlierFormatKey(const QJsonValue& json) {
    for (const QString& key :
         {QStringLiteral("provider"), QStringLiteral("notificationPreferences")}) {
        if (json.isObject() && json.toObject().contains(key))
            return key;
    }
    return std::nullopt;
}

QString earlierFormatLine(const QString& path, const QString& key) {
    return path + QStringLiteral(": of the earlier format (top-level \"") + key +
           QStringLiteral("\"); Quillo sets such a file aside and starts fresh");
}

QString messageCount(qsizetype count) {
    return QString::number(count) +
           (count == 1 ? QStringLiteral(" message") : QStringLiteral(" messages"));
}

QStringList summary(const QString& path, const StoredState& state) {
    QStringList lines{path + QStringLiteral(": a Quillo document")};
    lines.append(state.profile.setupCompleted
                     ? QStringLiteral("Onboarding: completed")
                     : QStringLiteral("Onboarding: not completed (Quillo starts with it)"));

    QStringList languages;
    for (const LanguageSettings& entry : state.profile.languages)
        languages.append(collapsingWhitespace(entry.language) + u' ' + wireString(entry.level));
    lines.append(QStringLiteral("Practised languages: ") +
                 (languages.isEmpty() ? QStringLiteral("none") : languages.join(u", ")));

    QHash<QString, qsizetype> perContact;
    for (const ChatMessage& message : state.messages)
        ++perContact[message.botId];
    lines.append(QStringLiteral("Contacts: ") + QString::number(state.bots.size()));
    for (const BotProfile& bot : state.bots) {
        QString language = collapsingWhitespace(bot.targetLanguage);
        if (bot.isAnyLanguage() && !isBlank(bot.speaking))
            language += QStringLiteral(" (now ") + collapsingWhitespace(bot.speaking) + u')';
        if (!bot.isEnabled)
            language += QStringLiteral(" (inactive)");
        lines.append(QStringLiteral("  ") + collapsingWhitespace(bot.displayName) +
                     QStringLiteral(": ") + language + QStringLiteral(", ") +
                     messageCount(perContact.value(bot.id)));
    }

    qsizetype orphans = state.messages.size();
    for (const BotProfile& bot : state.bots)
        orphans -= perContact.take(bot.id); // take: a repeated id counts once
    QString total = QStringLiteral("Messages: ") + QString::number(state.messages.size());
    if (orphans > 0)
        total += QStringLiteral(", ") + QString::number(orphans) + QStringLiteral(" of no contact");
    lines.append(total);
    return lines;
}

} // namespace

int documentCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromUtf8(description));
    parser.addPositionalArgument(QStringLiteral("action"), QStringLiteral("check or normalize"));
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The state document."));

    if (const auto done = parseCommand(parser, QStringLiteral("document"), arguments))
        return *done;
    const QStringList positional = parser.positionalArguments();
    const QString hint = QStringLiteral(" (see quillo-tool document --help)");
    if (positional.isEmpty()) {
        printError(QStringLiteral("document: check or normalize?") + hint);
        return BadInput;
    }
    const QString action = positional.constFirst();
    const bool check = action == u"check";
    if (!check && action != u"normalize") {
        printError(QStringLiteral("document: unknown action ") + action + hint);
        return BadInput;
    }
    if (positional.size() < 2) {
        printError(QStringLiteral("document: ") + action + QStringLiteral(" needs a FILE") + hint);
        return BadInput;
    }
    if (positional.size() > 2) {
        printError(QStringLiteral("document: unexpected argument ") + positional.at(2) + hint);
        return BadInput;
    }

    const QString path = positional.at(1);
    const auto json = readJsonFile(path);
    if (!json)
        return BadInput;
    // What the app cannot load is check's "no", but input that normalize cannot work with.
    const int unloadable = check ? NoResult : BadInput;
    if (const auto key = earlierFormatKey(*json)) {
        printError(earlierFormatLine(path, *key));
        return unloadable;
    }
    const auto state = StoredState::fromJson(*json);
    if (!state) {
        printError(path + QStringLiteral(": ") + state.error().message());
        return unloadable;
    }
    if (check)
        printLine(summary(path, state.value()).join(u'\n').toUtf8());
    else
        printLine(compactJson(state->toJson()));
    return Success;
}

} // namespace quillo::tool

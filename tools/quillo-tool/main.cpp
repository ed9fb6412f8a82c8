// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "ToolIO.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <functional>
#include <map>

using namespace quillo::tool;

namespace {

struct Subcommand {
    std::function<int(const QStringList&)> run;
    const char* summary;
};

const std::map<QString, Subcommand>& subcommands() {
    static const std::map<QString, Subcommand> table{
        {QStringLiteral("prompt"),
         {promptCommand, "print the message list a contact would be sent"}},
        {QStringLiteral("parse-reply"),
         {parseReplyCommand, "turn a raw model completion (standard input) into a reply"}},
        {QStringLiteral("document"),
         {documentCommand, "check or normalize a state document (check|normalize FILE)"}},
        {QStringLiteral("say"),
         {sayCommand, "send TEXT to a contact as the signed-in user (--bot NAME_OR_ID TEXT)"}},
        {QStringLiteral("onboard"),
         {onboardCommand, "set up name, languages and interests; meet starter contacts"}},
        {QStringLiteral("sign-in"), {signInCommand, "sign in with an access code (--code CODE)"}},
        {QStringLiteral("sign-out"),
         {signOutCommand, "send the last changes, then forget the account here"}},
        {QStringLiteral("sync"), {syncCommand, "bring in and send changes once"}},
        {QStringLiteral("nudge"), {nudgeCommand, "let quiet contacts write first, once, now"}},
        {QStringLiteral("words"),
         {wordsCommand, "print the words of TEXT, one a line (--language L TEXT)"}},
        {QStringLiteral("segments"),
         {segmentsCommand, "print the word segments of TEXT as JSON (--language L TEXT)"}},
        {QStringLiteral("romanize"),
         {romanizeCommand, "print the reading of TEXT in Latin letters (--language L TEXT)"}},
        {QStringLiteral("translate"),
         {translateCommand, "look TEXT up on the public translator (--from L --to L TEXT)"}},
        {QStringLiteral("check"),
         {checkCommand, "check the user's latest message to a contact (--bot NAME_OR_ID)"}},
        {QStringLiteral("explain"),
         {explainCommand, "explain words of a contact's message (--message ID --selection TEXT)"}},
        {QStringLiteral("say-it"),
         {sayItCommand, "how to say TEXT in a contact's language (--bot NAME_OR_ID TEXT)"}},
        {QStringLiteral("doctor"),
         {doctorCommand, "check the service, session, model, dictation and translation"}},
        {QStringLiteral("dictate"),
         {dictateCommand, "play a WAV recording through dictation (--language L FILE.wav)"}},
    };
    return table;
}

QByteArray usage() {
    QByteArray text = "Usage: quillo-tool COMMAND [OPTIONS]\n\n"
                      "The command-line companion of Quillo. Commands:\n";
    for (const auto& [name, command] : subcommands())
        text += "  " + name.toUtf8().leftJustified(14) + command.summary + '\n';
    text += "\nEach command takes --help. Exit status: 0 done, 1 no result, 2 bad arguments "
            "or input.";
    return text;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quillo-tool"));
    // Commands speak for themselves in one line; the app's log is there for the asking
    // (QT_LOGGING_RULES="quillo.*=true" overrides this).
    QLoggingCategory::setFilterRules(QStringLiteral("quillo.*=false"));
    QStringList arguments = QCoreApplication::arguments().mid(1);

    if (arguments.isEmpty()) {
        printError(QStringLiteral("which command? (see quillo-tool --help)"));
        return BadInput;
    }
    const QString name = arguments.takeFirst();
    if (name == u"--help" || name == u"-h" || name == u"help") {
        printLine(usage());
        return Success;
    }
    const auto command = subcommands().find(name);
    if (command == subcommands().end()) {
        printError(QStringLiteral("unknown command ") + name +
                   QStringLiteral(" (see quillo-tool --help)"));
        return BadInput;
    }
    return command->second.run(arguments);
}

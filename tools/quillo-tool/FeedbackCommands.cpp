// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "LocalApp.h"
#include "ToolIO.h"

#include <QCoroTask>
#include <QJsonDocument>

namespace quillo::tool {

namespace {

// What the three commands share: the parsed options, the signed-in app and the contact.
struct FeedbackRun {
    LocalApp app;
    std::optional<BotProfile> bot;
    QStringList failures;
};

std::unique_ptr<FeedbackRun> openFor(const QString& command, const QString& contact) {
    auto run = std::make_unique<FeedbackRun>();
    if (!run->app.session.token()) {
        printError(command + QStringLiteral(": not signed in; sign in with Quillo first"));
        return nullptr;
    }
    run->bot = findContact(run->app.repository.state(), contact);
    if (!run->bot) {
        printError(command + QStringLiteral(": no single contact called ") + contact +
                   QStringLiteral("; ") + contactList(run->app.repository.state()));
        return nullptr;
    }
    FeedbackRun* raw = run.get();
    run->app.repository.feedback().setOnFailure(
        [raw](const QString&, const QString& line) { raw->failures.append(line); });
    return run;
}

int printed(const std::optional<QJsonObject>& object, FeedbackRun& run, const QString& command) {
    if (object) {
        printLine(QJsonDocument(*object).toJson(QJsonDocument::Compact));
        return Success;
    }
    if (!run.failures.isEmpty())
        printBareError(run.failures.join(u'\n'));
    else if (!run.app.session.token())
        printError(command + QStringLiteral(": the session has ended; sign in with Quillo again"));
    else
        printError(command + QStringLiteral(": no answer"));
    return NoResult;
}

QCommandLineOption botOption() {
    return {QStringLiteral("bot"), QStringLiteral("The contact's id or display name."),
            QStringLiteral("NAME_OR_ID")};
}

QCommandLineOption messageOption() {
    return {QStringLiteral("message"), QStringLiteral("The message's id."), QStringLiteral("ID")};
}

} // namespace

int checkCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Checks the user's latest message to a contact (or the given one), keeps "
                       "the correction with it and prints it as JSON."));
    parser.addOption(botOption());
    parser.addOption(messageOption());
    if (const auto done = parseCommand(parser, QStringLiteral("check"), arguments))
        return *done;
    if (!parser.isSet(QStringLiteral("bot"))) {
        printError(QStringLiteral("check: --bot is required"));
        return BadInput;
    }
    auto run = openFor(QStringLiteral("check"), parser.value(QStringLiteral("bot")));
    if (!run)
        return BadInput;
    QString id = parser.value(QStringLiteral("message"));
    const QList<ChatMessage> chat = run->app.repository.state().messagesFor(run->bot->id);
    bool found = false;
    for (qsizetype i = chat.size() - 1; i >= 0 && !found; --i) {
        if (chat[i].role == MessageRole::User && (id.isEmpty() || chat[i].id == id)) {
            id = chat[i].id;
            found = true;
        }
    }
    if (!found) {
        printError(QStringLiteral("check: no message of the user's like that to ") +
                   run->bot->displayName);
        return BadInput;
    }
    const auto correction = QCoro::waitFor(run->app.repository.feedback().check(id));
    run->app.finish();
    std::optional<QJsonObject> object;
    if (correction) {
        QJsonObject shown = correction->toJson();
        shown.remove(QStringLiteral("checkedAt"));
        object = shown;
    }
    return printed(object, *run, QStringLiteral("check"));
}

int explainCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Explains a passage of a contact's message and prints it as JSON."));
    parser.addOption(botOption());
    parser.addOption(messageOption());
    const QCommandLineOption selection(QStringLiteral("selection"),
                                       QStringLiteral("The passage to explain."),
                                       QStringLiteral("TEXT"));
    parser.addOption(selection);
    if (const auto done = parseCommand(parser, QStringLiteral("explain"), arguments))
        return *done;
    if (!parser.isSet(QStringLiteral("bot")) || !parser.isSet(QStringLiteral("message")) ||
        parser.value(selection).trimmed().isEmpty()) {
        printError(QStringLiteral("explain: --bot, --message and --selection are required"));
        return BadInput;
    }
    auto run = openFor(QStringLiteral("explain"), parser.value(QStringLiteral("bot")));
    if (!run)
        return BadInput;
    const QString id = parser.value(QStringLiteral("message"));
    bool known = false;
    for (const ChatMessage& message : run->app.repository.state().messagesFor(run->bot->id))
        known = known || (message.id == id && message.role == MessageRole::Assistant);
    if (!known) {
        printError(QStringLiteral("explain: ") + run->bot->displayName +
                   QStringLiteral(" wrote no message ") + id);
        return BadInput;
    }
    const auto explanation =
        QCoro::waitFor(run->app.repository.feedback().explain(id, parser.value(selection)));
    run->app.finish();
    return printed(explanation ? std::optional<QJsonObject>(explanation->toJson()) : std::nullopt,
                   *run, QStringLiteral("explain"));
}

int sayItCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Prints, as JSON, how to say TEXT in the contact's language; sends "
                       "nothing."));
    parser.addOption(botOption());
    parser.addPositionalArgument(QStringLiteral("TEXT"), QStringLiteral("What you mean."));
    if (const auto done = parseCommand(parser, QStringLiteral("say-it"), arguments))
        return *done;
    const QString text = parser.positionalArguments().join(u' ').trimmed();
    if (!parser.isSet(QStringLiteral("bot")) || text.isEmpty()) {
        printError(QStringLiteral("say-it: --bot and some text are required"));
        return BadInput;
    }
    auto run = openFor(QStringLiteral("say-it"), parser.value(QStringLiteral("bot")));
    if (!run)
        return BadInput;
    const auto said = QCoro::waitFor(run->app.repository.feedback().sayIt(run->bot->id, text));
    return printed(said ? std::optional<QJsonObject>(said->toJson()) : std::nullopt, *run,
                   QStringLiteral("say-it"));
}

} // namespace quillo::tool

// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "LocalApp.h"
#include "ToolIO.h"

#include "account/AccountProjection.h"

#include <QCoroTask>
#include <QSet>

namespace quillo::tool {

namespace {

bool requireSession(const LocalApp& app, const QString& command) {
    if (app.session.token())
        return true;
    if (app.session.owner())
        printError(command + QStringLiteral(": the session of ") + *app.session.owner() +
                   QStringLiteral(" has ended; sign in again"));
    else
        printError(command + QStringLiteral(": not signed in (see quillo-tool sign-in --help)"));
    return false;
}

} // namespace

int signInCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Signs in with an access code and brings in the account's document."));
    const QCommandLineOption codeOption(QStringLiteral("code"),
                                        QStringLiteral("An access code from quillo-server invite."),
                                        QStringLiteral("CODE"));
    parser.addOption(codeOption);
    if (const auto done = parseCommand(parser, QStringLiteral("sign-in"), arguments))
        return *done;
    if (parser.value(codeOption).trimmed().isEmpty()) {
        printError(QStringLiteral("sign-in: --code is required"));
        return BadInput;
    }

    LocalApp app;
    const auto outcome =
        waitForResult(app.repository.accounts().signInWithCode(parser.value(codeOption)));
    app.finish();
    if (!outcome.ok()) {
        printBareError(AccountFlows::failureLine(outcome.error()));
        return NoResult;
    }
    printLine(QStringLiteral("Signed in as %1.").arg(app.session.account()->email).toUtf8());
    return Success;
}

int signOutCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Sends the last changes, then forgets the account and its chats on this computer."));
    if (const auto done = parseCommand(parser, QStringLiteral("sign-out"), arguments))
        return *done;

    LocalApp app;
    const std::optional<QString> owner = app.session.owner();
    QCoro::waitFor(app.repository.accounts().signOut());
    app.repository.flush();
    if (!owner) {
        printError(QStringLiteral("sign-out: nobody was signed in"));
        return NoResult;
    }
    printLine(QStringLiteral("Signed out %1.").arg(*owner).toUtf8());
    return Success;
}

int syncCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Brings in what other devices changed and sends what this one changed, once."));
    if (const auto done = parseCommand(parser, QStringLiteral("sync"), arguments))
        return *done;

    LocalApp app;
    if (!requireSession(app, QStringLiteral("sync")))
        return BadInput;
    QCoro::waitFor(app.repository.synchronisation().refresh());
    app.repository.flush();
    if (!app.session.token()) {
        printError(QStringLiteral("sync: the service ended the session; sign in again"));
        return NoResult;
    }
    // In step exactly when the service holds what this device would send.
    const StoredState& state = app.repository.state();
    if (AccountProjection::of(state).fingerprint != app.session.syncedFingerprint()) {
        printError(QStringLiteral("sync: the service could not be reached or refused the "
                                  "document; nothing was lost, try again later"));
        return NoResult;
    }
    printLine(QStringLiteral("In step: %1 contacts, %2 messages.")
                  .arg(state.bots.size())
                  .arg(state.messages.size())
                  .toUtf8());
    return Success;
}

int nudgeCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Runs one pass of contacts writing first, now, and prints what they "
                       "wrote. A contact seen for the first time is only scheduled."));
    if (const auto done = parseCommand(parser, QStringLiteral("nudge"), arguments))
        return *done;

    LocalApp app;
    if (!app.repository.state().profile.setupCompleted) {
        printError(QStringLiteral("nudge: nobody is set up yet (see quillo-tool onboard --help)"));
        return NoResult;
    }
    if (!app.repository.state().botsCanStartConversations) {
        printError(QStringLiteral("nudge: contacts starting conversations is switched off in "
                                  "the settings"));
        return NoResult;
    }
    QSet<QString> before;
    for (const ChatMessage& message : app.repository.state().messages)
        before.insert(message.id);
    QCoro::waitFor(app.repository.nudges().run(app.clock.nowMillis()));
    app.finish();

    const StoredState& state = app.repository.state();
    int written = 0;
    for (const ChatMessage& message : state.messages) {
        if (before.contains(message.id) || message.role != MessageRole::Assistant)
            continue;
        const auto bot = state.bot(message.botId);
        printLine((bot ? bot->displayName : message.botId).toUtf8() + ": " + message.text.toUtf8());
        ++written;
    }
    if (written == 0) {
        printError(QStringLiteral("nudge: no contact wrote this time"));
        return NoResult;
    }
    return Success;
}

} // namespace quillo::tool

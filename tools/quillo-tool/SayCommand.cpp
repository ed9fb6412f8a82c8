// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "LocalApp.h"
#include "ToolIO.h"

#include <QCoroTask>

namespace quillo::tool {

// The contact named by id, or else by display name regardless of case; nothing when no
// contact or more than one fits.
std::optional<BotProfile> findContact(const StoredState& state, const QString& name) {
    if (auto byId = state.bot(name))
        return byId;
    std::optional<BotProfile> found;
    for (const BotProfile& bot : state.bots) {
        if (bot.displayName.trimmed().compare(name.trimmed(), Qt::CaseInsensitive) != 0)
            continue;
        if (found)
            return std::nullopt;
        found = bot;
    }
    return found;
}

QString contactList(const StoredState& state) {
    if (state.bots.isEmpty())
        return QStringLiteral("there are no contacts");
    QStringList names;
    for (const BotProfile& bot : state.bots)
        names.append(bot.displayName + QStringLiteral(" (") + bot.id + u')');
    return QStringLiteral("contacts: ") + names.join(QStringLiteral(", "));
}

int sayCommand(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Sends TEXT to a contact as the signed-in user and prints the reply."));
    const QCommandLineOption botOption(QStringLiteral("bot"),
                                       QStringLiteral("The contact's id or display name."),
                                       QStringLiteral("NAME_OR_ID"));
    parser.addOption(botOption);
    parser.addPositionalArgument(QStringLiteral("TEXT"), QStringLiteral("What to say."));
    if (const auto done = parseCommand(parser, QStringLiteral("say"), arguments))
        return *done;
    const QString text = parser.positionalArguments().join(u' ').trimmed();
    if (!parser.isSet(botOption) || text.isEmpty()) {
        printError(QStringLiteral("say: --bot and some text are required"));
        return BadInput;
    }

    LocalApp app;
    if (!app.session.token()) {
        printError(QStringLiteral("say: not signed in; sign in with Quillo first"));
        return BadInput;
    }
    ChatRepository& repository = app.repository;
    const SessionStore& session = app.session;

    const auto bot = findContact(repository.state(), parser.value(botOption));
    if (!bot) {
        printError(QStringLiteral("say: no single contact called ") + parser.value(botOption) +
                   QStringLiteral("; ") + contactList(repository.state()));
        return BadInput;
    }

    QStringList errors;
    QObject::connect(&repository, &ChatRepository::errorOccurred,
                     [&errors](const QString& line) { errors.append(line); });
    repository.conversation().addUserMessage(bot->id, text);
    const qint64 sentAt = repository.state().messagesFor(bot->id).last().createdAt;
    QCoro::waitFor(repository.conversation().answerLatest(bot->id));
    // The conversation reaches the account at once, and the files are left as the app would.
    app.finish();

    const QList<ChatMessage> messages = repository.state().messagesFor(bot->id);
    const ChatMessage& last = messages.last();
    if (last.role == MessageRole::Assistant && last.createdAt >= sentAt) {
        printLine(last.text.toUtf8());
        return Success;
    }
    if (!errors.isEmpty())
        printBareError(errors.join(u'\n'));
    else if (!session.token())
        printError(QStringLiteral("say: the session has ended; sign in with Quillo again"));
    else
        printError(QStringLiteral("say: no reply"));
    return NoResult;
}

} // namespace quillo::tool

// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "auth/Secrets.h"
#include "common/Clock.h"
#include "config/ServerConfig.h"
#include "http/AccessCode.h"
#include "storage/Storage.h"

#include <QProcessEnvironment>

#include <algorithm>
#include <cstdio>
#include <limits>

namespace quillo::server {

namespace {

struct Invitation {
    QString email;
    QString name;
    bool revokeOthers = false; // the new code is to be the account's only one
};

constexpr qint64 millisPerDay = 24 * 60 * 60 * 1000;

Result<Invitation, QString> parseArguments(const QStringList& arguments) {
    Invitation invitation;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == u"--name") {
            if (i + 1 == arguments.size())
                return QStringLiteral("--name needs a value");
            invitation.name = arguments.at(++i).trimmed();
        } else if (argument.startsWith(QStringLiteral("--name="))) {
            invitation.name = argument.mid(7).trimmed();
        } else if (argument == u"--revoke-others") {
            invitation.revokeOthers = true;
        } else if (argument.startsWith(u'-')) {
            return QStringLiteral("unknown option %1").arg(argument);
        } else if (invitation.email.isEmpty()) {
            invitation.email = argument.trimmed().toLower();
        } else {
            return QStringLiteral("invite takes one e-mail address");
        }
    }
    if (invitation.email.isEmpty())
        return QStringLiteral("usage: quillo-server invite EMAIL [--name NAME] [--revoke-others]");
    const qsizetype at = invitation.email.indexOf(u'@');
    const bool plausible = at > 0 && at == invitation.email.lastIndexOf(u'@') &&
                           at < invitation.email.size() - 1 &&
                           std::none_of(invitation.email.begin(), invitation.email.end(),
                                        [](QChar c) { return c.isSpace(); });
    if (!plausible)
        return QStringLiteral("\"%1\" is not an e-mail address").arg(invitation.email);
    return invitation;
}

} // namespace

int inviteCommand(const QStringList& arguments) {
    const auto invitation = parseArguments(arguments);
    if (!invitation) {
        printError(invitation.error());
        return 2;
    }
    const auto config = ServerConfig::fromEnvironment(QProcessEnvironment::systemEnvironment());
    if (!config) {
        printError(config.error());
        return 2;
    }
    try {
        const auto storage = openStorage(config->databaseUrl);
        storage->migrate();
        const qint64 now = SystemClock().nowMillis();
        const AccountRow account = storage->ensureAccount(invitation->email, invitation->name, now);
        // Expired codes go now; with --revoke-others every earlier code goes with them.
        const qint64 expired = now - qint64(config->codeDays) * millisPerDay;
        storage->removeAccessCodes(
            account.id, invitation->revokeOthers ? std::numeric_limits<qint64>::max() : expired);
        // Only the code's hash is kept: it is shown this once.
        const QString code = newAccessCode();
        storage->addAccessCode(account.id, sha256(normalizedAccessCode(code)), now);
        std::printf("%s\n", code.toLatin1().constData());
        return 0;
    } catch (const StorageError& failure) {
        printError(QStringLiteral("storage: %1").arg(QString::fromLocal8Bit(failure.what())));
        return 1;
    }
}

} // namespace quillo::server

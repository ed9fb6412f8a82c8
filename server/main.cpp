// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"

#include <QCoreApplication>

using namespace quillo::server;

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quillo-server"));
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty()) {
        printError(QStringLiteral(
            "usage: quillo-server serve | invite EMAIL [--name NAME] [--revoke-others] | "
            "--help"));
        return 2;
    }
    const QString command = arguments.takeFirst();
    if (command == u"serve")
        return serveCommand(arguments);
    if (command == u"invite")
        return inviteCommand(arguments);
    if (command == u"--help" || command == u"-h" || command == u"help")
        return helpCommand();
    printError(QStringLiteral("unknown command \"%1\"; see quillo-server --help").arg(command));
    return 2;
}

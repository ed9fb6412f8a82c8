// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"
#include "config/ServerConfig.h"

#include <cstdio>

namespace quillo::server {

void printError(const QString& line) {
    std::fprintf(stderr, "quillo-server: %s\n", line.toLocal8Bit().constData());
}

int helpCommand() {
    const QString usage = QStringLiteral(
        "usage:\n"
        "  quillo-server serve                       serve the HTTP interface until SIGTERM\n"
        "  quillo-server invite EMAIL [--name NAME]  print a new access code for that account,\n"
        "                                            creating the account when it is new\n"
        "  quillo-server --help                      this text\n"
        "\n"
        "Both commands read their configuration from these environment variables:\n");
    std::fputs(usage.toLocal8Bit().constData(), stdout);
    std::fputs(ServerConfig::variablesHelp().toLocal8Bit().constData(), stdout);
    if (!ServerConfig::variablesHelp().endsWith(u'\n'))
        std::fputs("\n", stdout);
    return 0;
}

} // namespace quillo::server

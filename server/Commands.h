// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

namespace quillo::server {

// The commands of `quillo-server`; each takes the arguments after its name and gives the exit
// status: 0 done, 1 failed while running, 2 bad arguments or configuration.
int serveCommand(const QStringList& arguments);
int inviteCommand(const QStringList& arguments);
int helpCommand();

// Prints one line to stderr; commands report this way, never with more than a line.
void printError(const QString& line);

} // namespace quillo::server

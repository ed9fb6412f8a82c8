// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

namespace quillo::tool {

// Exit statuses shared by every subcommand.
enum Exit : int {
    Success = 0,
    NoResult = 1, // the answer is no: no reply, no reading, a document the app would not load
    BadInput = 2, // bad arguments, an unreadable file, JSON that does not decode
};

// Each subcommand takes its own arguments (without the subcommand's name) and returns an exit
// status. They print results on standard output and one-line errors on standard error.
int promptCommand(const QStringList& arguments);
int parseReplyCommand(const QStringList& arguments);
int documentCommand(const QStringList& arguments);
int sayCommand(const QStringList& arguments);
int onboardCommand(const QStringList& arguments);
int signInCommand(const QStringList& arguments);
int signOutCommand(const QStringList& arguments);
int syncCommand(const QStringList& arguments);
int nudgeCommand(const QStringList& arguments);
int wordsCommand(const QStringList& arguments);
int segmentsCommand(const QStringList& arguments);
int romanizeCommand(const QStringList& arguments);
int translateCommand(const QStringList& arguments);
int dictateCommand(const QStringList& arguments);
int doctorCommand(const QStringList& arguments);

} // namespace quillo::tool

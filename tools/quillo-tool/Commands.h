// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

#include <optional>

namespace quillo {
struct BotProfile;
struct StoredState;
} // namespace quillo

namespace quillo::tool {

// Exit statuses shared by every subcommand.
enum Exit : int {
    Success = 0,
    NoResult = 1, // the answer is no: no reply, no reading, a document the app would not load
    BadInput = 2, // bad arguments, an unreadable file, JSON that does not decode
};

// The contact named by id, or else by display name regardless of case; nothing when no
// contact or more than one fits.
std::optional<BotProfile> findContact(const StoredState& state, const QString& name);
// "contacts: Lucía (id), ..." for an error line.
QString contactList(const StoredState& state);

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
int checkCommand(const QStringList& arguments);
int explainCommand(const QStringList& arguments);
int sayItCommand(const QStringList& arguments);

} // namespace quillo::tool

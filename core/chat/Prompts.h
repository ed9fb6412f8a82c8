// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/BotProfile.h"
#include "model/UserProfile.h"

namespace quillo {

// The texts a contact is prompted with. Their wording is the contract with the model: the reply
// parser expects exactly the JSON fields the schema line asks for, so change them together.
namespace Prompts {

// The system message: persona, live settings and the hard rules.
QString systemPrompt(const BotProfile& bot, const UserProfile& user);

// The last user message when the contact answers `userMessage`.
QString replyPrompt(const BotProfile& bot, const UserProfile& user, const QString& userMessage);

// The last user message when the contact starts a conversation by itself.
QString proactivePrompt(const BotProfile& bot, const UserProfile& user);

// Trimmed, non-empty items joined with ", ", or `fallback` when none is left.
QString joined(const QStringList& items, const QString& fallback);

} // namespace Prompts

} // namespace quillo

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/StoredState.h"
#include "service/Account.h"

#include <functional>
#include <optional>

namespace quillo {

// A whole number drawn uniformly from 0 to `highest` inclusive.
using UniformDraw = std::function<int(int highest)>;

// When a contact may write first: rules only, no state of their own.
namespace NudgePolicy {

// How long a chat must have been quiet, with no unread message or with exactly one.
inline constexpr qint64 quietWithoutUnreadMillis = 4'200'000;
inline constexpr qint64 quietWithOneUnreadMillis = 6'300'000;
// Unread messages at which a contact stops writing on its own.
inline constexpr int unreadThatStops = 2;
// Replies of the daily allowance that are always left for the user.
inline constexpr int repliesKeptBack = 5;

// Draws from the system's secure generator.
UniformDraw secureDraw();

// The wait before a contact the scheduler sees for the first time may write: 14 to 32 minutes.
qint64 firstDelay(const UniformDraw& draw);
// The wait after a contact has been considered: 85 to 165 minutes.
qint64 nextDelay(const UniformDraw& draw);

// Whether the contact would write now: it exists and is active, and its chat has been quiet
// long enough for the unread messages it holds.
bool shouldNudge(const StoredState& state, const QString& botId, qint64 now);

// How many contacts may write in one pass: the day's remaining replies less those kept back for
// the user, never below 0; 0 without an account.
int budget(const std::optional<Account>& account);

} // namespace NudgePolicy

} // namespace quillo

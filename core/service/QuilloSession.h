// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Account.h"

#include <optional>

namespace quillo {

// What a sign-in or an account check hands back: the bearer token for later calls and the
// account it belongs to.
struct QuilloSession {
    QString token;
    Account account;
    // Whether the service can produce replies right now (it has a model that answers); absent
    // when the service does not say.
    std::optional<bool> repliesReady = std::nullopt;

    friend bool operator==(const QuilloSession&, const QuilloSession&) = default;
};

} // namespace quillo

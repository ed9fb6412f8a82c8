// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Account.h"

namespace quillo {

// What a sign-in or an account check hands back: the bearer token for later calls and the
// account it belongs to.
struct QuilloSession {
    QString token;
    Account account;

    friend bool operator==(const QuilloSession&, const QuilloSession&) = default;
};

} // namespace quillo

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCoroTask>

namespace quillo {

// Asks the service for the signed-in account, so that the usage counter is current. Gives false
// when there is no session (none was signed in, or the service has just ended it); a network or
// server fault gives true, so that what follows is not held back by it.
class AccountCheck {
public:
    virtual QCoro::Task<bool> refreshAccount() = 0;

protected:
    virtual ~AccountCheck() = default;
};

} // namespace quillo

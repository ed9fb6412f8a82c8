// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace quillo {

struct ApiError;

// What a failed call to the service means for whoever made it. This is the one place that
// reads the service's statuses; callers act on the meaning.
enum class ServiceStatus {
    Unreachable,   // no HTTP answer: no connection, a time-out
    SessionEnded,  // 401: the token is over, and the session store should forget it
    AllowanceUsed, // 402: today's replies are used
    Stale,         // 409 on an upload: another device uploaded first
    Busy,          // 429
    Unavailable,   // 503: the service, or what it depends on, is down for now
    Failed,        // any other status, or an answer that could not be read or kept
};

ServiceStatus statusOf(const ApiError& error);

// The line a person is shown when the service could not be reached at all.
QString unreachableLine();

} // namespace quillo

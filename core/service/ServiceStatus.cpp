// SPDX-License-Identifier: Apache-2.0
#include "ServiceStatus.h"

#include "QuilloAPI.h"

namespace quillo {

ServiceStatus statusOf(const ApiError& error) {
    const ProviderError* provider = error.provider();
    if (!provider)
        return ServiceStatus::Failed;
    if (!provider->status)
        return ServiceStatus::Unreachable;
    switch (*provider->status) {
    case 401:
        return ServiceStatus::SessionEnded;
    case 402:
        return ServiceStatus::AllowanceUsed;
    case 409:
        return ServiceStatus::Stale;
    case 429:
        return ServiceStatus::Busy;
    case 503:
        return ServiceStatus::Unavailable;
    default:
        return ServiceStatus::Failed;
    }
}

QString unreachableLine() {
    return QStringLiteral("Couldn't reach Quillo. Check your connection and try again.");
}

} // namespace quillo

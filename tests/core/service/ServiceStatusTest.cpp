// SPDX-License-Identifier: Apache-2.0
#include "service/ServiceStatus.h"
#include "service/QuilloAPI.h"

#include <gtest/gtest.h>

using namespace quillo;

TEST(ServiceStatus, EachStatusMeansOneThingToTheCaller) {
    const auto of = [](std::optional<int> status) {
        return statusOf(ApiError(ProviderError{status, {}}));
    };
    EXPECT_EQ(of(std::nullopt), ServiceStatus::Unreachable);
    EXPECT_EQ(of(401), ServiceStatus::SessionEnded);
    EXPECT_EQ(of(402), ServiceStatus::AllowanceUsed);
    EXPECT_EQ(of(409), ServiceStatus::Stale);
    EXPECT_EQ(of(429), ServiceStatus::Busy);
    EXPECT_EQ(of(503), ServiceStatus::Unavailable);
    for (int other : {0, 400, 403, 404, 413, 500, 502})
        EXPECT_EQ(of(other), ServiceStatus::Failed) << other;
    // An answer that could not be read, or kept here, is a failure whatever its status was.
    EXPECT_EQ(statusOf(ApiError(DecodeError{{}, QStringLiteral("no content")})),
              ServiceStatus::Failed);
    EXPECT_EQ(statusOf(ApiError(LocalFailure{QStringLiteral("disk full")})), ServiceStatus::Failed);
}

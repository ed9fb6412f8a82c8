// SPDX-License-Identifier: Apache-2.0
#include "service/ProviderError.h"

#include <gtest/gtest.h>

using namespace quillo;

TEST(ProviderError, RetriesOnlyPassingTrouble) {
    for (int status : {408, 409, 425, 429, 500, 503, 599, 700})
        EXPECT_TRUE((ProviderError{status, {}}.isRetryable())) << status;
    for (int status : {0, 200, 400, 401, 402, 404, 499})
        EXPECT_FALSE((ProviderError{status, {}}.isRetryable())) << status;
    EXPECT_TRUE((ProviderError{std::nullopt, QStringLiteral("offline")}.isRetryable()));
}

TEST(ProviderError, DescriptionNamesTheStatusAndCutsTheBody) {
    EXPECT_EQ((ProviderError{503, QStringLiteral("busy")}.description()),
              u"Quillo server error 503: busy");
    EXPECT_EQ((ProviderError{std::nullopt, QStringLiteral("timed out")}.description()),
              u"Quillo server error network: timed out");
    const QString description = ProviderError{500, QString(500, u'x')}.description();
    EXPECT_EQ(description, QStringLiteral("Quillo server error 500: ") + QString(200, u'x'));
}

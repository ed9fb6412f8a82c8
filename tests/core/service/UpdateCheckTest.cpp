// SPDX-License-Identifier: Apache-2.0
#include "service/UpdateCheck.h"

#include <gtest/gtest.h>

using namespace quillo;

namespace {

bool newer(const char* candidate, const char* current) {
    return UpdateCheck::isNewer(QString::fromUtf8(candidate), QString::fromUtf8(current));
}

} // namespace

TEST(UpdateCheckIsNewer, ComparesPiecesAsNumbersNotText) {
    EXPECT_TRUE(newer("1.10", "1.4.2"));
    EXPECT_FALSE(newer("1.4.2", "1.10"));
    EXPECT_TRUE(newer("2", "1.99.99"));
    EXPECT_TRUE(newer("1.4.10", "1.4.9"));
    EXPECT_FALSE(newer("1.4.2", "1.4.2"));
}

TEST(UpdateCheckIsNewer, MissingPiecesCountAsZero) {
    EXPECT_FALSE(newer("1.4.0", "1.4"));
    EXPECT_FALSE(newer("1.4", "1.4.0"));
    EXPECT_TRUE(newer("1.4.1", "1.4"));
    EXPECT_FALSE(newer("1.4", "1.4.1"));
    EXPECT_TRUE(newer("1.4.0.0.1", "1.4"));
}

TEST(UpdateCheckIsNewer, AnythingButNumbersIsNeverNewerNorOutdated) {
    // Either side unparseable: no update, whichever way round.
    for (const char* odd : {"1.5-beta", "dev", "", ".", "..", "v2", "1.x", "1. 5", " 2", "1.+",
                            "0x10", "1.99999999999999999999"}) {
        EXPECT_FALSE(newer(odd, "1.4")) << odd;
        EXPECT_FALSE(newer("9.9", odd)) << odd;
    }
}

TEST(UpdateCheckIsNewer, EmptyPiecesAreDroppedAndSignsAllowed) {
    EXPECT_FALSE(newer("1..2", "1.2"));
    EXPECT_TRUE(newer("1..3", "1.2"));
    EXPECT_TRUE(newer(".2.", "1"));
    EXPECT_FALSE(newer("+1.+4", "1.4"));
    EXPECT_TRUE(newer("1.+5", "1.4"));
    EXPECT_TRUE(newer("1.0", "1.-1"));
    EXPECT_FALSE(newer("1.-1", "1"));
}

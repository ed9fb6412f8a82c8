// SPDX-License-Identifier: Apache-2.0
#include "auth/Secrets.h"

#include <QSet>

#include <gtest/gtest.h>

#include <cctype>

using namespace quillo::server;

TEST(Secrets, TokensAreDistinctAndUrlSafe) {
    QSet<QByteArray> seen;
    for (int i = 0; i < 100; ++i) {
        const QByteArray token = randomToken();
        EXPECT_EQ(token.size(), 43);
        for (char c : token)
            EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_');
        seen.insert(token);
    }
    EXPECT_EQ(seen.size(), 100);
    EXPECT_EQ(randomToken(3).size(), 4);
}

TEST(Secrets, DigestsAndComparisons) {
    EXPECT_EQ(sha256("abc").toHex(),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_TRUE(constantTimeEquals(sha256("a"), sha256("a")));
    EXPECT_FALSE(constantTimeEquals(sha256("a"), sha256("b")));
    EXPECT_FALSE(constantTimeEquals("abc", "ab"));
}

// SPDX-License-Identifier: Apache-2.0
#include "service/ServiceAddress.h"

#include <gtest/gtest.h>

using namespace quillo;

TEST(ServiceAddress, OnlyPlainHttpBeyondThisComputerTravelsInClear) {
    for (const char* url : {"http://quillo.school.example:8787", "http://192.168.1.20:8787",
                            "HTTP://quillo", "http://[2001:db8::1]:8787", "http://10.0.0.1"})
        EXPECT_TRUE(travelsInClear(QUrl(QString::fromLatin1(url)))) << url;
    for (const char* url : {"https://quillo.school.example", "http://127.0.0.1:8787",
                            "http://127.8.9.10", "http://[::1]:8787", "http://localhost:8787",
                            "http://LocalHost", "http://app.localhost", "https://192.168.1.20"})
        EXPECT_FALSE(travelsInClear(QUrl(QString::fromLatin1(url)))) << url;
}

// SPDX-License-Identifier: Apache-2.0
#include "ScreensFixture.h"

using namespace quillo;
using namespace quillo::screentest;

namespace {

using SignInWarningTest = ScreensTest;

QString visibleText(QQuickItem* item) {
    return item && item->isVisible() ? item->property("text").toString() : QString();
}

TEST_F(SignInWarningTest, SaysWhenTheServiceIsReachedInTheClear) {
    seed(StoredState(), false);
    // 0.0.0.0 is no loopback address, yet Linux connects it to this machine: it stands in for a
    // school's server on its network without a packet leaving the test.
    qputenv("QUILLO_API_URL", QStringLiteral("http://0.0.0.0:%1").arg(port()).toUtf8());
    ASSERT_NO_FATAL_FAILURE(launch());
    EXPECT_EQ(visibleText(item(QStringLiteral("connectionWarning"))),
              u"Quillo at 0.0.0.0 is reached over plain http: your sign-in and chats travel "
              u"unencrypted.");
    grab(QStringLiteral("sign-in-plain-http"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

} // namespace

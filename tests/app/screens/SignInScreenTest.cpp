// SPDX-License-Identifier: Apache-2.0
#include "ScreensFixture.h"

using namespace quillo;
using namespace quillo::screentest;

namespace {

class SignInScreenTest : public ScreensTest {
protected:
    void TearDown() override {
        qunsetenv("QUILLO_ACCESS_CODE");
        qunsetenv("XDG_STATE_HOME");
        ScreensTest::TearDown();
    }
};

QString visibleText(QQuickItem* item) {
    return item && item->isVisible() ? item->property("text").toString() : QString();
}

TEST_F(SignInScreenTest, SaysWhenTheServiceIsReachedInTheClear) {
    seed(StoredState(), false);
    // 0.0.0.0 is no loopback address, yet Linux connects it to this machine: it stands in for a
    // school's server on its network without a packet leaving the test.
    qputenv("QUILLO_API_URL", QStringLiteral("http://0.0.0.0:%1").arg(port()).toUtf8());
    ASSERT_NO_FATAL_FAILURE(launch());
    EXPECT_EQ(visibleText(item(QStringLiteral("connectionWarning"))),
              u"Quillo at 0.0.0.0 is reached over plain http: your sign-in and chats travel "
              u"unencrypted.");
    EXPECT_FALSE(item(QStringLiteral("localCodeHint"))->isVisible()) << "not this computer";
    grab(QStringLiteral("sign-in-plain-http"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(SignInScreenTest, AHandedOverCodeSignsInAndGoesOnToOnboarding) {
    seed(StoredState(), false);
    qputenv("QUILLO_ACCESS_CODE",
            (u' ' + invite(QStringLiteral("ana@example.com")) + u'\n').toUtf8());
    ASSERT_NO_FATAL_FAILURE(launch());
    ASSERT_TRUE(spinUntil([this] { return item(QStringLiteral("startButton")) != nullptr; }));
    EXPECT_EQ(context->account()->email(), u"ana@example.com");
    EXPECT_EQ(item(QStringLiteral("accessCode")), nullptr);
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

TEST_F(SignInScreenTest, ARefusedHandedOverCodeShowsTheSignInScreenWithItsLineAndTheLocalHint) {
    seed(StoredState(), false);
    qputenv("QUILLO_ACCESS_CODE", "NOPE-NOPE");
    const QString state = support.filePath(QStringLiteral("state"));
    qputenv("XDG_STATE_HOME", state.toUtf8());
    ASSERT_NO_FATAL_FAILURE(launch());
    ASSERT_TRUE(
        spinUntil([this] { return !visibleText(item(QStringLiteral("failureLine"))).isEmpty(); }));
    EXPECT_EQ(visibleText(item(QStringLiteral("failureLine"))),
              u"Quillo couldn't sign you in. Try again.");
    EXPECT_FALSE(context->account()->signedIn());
    // The service is on this computer: the sign-in screen says where the launch script keeps
    // the code.
    EXPECT_EQ(visibleText(item(QStringLiteral("localCodeHint"))),
              QStringLiteral("Running the service on this computer? scripts/run keeps your code "
                             "in %1/quillo/local-access-code.")
                  .arg(state));
    grab(QStringLiteral("sign-in-refused-handed-over-code"));
    EXPECT_TRUE(warnings().isEmpty()) << warnings().join(u'\n').toStdString();
}

} // namespace

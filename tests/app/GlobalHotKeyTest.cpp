// SPDX-License-Identifier: Apache-2.0
#include "desktop/GlobalHotKey.h"
#include "EventsUntil.h"
#include "VirtualDisplay.h"

#include <QCoreApplication>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace quillo;
using quillo::apptest::eventsUntil;
using quillo::apptest::VirtualDisplay;

TEST(GlobalHotKey, ControlShiftSpaceReachesQuilloWhateverHasTheFocus) {
    VirtualDisplay display;
    ASSERT_TRUE(display.running()) << "Xvfb did not start";
    GlobalHotKey hotKey(display.name());
    ASSERT_TRUE(hotKey.registered());
    QSignalSpy pressed(&hotKey, &GlobalHotKey::pressed);

    ASSERT_TRUE(display.press(QStringLiteral("ctrl+shift+space")));
    ASSERT_TRUE(eventsUntil([&] { return pressed.count() == 1; }));
    ASSERT_TRUE(display.press(QStringLiteral("ctrl+space")));
    ASSERT_TRUE(display.press(QStringLiteral("shift+space")));
    ASSERT_TRUE(display.press(QStringLiteral("ctrl+shift+space")));
    ASSERT_TRUE(eventsUntil([&] { return pressed.count() == 2; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(pressed.count(), 2) << "other combinations are not ours";

    // A second program cannot take the key while Quillo holds it.
    GlobalHotKey second(display.name());
    EXPECT_FALSE(second.registered());
}

TEST(GlobalHotKey, WithoutAnXServerNothingIsRegistered) {
    GlobalHotKey hotKey(QStringLiteral(":999"));
    EXPECT_FALSE(hotKey.registered());
}

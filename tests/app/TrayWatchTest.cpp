// SPDX-License-Identifier: Apache-2.0
#include "desktop/TrayWatch.h"
#include "EventsUntil.h"
#include "PrivateBus.h"
#include "StatusNotifierWatcher.h"
#include "VirtualDisplay.h"
#include "support/ManualClock.h"

#include <QDBusMessage>
#include <QSignalSpy>

#include <xcb/xcb.h>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace quillo;
using quillo::apptest::eventsUntil;
using quillo::apptest::PrivateBus;
using quillo::apptest::StatusNotifierWatcher;
using quillo::apptest::VirtualDisplay;

namespace {

// A watch on a session bus of its own, with the panel's watcher on another connection.
class TrayWatchTest : public ::testing::Test {
protected:
    PrivateBus bus;
    ManualClock clock;
    QDBusConnection appBus = bus.connect(QStringLiteral("app"));
    StatusNotifierWatcher panel{bus.connect(QStringLiteral("panel"))};
    TrayWatch watch{clock, {appBus, std::nullopt}};
    QSignalSpy found{&watch, &TrayWatch::found};
    QSignalSpy none{&watch, &TrayWatch::none};

    void SetUp() override { ASSERT_TRUE(appBus.isConnected()); }

    // Until everything the watch asked the panel so far is answered and heard: the panel answers
    // one connection in order, so a question of our own on it comes back after the watch's.
    void answersHeard() {
        QDBusMessage get = QDBusMessage::createMethodCall(
            StatusNotifierWatcher::service(), StatusNotifierWatcher::path(),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
        get << StatusNotifierWatcher::service() << QStringLiteral("IsStatusNotifierHostRegistered");
        appBus.call(get);
        QCoreApplication::processEvents();
    }
};

} // namespace

TEST_F(TrayWatchTest, APanelThatComesUpSecondsAfterStartIsFoundAsItAppears) {
    watch.start();
    clock.advance(4'000);
    EXPECT_EQ(watch.result(), TrayWatch::Result::Watching);

    ASSERT_TRUE(panel.appear(true));
    ASSERT_TRUE(eventsUntil([&] { return found.count() == 1; }));
    EXPECT_EQ(watch.result(), TrayWatch::Result::Found);
    clock.advance(TrayWatch::limitMillis);
    EXPECT_EQ(none.count(), 0);
}

TEST_F(TrayWatchTest, NoTrayIsNoneExactlyAtTheLimit) {
    watch.start();
    clock.advance(TrayWatch::limitMillis - 1);
    QCoreApplication::processEvents();
    EXPECT_EQ(watch.result(), TrayWatch::Result::Watching);
    EXPECT_EQ(none.count(), 0);

    clock.advance(1);
    EXPECT_EQ(watch.result(), TrayWatch::Result::None);
    EXPECT_EQ(none.count(), 1);
    EXPECT_EQ(clock.sleeping(), 0) << "the watch stops looking";
    // A panel that comes up later is not the watch's business any more.
    ASSERT_TRUE(panel.appear(true));
    answersHeard();
    EXPECT_EQ(found.count(), 0);
}

TEST_F(TrayWatchTest, AWatcherWithoutAHostCountsOnceTheHostRegisters) {
    ASSERT_TRUE(panel.appear(false));
    watch.start();
    clock.advance(3'000);
    answersHeard();
    EXPECT_EQ(watch.result(), TrayWatch::Result::Watching);

    panel.registerHost();
    EXPECT_TRUE(eventsUntil([&] { return found.count() == 1; })) << "without waiting for a tick";
}

TEST_F(TrayWatchTest, AHostThatCameUnannouncedIsFoundAtTheNextLook) {
    ASSERT_TRUE(panel.appear(false));
    watch.start();
    answersHeard();
    panel.registerHost(false);
    QCoreApplication::processEvents();
    EXPECT_EQ(found.count(), 0);

    clock.advance(TrayWatch::intervalMillis);
    EXPECT_TRUE(eventsUntil([&] { return found.count() == 1; }));
}

TEST(TrayWatch, TheOlderX11TrayCountsWhenItsSelectionHasAnOwner) {
    VirtualDisplay display;
    ASSERT_TRUE(display.running()) << "Xvfb did not start";
    ManualClock clock;
    TrayWatch watch(clock, {std::nullopt, display.name()});
    QSignalSpy found(&watch, &TrayWatch::found);
    watch.start();
    clock.advance(2'000);
    EXPECT_EQ(found.count(), 0);

    // A panel takes the tray's selection with a window of its own.
    xcb_connection_t* panel = xcb_connect(display.name().toUtf8().constData(), nullptr);
    ASSERT_FALSE(xcb_connection_has_error(panel));
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(panel)).data;
    const xcb_window_t window = xcb_generate_id(panel);
    xcb_create_window(panel, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    const QByteArray selection = QByteArrayLiteral("_NET_SYSTEM_TRAY_S0");
    xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(
        panel, xcb_intern_atom(panel, 0, uint16_t(selection.size()), selection.constData()),
        nullptr);
    ASSERT_NE(atom, nullptr);
    xcb_set_selection_owner(panel, window, atom->atom, XCB_CURRENT_TIME);
    std::free(atom);
    std::free(xcb_get_input_focus_reply(panel, xcb_get_input_focus(panel), nullptr));

    EXPECT_EQ(found.count(), 0) << "not before the next look";
    clock.advance(TrayWatch::intervalMillis);
    EXPECT_EQ(found.count(), 1);
    xcb_disconnect(panel);
}

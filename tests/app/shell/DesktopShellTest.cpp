#include "../EventsUntil.h"
#include "../VirtualDisplay.h"
#include "shell/DesktopApp.h"

#include <QApplication>
#include <QQuickWindow>
#include <QStandardPaths>

#include <xcb/xcb.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

using namespace quillo;
using quillo::apptest::eventsUntil;
using quillo::apptest::VirtualDisplay;

namespace {

// The whole application runs on an X server of this process's own, as on an X11 desktop.
VirtualDisplay* display = nullptr;

// What the X server itself says, not what Qt believes: whether the window is mapped and viewable.
bool viewableOnTheServer(const QWindow& window) {
    xcb_connection_t* connection = xcb_connect(display->name().toUtf8().constData(), nullptr);
    bool viewable = false;
    if (!xcb_connection_has_error(connection)) {
        xcb_get_window_attributes_reply_t* attributes = xcb_get_window_attributes_reply(
            connection, xcb_get_window_attributes(connection, xcb_window_t(window.winId())),
            nullptr);
        viewable = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        std::free(attributes);
    }
    xcb_disconnect(connection);
    return viewable;
}

} // namespace

TEST(DesktopShell, ControlShiftSpaceShowsTheHiddenWindowAgain) {
    DesktopApp app({QStringLiteral("quillo")});
    ASSERT_TRUE(app.start());
    QQuickWindow* window = app.screens().mainWindow();
    ASSERT_NE(window, nullptr);
    app.handleArguments({QStringLiteral("quillo"), QStringLiteral("--open")});
    ASSERT_TRUE(eventsUntil([&] { return viewableOnTheServer(*window); }));

    // Closed to the tray: gone from the screen, still running.
    window->hide();
    ASSERT_TRUE(eventsUntil([&] { return !viewableOnTheServer(*window); }));

    ASSERT_TRUE(display->press(QStringLiteral("ctrl+shift+space")));
    EXPECT_TRUE(eventsUntil([&] { return window->isVisible() && viewableOnTheServer(*window); }));
    EXPECT_TRUE(app.screens().warnings().isEmpty())
        << app.screens().warnings().join(u'\n').toStdString();
}

int main(int argc, char** argv) {
    QStandardPaths::setTestModeEnabled(true);
    // Nothing leaves the machine: no service, no translator.
    qputenv("QUILLO_API_URL", "http://127.0.0.1:9");
    qputenv("QUILLO_TRANSLATE_URL", "http://127.0.0.1:9");
    VirtualDisplay server;
    if (!server.running()) {
        std::fputs("Xvfb did not start\n", stderr);
        return 1;
    }
    display = &server;
    qputenv("DISPLAY", server.name().toUtf8());
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

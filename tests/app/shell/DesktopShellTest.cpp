// SPDX-License-Identifier: Apache-2.0
#include "../BackgroundPeer.h"
#include "../EventsUntil.h"
#include "../PrivateBus.h"
#include "../StatusNotifierWatcher.h"
#include "../VirtualDisplay.h"
#include "shell/DesktopApp.h"
#include "store/SessionStore.h"
#include "store/StateStore.h"
#include "support/ManualClock.h"

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

#include <xcb/xcb.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

using namespace quillo;
using quillo::apptest::BackgroundPeer;
using quillo::apptest::eventsUntil;
using quillo::apptest::PrivateBus;
using quillo::apptest::StatusNotifierWatcher;
using quillo::apptest::VirtualDisplay;

namespace {

// The whole application runs on an X server and a session bus of this process's own, as on an
// X11 desktop.
VirtualDisplay* display = nullptr;
PrivateBus* bus = nullptr;

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

// Hears the quit that Qt posts to the application when the last window closes.
class QuitSpy : public QObject {
public:
    bool quit = false;
    bool eventFilter(QObject*, QEvent* event) override {
        quit = quit || event->type() == QEvent::Quit;
        return false;
    }
};

// Closes the window, as its close button does, inside the application's own event loop, and
// tells whether the application goes on. The look ends behind the quit that closing the last
// window posts, if it did, and only when there was none: an exit of ours would override it.
bool keepsRunningAfterClosing(QWindow& window) {
    constexpr int stillRunning = 42;
    QuitSpy spy;
    qApp->installEventFilter(&spy);
    QTimer::singleShot(0, &window, [&window, &spy] {
        window.close();
        QTimer::singleShot(0, qApp, [&spy] {
            if (!spy.quit)
                QCoreApplication::exit(stillRunning);
        });
    });
    const bool running = QApplication::exec() == stillRunning;
    qApp->removeEventFilter(&spy);
    return running;
}

// Presses `keys` on the X server inside the application's own event loop, and tells whether
// the application quits; it stops looking once the X server has had five seconds to deliver.
bool quitsOnPressing(const QString& keys) {
    constexpr int stillRunning = 42;
    QElapsedTimer waited;
    QTimer giveUp;
    giveUp.setInterval(10);
    QObject::connect(&giveUp, &QTimer::timeout, qApp, [&waited] {
        if (waited.elapsed() > 5000)
            QCoreApplication::exit(stillRunning);
    });
    QTimer::singleShot(0, qApp, [&] {
        EXPECT_TRUE(display->press(keys));
        waited.start();
        giveUp.start();
    });
    return QApplication::exec() != stillRunning;
}

// A signed-in user who is set up, in a support directory of the test's own, a panel that can
// come up on the session bus and the desktop's background portal there.
class TrayShellTest : public ::testing::Test {
protected:
    QTemporaryDir support;
    ManualClock clock;
    StatusNotifierWatcher panel{bus->connect(QStringLiteral("panel"))};
    BackgroundPeer portal{bus->connect(QStringLiteral("portal"))};

    void SetUp() override {
        qputenv("QUILLO_SUPPORT_DIR", support.path().toUtf8());
        seed(true);
        Account account;
        account.email = QStringLiteral("ana@example.com");
        SessionStore(support.filePath(QStringLiteral("session.json")))
            .signedIn({QStringLiteral("token"), account});
    }
    void TearDown() override {
        qunsetenv("QUILLO_SUPPORT_DIR");
        // The application changed this for the whole process.
        QGuiApplication::setQuitOnLastWindowClosed(true);
    }

    bool iconRegistered() const { return panel.items().size() == 1; }

    // The document, with the settings switch for closing the window.
    void seed(bool keepRunningWhenClosed) {
        StoredState state;
        state.profile.setupCompleted = true;
        state.keepRunningWhenClosed = keepRunningWhenClosed;
        StateStore store(support.filePath(QStringLiteral("state.json")));
        store.save(state.withSyncedLanguages());
        store.flush();
    }
};

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

TEST_F(TrayShellTest, AQuietLoginStartThatFindsNoTrayOpensTheWindowAtTheLimit) {
    DesktopApp app({QStringLiteral("quillo"), QStringLiteral("--launched-at-login")}, clock);
    ASSERT_TRUE(app.start());
    QQuickWindow* window = app.screens().mainWindow();
    clock.advance(TrayWatch::limitMillis - 1);
    QCoreApplication::processEvents();
    EXPECT_FALSE(window->isVisible());

    clock.advance(1);
    EXPECT_TRUE(eventsUntil([&] { return viewableOnTheServer(*window); }));
}

TEST_F(TrayShellTest, APanelThatComesUpAfterAQuietLoginStartShowsTheIcon) {
    DesktopApp app({QStringLiteral("quillo"), QStringLiteral("--launched-at-login")}, clock);
    ASSERT_TRUE(app.start());
    QQuickWindow* window = app.screens().mainWindow();
    clock.advance(3'000);
    ASSERT_TRUE(panel.appear(true));
    ASSERT_TRUE(eventsUntil([&] { return iconRegistered(); }));
    EXPECT_EQ(bus->connect(QStringLiteral("panel")).interface()->serviceOwner(panel.items()[0]),
              panel.callers().value(0))
        << "the icon is registered by the connection that shows it";
    clock.advance(TrayWatch::limitMillis);
    QCoreApplication::processEvents();
    EXPECT_FALSE(window->isVisible()) << "in the tray, quietly";

    // Opened from the tray, then closed: Quillo stays, for the replies to come.
    app.handleArguments({QStringLiteral("quillo"), QStringLiteral("--open")});
    ASSERT_TRUE(eventsUntil([&] { return viewableOnTheServer(*window); }));
    EXPECT_TRUE(keepsRunningAfterClosing(*window));
    EXPECT_FALSE(viewableOnTheServer(*window));
}

TEST_F(TrayShellTest, WithTheSwitchOffAndNoTrayClosingQuitsUntilAPanelComesUp) {
    seed(false);
    DesktopApp app({QStringLiteral("quillo")}, clock);
    ASSERT_TRUE(app.start());
    QQuickWindow* window = app.screens().mainWindow();
    ASSERT_TRUE(eventsUntil([&] { return viewableOnTheServer(*window); }));
    EXPECT_FALSE(keepsRunningAfterClosing(*window)) << "the user asked for closing to quit";

    ASSERT_TRUE(panel.appear(true));
    ASSERT_TRUE(eventsUntil([&] { return iconRegistered(); }));
    app.handleArguments({QStringLiteral("quillo"), QStringLiteral("--open")});
    ASSERT_TRUE(eventsUntil([&] { return viewableOnTheServer(*window); }));
    EXPECT_TRUE(keepsRunningAfterClosing(*window)) << "the icon stays, whatever the switch says";
    QCoreApplication::processEvents();
    EXPECT_TRUE(portal.requests.isEmpty()) << "in the tray there is nothing to ask";
}

TEST_F(TrayShellTest, WithoutATrayClosingLeavesQuilloRunningAndTellsTheDesktopOnce) {
    DesktopApp app({QStringLiteral("quillo")}, clock);
    ASSERT_TRUE(app.start());
    QQuickWindow* window = app.screens().mainWindow();
    ASSERT_TRUE(eventsUntil([&] { return viewableOnTheServer(*window); }));
    EXPECT_TRUE(keepsRunningAfterClosing(*window));
    EXPECT_FALSE(viewableOnTheServer(*window));
    ASSERT_TRUE(eventsUntil([&] { return portal.requests.size() == 1; }));
    EXPECT_FALSE(
        portal.requests.first().second.value(QStringLiteral("reason")).toString().isEmpty());

    // Starting Quillo again hands over --open: the window comes back, and closes again.
    app.handleArguments({QStringLiteral("quillo"), QStringLiteral("--open")});
    ASSERT_TRUE(eventsUntil([&] { return viewableOnTheServer(*window); }));
    EXPECT_TRUE(keepsRunningAfterClosing(*window));
    QCoreApplication::processEvents();
    EXPECT_EQ(portal.requests.size(), 1) << "the desktop is asked once";

    // The switch turned off in the settings counts from the next close.
    app.controller().repository().editing().setKeepRunningWhenClosed(false);
    app.handleArguments({QStringLiteral("quillo"), QStringLiteral("--open")});
    ASSERT_TRUE(eventsUntil([&] { return viewableOnTheServer(*window); }));
    EXPECT_FALSE(keepsRunningAfterClosing(*window));
}

TEST_F(TrayShellTest, ControlQQuitsWhileClosingWouldKeepQuilloRunning) {
    DesktopApp app({QStringLiteral("quillo")}, clock);
    ASSERT_TRUE(app.start());
    QQuickWindow* window = app.screens().mainWindow();
    ASSERT_TRUE(eventsUntil([&] { return viewableOnTheServer(*window) && window->isActive(); }));
    EXPECT_TRUE(quitsOnPressing(QStringLiteral("ctrl+q")));
    EXPECT_TRUE(portal.requests.isEmpty()) << "quitting is not going to the background";
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
    // Qt reads the session bus's address once per process: this one's, before anything asks.
    PrivateBus sessionBus;
    if (sessionBus.address().isEmpty()) {
        std::fputs("dbus-daemon did not start\n", stderr);
        return 1;
    }
    bus = &sessionBus;
    qputenv("DBUS_SESSION_BUS_ADDRESS", sessionBus.address().toUtf8());
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

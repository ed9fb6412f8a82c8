// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "desktop/BackgroundPortal.h"
#include "desktop/GlobalHotKey.h"
#include "desktop/PortalHotKey.h"
#include "desktop/TrayWatch.h"
#include "desktop/WindowPlacement.h"
#include "models/AppController.h"
#include "screens/AppContext.h"
#include "shell/ScreenEngine.h"
#include "shell/TrayIcon.h"

#include <QStringList>

namespace quillo {

// The running application: the controller over the clock, the screens over it, and the wiring
// to the process (quitting, becoming active, a login launch, the tray).
class DesktopApp {
public:
    // Over the real clock.
    explicit DesktopApp(const QStringList& arguments);
    // `clock` must outlive the application.
    DesktopApp(const QStringList& arguments, const Clock& clock);
    ~DesktopApp();

    // Loads the screens and starts the controller; false when the screens could not load.
    bool start();
    // What a later start of Quillo handed over: --open brings the window forward with the most
    // relevant chat, a sign-in callback URL ends a waiting Google sign-in.
    void handleArguments(const QStringList& arguments);

    AppController& controller() { return m_controller; }
    AppContext& context() { return m_context; }
    ScreenEngine& screens() { return m_screens; }

private:
    bool takeUrls(const QStringList& arguments);
    // The tray's "Open Quillo" and the hot key: the most relevant chat, in the window.
    void open();
    // Quillo in the tray from now on: closing the window leaves the icon.
    void showInTray();
    // Whether closing the window leaves Quillo running: in the tray, or as the user chose.
    bool keepsRunningWhenClosed();
    // Lets the last window's closing quit, or not, as keepsRunningWhenClosed says now.
    void followClosing();
    // The window is closed: running on without a tray, Quillo tells the desktop so, once.
    void wentToBackground();
    // Nowhere to put an icon: the window, unless it is already on screen.
    void showWindowIfHidden();

    const Clock& m_clock;
    QStringList m_arguments;
    AppController m_controller;
    AppContext m_context;
    // Before the screens: the window it follows goes first.
    WindowPlacement m_placement;
    ScreenEngine m_screens;
    std::unique_ptr<TrayWatch> m_trayWatch;
    std::unique_ptr<TrayIcon> m_tray;
    // Declared after the tray: it goes first, and the connections that read the tray with it.
    std::unique_ptr<BackgroundPortal> m_background;
    std::unique_ptr<GlobalHotKey> m_hotKey;
    std::unique_ptr<PortalHotKey> m_portalHotKey;
};

} // namespace quillo

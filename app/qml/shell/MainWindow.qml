// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import Quillo.App
import Quillo.Components
import Quillo.SignIn
import Quillo.Onboarding
import Quillo.Panels

// The one window: signing in, then setting up, then the chats. It stays hidden until the
// application asks for it, and tells the application whether it is on screen.
ApplicationWindow {
    id: window
    objectName: "mainWindow"
    width: Theme.px(1040)
    height: Theme.px(700)
    // Narrow enough to sit beside another window on a small screen: the chats fold to one column.
    minimumWidth: Theme.px(360)
    minimumHeight: Theme.px(480)
    visible: false
    // "Quillo", or "Quillo (7)" with unread replies; the application sets no display name of its
    // own, so the desktop adds nothing after it.
    title: App.unread > 0 ? App.displayName + " (" + App.unread + ")" : App.displayName
    color: Theme.window

    font.pixelSize: Theme.bodySize
    font.capitalization: Font.MixedCase

    palette.window: Theme.window
    palette.windowText: Theme.text
    palette.base: Theme.surface
    palette.alternateBase: Theme.sidebar
    palette.text: Theme.text
    palette.button: Theme.dark ? "#2F343A" : "#ECEAE5"
    palette.buttonText: Theme.text
    palette.highlight: Theme.accent
    palette.highlightedText: Theme.accentText
    palette.placeholderText: Theme.faintText
    palette.mid: Theme.separator
    palette.light: Theme.surfaceRaised
    palette.dark: Theme.secondaryText
    palette.toolTipBase: Theme.tooltip
    palette.toolTipText: Theme.tooltipText

    readonly property string screen: !App.account.signedIn ? "signIn" : !App.settings.setupCompleted ? "onboarding" : "chats"

    // Quitting, on every screen: with the window closed Quillo would go on running.
    Shortcut {
        sequences: ["Ctrl+Q"]
        onActivated: Qt.quit()
    }

    Connections {
        target: App
        function onShowWindowRequested() {
            window.show();
            window.raise();
            window.requestActivate();
        }
    }
    function tellShown() {
        App.setWindowShown(window.visible && window.visibility !== Window.Minimized);
    }
    onVisibleChanged: tellShown()
    // The notification cards are for when Quillo is not the window in use.
    Binding {
        target: App.notifications
        property: "windowActive"
        value: window.active
    }
    onVisibilityChanged: tellShown()

    Loader {
        id: content
        objectName: "screenLoader"
        // Each screen's own first field takes the caret when it loads.
        focus: true
        anchors.fill: parent
        sourceComponent: window.screen === "signIn" ? signIn : window.screen === "onboarding" ? onboarding : chats
    }
    Component {
        id: signIn
        SignInScreen {
        }
    }
    Component {
        id: onboarding
        OnboardingScreen {
        }
    }
    Component {
        id: chats
        MainView {
        }
    }

    NotificationPanel {
        objectName: "notificationPanel"
    }
}

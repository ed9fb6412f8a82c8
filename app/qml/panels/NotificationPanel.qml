// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Window
import Quillo.App
import Quillo.Components

// The cards of replies that arrived while their chat was not on screen, in a small window of
// their own at the top right of the screen, above other windows and never taking the focus.
Window {
    id: panel
    property var cards: App.notifications

    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint | Qt.WindowDoesNotAcceptFocus
    // Opaque: without a compositor a transparent window is drawn black around the cards.
    color: Theme.window
    width: Theme.panelWidth
    height: Math.max(1, list.contentHeight + 24)
    x: Screen.desktopAvailableWidth - width - 12
    y: 12
    visible: cards.count > 0 && !cards.windowActive
    title: App.displayName

    ListView {
        id: list
        objectName: "notificationCards"
        anchors.fill: parent
        anchors.margins: Theme.px(12)
        spacing: Theme.spacing
        interactive: false
        model: panel.cards
        delegate: NotificationCard {
            onActivated: index => panel.cards.activate(index)
            onDismissed: index => panel.cards.dismiss(index)
        }
        add: Transition {
            NumberAnimation {
                property: "opacity"
                from: 0
                to: 1
                duration: 180
            }
        }
    }
}

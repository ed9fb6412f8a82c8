// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// The sidebar: every contact's chat, active contacts first and the latest conversation on top.
Rectangle {
    id: sidebar
    color: Theme.sidebar

    signal newContact
    // Enter on the chat that is already open: the keyboard moves on to it.
    signal chatOpened
    signal editContact(string botId)

    // The keyboard comes to the list on the open chat's row.
    function focusList() {
        const row = App.chats.rowOf(App.navigation.selectedBotId);
        list.currentIndex = row >= 0 ? row : 0;
        list.forceActiveFocus(Qt.OtherFocusReason);
    }

    // A menu entry with its keyboard shortcut at the right.
    component ShortcutItem: MenuItem {
        id: entry
        property string keys
        contentItem: RowLayout {
            spacing: Theme.spacing * 3
            Label {
                Layout.fillWidth: true
                text: entry.text
                color: entry.highlighted ? entry.palette.highlightedText : entry.palette.text
            }
            Label {
                text: entry.keys
                color: entry.highlighted ? entry.palette.highlightedText : Theme.faintText
            }
        }
    }

    Shortcut {
        sequences: ["Ctrl+R"]
        onActivated: App.refresh()
    }
    Shortcut {
        sequences: ["Ctrl+N"]
        onActivated: sidebar.newContact()
    }
    Shortcut {
        sequences: ["Ctrl+,"]
        onActivated: App.openSettings()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.margins: Theme.spacing
            Layout.leftMargin: Theme.padding
            spacing: Theme.px(2)

            Label {
                Layout.fillWidth: true
                text: "Chats"
                color: Theme.text
                font.pixelSize: Theme.titleSize
                font.weight: Font.DemiBold
            }
            ToolButton {
                objectName: "refreshButton"
                Accessible.name: "Refresh"
                text: "⟳"
                font.pixelSize: Theme.iconSize
                enabled: !App.refreshing
                ToolTip.visible: hovered
                ToolTip.delay: 600
                ToolTip.text: "Bring in what your other devices changed (Ctrl+R)"
                Accessible.description: ToolTip.text
                onClicked: App.refresh()
            }
            ToolButton {
                objectName: "newContactButton"
                Accessible.name: "New contact"
                text: "+"
                font.pixelSize: Theme.px(18)
                ToolTip.visible: hovered
                ToolTip.delay: 600
                ToolTip.text: "New contact"
                onClicked: sidebar.newContact()
            }
            ToolButton {
                objectName: "settingsButton"
                Accessible.name: "Settings"
                text: "⚙"
                font.pixelSize: Theme.iconSize
                ToolTip.visible: hovered
                ToolTip.delay: 600
                ToolTip.text: "Settings"
                onClicked: App.openSettings()
            }
            ToolButton {
                objectName: "menuButton"
                Accessible.name: "More"
                text: "⋮"
                font.pixelSize: Theme.iconSize
                ToolTip.visible: hovered && !menu.visible
                ToolTip.delay: 600
                ToolTip.text: "More"
                onClicked: menu.open()

                Menu {
                    id: menu
                    objectName: "windowMenu"
                    x: parent.width - width
                    y: parent.height
                    ShortcutItem {
                        text: "Settings…"
                        keys: "Ctrl+,"
                        onTriggered: App.openSettings()
                    }
                    MenuSeparator {
                    }
                    ShortcutItem {
                        objectName: "quitItem"
                        text: "Quit " + App.displayName
                        keys: "Ctrl+Q"
                        // The window's own shortcut does the same (MainWindow.qml).
                        onTriggered: Qt.quit()
                    }
                }
            }
        }

        ListView {
            id: list
            objectName: "chatList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: App.chats
            boundsBehavior: Flickable.StopAtBounds
            // Up and Down walk the chats, Enter opens one and goes to its composer.
            activeFocusOnTab: true
            keyNavigationEnabled: true
            currentIndex: -1
            Accessible.role: Accessible.List
            Accessible.name: "Chats"
            onActiveFocusChanged: if (activeFocus && currentIndex < 0)
                currentIndex = Math.max(0, App.chats.rowOf(App.navigation.selectedBotId))
            Keys.onReturnPressed: openCurrent()
            Keys.onEnterPressed: openCurrent()
            Keys.onSpacePressed: openCurrent()
            Keys.onMenuPressed: if (currentItem)
                currentItem.openMenu()
            function openCurrent() {
                const botId = App.chats.botIdAt(currentIndex);
                if (botId.length === 0)
                    return;
                if (botId === App.navigation.selectedBotId)
                    sidebar.chatOpened();
                else
                    App.navigation.select(botId);
            }
            ScrollBar.vertical: ScrollBar {
            }

            section.property: "active"
            section.criteria: ViewSection.FullString
            section.delegate: Item {
                required property string section
                width: ListView.view.width
                // Only inactive contacts get a heading; active ones lead the list without one.
                height: section === "false" ? heading.implicitHeight : 0
                Label {
                    id: heading
                    visible: parent.height > 0
                    leftPadding: Theme.padding
                    topPadding: Theme.spacing * 1.5
                    bottomPadding: Theme.smallSpacing
                    text: "Inactive"
                    color: Theme.faintText
                    font.pixelSize: Theme.smallSize
                    font.weight: Font.DemiBold
                }
            }

            delegate: ChatRow {
                width: ListView.view.width
                selected: botId === App.navigation.selectedBotId
                keyboardCurrent: ListView.isCurrentItem && ListView.view.activeFocus
                onClicked: App.navigation.select(botId)
                onEditRequested: sidebar.editContact(botId)
            }

            moveDisplaced: Transition {
                NumberAnimation {
                    properties: "y"
                    duration: 160
                    easing.type: Easing.OutCubic
                }
            }
            move: Transition {
                NumberAnimation {
                    properties: "y"
                    duration: 160
                    easing.type: Easing.OutCubic
                }
            }

            Label {
                anchors.centerIn: parent
                width: parent.width - 48
                visible: list.count === 0
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                text: "No contacts yet. Add one with +."
                color: Theme.secondaryText
            }
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// Finding a contact by name from the keyboard (Ctrl+K): type part of a name, Up and Down pick,
// Enter opens the chat, Esc goes back.
Popup {
    id: finder
    objectName: "quickFind"
    signal picked(string botId)

    readonly property var found: App.chats.matching(query.text)
    property int current: 0

    function pick() {
        if (current >= 0 && current < found.length) {
            const botId = found[current].botId;
            close();
            picked(botId);
        }
    }

    parent: Overlay.overlay
    x: Math.round((parent.width - width) / 2)
    y: Math.round(parent.height * 0.15)
    width: Math.min(420, parent.width - 32)
    modal: true
    focus: true
    padding: Theme.spacing
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    Overlay.modal: Rectangle {
        color: Theme.dark ? "#66000000" : "#33000000"
    }
    onAboutToShow: {
        query.text = "";
        current = 0;
    }
    onOpened: query.forceActiveFocus()
    onFoundChanged: current = 0

    background: Rectangle {
        radius: Theme.radius
        color: Theme.surfaceRaised
        border.color: Theme.separator
    }

    contentItem: ColumnLayout {
        spacing: Theme.spacing
        TextField {
            id: query
            objectName: "quickFindField"
            Layout.fillWidth: true
            placeholderText: "Find a contact"
            Accessible.name: "Find a contact"
            Accessible.description: "Type part of a name; Enter opens the chat."
            Keys.onDownPressed: finder.current = Math.min(finder.current + 1, finder.found.length - 1)
            Keys.onUpPressed: finder.current = Math.max(finder.current - 1, 0)
            onAccepted: finder.pick()
        }
        Repeater {
            model: finder.found
            delegate: ItemDelegate {
                required property var modelData
                required property int index
                objectName: "quickFindResult"
                Layout.fillWidth: true
                text: modelData.name + "  ·  " + modelData.language
                highlighted: index === finder.current
                focusPolicy: Qt.NoFocus
                Accessible.name: modelData.name + ", " + modelData.language
                onClicked: {
                    finder.current = index;
                    finder.pick();
                }
            }
        }
        Label {
            visible: finder.found.length === 0
            text: "No contact by that name."
            color: Theme.secondaryText
        }
    }
}

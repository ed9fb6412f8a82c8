// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.Components

// What a selected passage means: the passage, its meaning and the other ways to say it, or
// the line that says why there is none. Esc closes it, wherever the focus is.
Rectangle {
    id: panel
    property var translation
    signal closed

    visible: translation && translation.shown
    height: column.implicitHeight + 24
    z: 11
    radius: Theme.radius
    color: Theme.surfaceRaised
    border.color: Theme.separator
    Accessible.role: Accessible.Dialog
    Accessible.name: "Translation"

    Shortcut {
        sequence: StandardKey.Cancel
        enabled: panel.visible
        onActivated: panel.closed()
    }

    ColumnLayout {
        id: column
        x: 14
        y: 12
        width: panel.width - 28
        spacing: Theme.px(6)

        RowLayout {
            Layout.fillWidth: true
            Label {
                Layout.fillWidth: true
                text: panel.translation ? panel.translation.text : ""
                wrapMode: Text.Wrap
                color: Theme.secondaryText
                font.pixelSize: Theme.px(12)
            }
            ToolButton {
                objectName: "selectionPanelClose"
                text: "×"
                Accessible.name: "Close"
                onClicked: panel.closed()
            }
        }
        BusyIndicator {
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredHeight: Theme.px(24)
            visible: panel.translation && panel.translation.busy
            running: visible
        }
        Label {
            objectName: "selectionMeaning"
            Layout.fillWidth: true
            visible: text.length > 0
            text: panel.translation ? panel.translation.meaning : ""
            wrapMode: Text.Wrap
            color: Theme.text
            font.pixelSize: Theme.px(15)
        }
        Label {
            objectName: "selectionAlternatives"
            Layout.fillWidth: true
            visible: panel.translation && panel.translation.alternatives.length > 0
            text: panel.translation ? "Also: " + panel.translation.alternatives.join(", ") : ""
            wrapMode: Text.Wrap
            color: Theme.secondaryText
            font.pixelSize: Theme.px(12)
        }
        Label {
            objectName: "selectionFailure"
            Layout.fillWidth: true
            visible: text.length > 0
            text: panel.translation ? panel.translation.failureLine : ""
            wrapMode: Text.Wrap
            color: Theme.danger
            font.pixelSize: Theme.bodySize
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.Components

// What a contact remembers about the user, each forgettable on its own or all at once.
ColumnLayout {
    id: memories
    property var draft
    spacing: Theme.smallSpacing

    Label {
        objectName: "noMemories"
        Layout.fillWidth: true
        visible: memories.draft.memories.length === 0
        text: "Nothing yet. What you share in the chat shows up here, and the contact brings it up later."
        wrapMode: Text.Wrap
        color: Theme.secondaryText
        font.pixelSize: Theme.px(12)
    }
    Repeater {
        model: memories.draft.memories
        delegate: Rectangle {
            required property string modelData
            Layout.fillWidth: true
            implicitHeight: memoryRow.implicitHeight + 8
            radius: Theme.smallRadius
            color: Theme.surface
            border.color: Theme.separator
            RowLayout {
                id: memoryRow
                anchors.fill: parent
                anchors.leftMargin: Theme.px(10)
                anchors.rightMargin: Theme.px(2)
                Label {
                    Layout.fillWidth: true
                    text: modelData
                    wrapMode: Text.Wrap
                    color: Theme.text
                    font.pixelSize: Theme.bodySize
                }
                ToolButton {
                    text: "Forget"
                    Accessible.name: "Forget: " + modelData
                    font.pixelSize: Theme.smallSize
                    onClicked: memories.draft.forget(modelData)
                }
            }
        }
    }
    Button {
        objectName: "forgetEverything"
        visible: memories.draft.memories.length > 0
        text: "Forget everything"
        flat: true
        onClicked: memories.draft.forgetEverything()
    }
}

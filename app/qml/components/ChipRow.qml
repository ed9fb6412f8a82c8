// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import Quillo.App

// Suggested interests as chips over a comma-separated field: a chip shows whether the field
// holds it, and tapping it adds or removes it.
Flow {
    id: chips
    property string list
    property var choices: Theme.interestSuggestions
    signal changed(string list)

    spacing: Theme.px(6)

    Repeater {
        model: chips.choices
        delegate: Rectangle {
            required property string modelData
            readonly property bool chosen: App.settings.listHolds(chips.list, modelData)
            height: Theme.chipHeight
            width: chipLabel.implicitWidth + 24
            radius: height / 2
            color: chosen ? Theme.accent : "transparent"
            border.color: chosen ? Theme.accent : Theme.separator

            Label {
                id: chipLabel
                anchors.centerIn: parent
                text: parent.modelData
                color: parent.chosen ? Theme.accentText : Theme.text
                font.pixelSize: Theme.px(12)
            }
            MouseArea {
                anchors.fill: parent
                cursorShape: Qt.PointingHandCursor
                onClicked: chips.changed(App.settings.toggleListItem(chips.list, parent.modelData))
            }
        }
    }
}

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
        // A chip is a toggle of its own: Tab reaches it, Space turns it on or off.
        delegate: AbstractButton {
            id: chip
            required property string modelData
            readonly property bool chosen: App.settings.listHolds(chips.list, modelData)
            objectName: "interestChip"
            height: Theme.chipHeight
            width: chipLabel.implicitWidth + 24
            checkable: true
            checked: chosen
            Accessible.role: Accessible.CheckBox
            Accessible.name: modelData
            Accessible.checkable: true
            Accessible.checked: chosen
            onClicked: chips.changed(App.settings.toggleListItem(chips.list, modelData))

            background: Rectangle {
                radius: height / 2
                color: chip.chosen ? Theme.accent : "transparent"
                border.color: chip.visualFocus ? Theme.focusRing : chip.chosen ? Theme.accent : Theme.separator
                border.width: chip.visualFocus ? 2 : 1
            }
            contentItem: Label {
                id: chipLabel
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
                text: chip.modelData
                color: chip.chosen ? Theme.accentText : Theme.text
                font.pixelSize: Theme.px(12)
            }
            HoverHandler {
                cursorShape: Qt.PointingHandCursor
            }
        }
    }
}

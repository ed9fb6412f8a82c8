// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A setting that is on or off: its title, an explanation beneath, the switch at the right.
Item {
    id: row
    property alias title: titleLabel.text
    property alias explanation: explanationLabel.text
    property bool checked
    property bool enabledSwitch: true
    signal toggled(bool on)

    Layout.fillWidth: true
    implicitWidth: 320
    implicitHeight: Math.max(texts.implicitHeight, control.implicitHeight) + 8

    Column {
        id: texts
        anchors.left: parent.left
        anchors.right: control.left
        anchors.rightMargin: Theme.spacing * 2
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2
        Label {
            id: titleLabel
            width: parent.width
            color: Theme.text
            font.pixelSize: Theme.bodySize
            wrapMode: Text.Wrap
        }
        Label {
            id: explanationLabel
            width: parent.width
            visible: text.length > 0
            color: Theme.secondaryText
            font.pixelSize: Theme.smallSize
            wrapMode: Text.Wrap
        }
    }
    Switch {
        id: control
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        checked: row.checked
        enabled: row.enabledSwitch
        onToggled: row.toggled(checked)
    }
}

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
    implicitWidth: Theme.px(320)
    implicitHeight: Math.max(texts.implicitHeight, control.implicitHeight) + Theme.spacing

    Column {
        id: texts
        anchors.left: parent.left
        anchors.right: control.left
        anchors.rightMargin: Theme.spacing * 2
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.px(2)
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
        // Off is an outlined track with a grey knob and on a filled one, each standing out from
        // the window so the state reads at a glance.
        indicator: Rectangle {
            implicitWidth: Theme.px(40)
            implicitHeight: Theme.px(22)
            x: control.leftPadding
            y: control.topPadding + (control.availableHeight - height) / 2
            radius: height / 2
            opacity: control.enabled ? 1 : 0.5
            color: control.checked ? Theme.switchOn : "transparent"
            border.width: Math.max(1, Theme.px(1.5))
            border.color: control.checked ? Theme.switchOn : Theme.inputBorder

            Rectangle {
                width: parent.height - Theme.px(8)
                height: width
                radius: width / 2
                x: control.checked ? parent.width - width - Theme.px(4) : Theme.px(4)
                anchors.verticalCenter: parent.verticalCenter
                color: control.checked ? Theme.switchKnobOn : Theme.inputBorder
                Behavior on x  {
                    NumberAnimation {
                        duration: 120
                    }
                }
            }
        }
        Accessible.name: row.title
        Accessible.description: row.explanation
    }
}

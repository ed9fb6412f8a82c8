// SPDX-License-Identifier: Apache-2.0
import QtQuick

// A contact's round avatar: initials on its accent colour.
Rectangle {
    id: avatar
    property string initials
    property color accent: "#5BB6FF"
    property real size: 40

    width: size
    height: size
    radius: size / 2
    color: accent

    Text {
        anchors.centerIn: parent
        text: avatar.initials
        color: "#FFFFFF"
        font.pixelSize: avatar.size * 0.38
        font.weight: Font.DemiBold
    }
}

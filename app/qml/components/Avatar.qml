// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Quillo.App

// A contact's round avatar: initials on its accent colour, or on a quiet grey while the contact
// is not active. The initials are white or near-black, whichever reads on the colour.
Rectangle {
    id: avatar
    property string initials
    property color accent: "#5BB6FF"
    property bool muted: false
    property real size: Theme.avatarSize

    width: size
    height: size
    radius: size / 2
    color: muted ? Theme.mutedAvatar : accent

    Text {
        objectName: "avatarInitials"
        anchors.centerIn: parent
        text: avatar.initials
        color: App.appearance.initialsColor(avatar.color)
        font.pixelSize: avatar.size * 0.38
        font.weight: Font.DemiBold
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Quillo.Components

// A microphone drawn in the text colour, so it needs no icon font: the capsule, the cradle
// around it, and the stand.
Item {
    id: icon
    property color color: "black"
    implicitWidth: Theme.px(16)
    implicitHeight: Theme.px(18)

    Rectangle {
        x: (icon.width - width) / 2
        y: 0
        width: icon.width * 0.44
        height: icon.height * 0.62
        radius: width / 2
        color: icon.color
    }
    Item {
        // the lower half of a ring
        x: (icon.width - width) / 2
        y: icon.height * 0.36
        width: icon.width * 0.8
        height: icon.height * 0.42
        clip: true
        Rectangle {
            y: -height / 2
            width: parent.width
            height: parent.height * 2
            radius: width / 2
            color: "transparent"
            border.color: icon.color
            border.width: Math.max(1.5, icon.width / 10)
        }
    }
    Rectangle {
        x: (icon.width - width) / 2
        y: icon.height * 0.78
        width: Math.max(1.5, icon.width / 10)
        height: icon.height * 0.16
        color: icon.color
    }
    Rectangle {
        x: (icon.width - width) / 2
        y: icon.height * 0.92
        width: icon.width * 0.5
        height: Math.max(1.5, icon.width / 10)
        radius: height / 2
        color: icon.color
    }
}

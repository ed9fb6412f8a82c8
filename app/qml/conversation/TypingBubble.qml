// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Quillo.Components

// Three dots in a contact's bubble while its reply is being written.
Rectangle {
    id: bubble
    width: Theme.px(64)
    height: Theme.px(36)
    radius: Theme.bubbleRadius
    color: Theme.theirBubble
    border.color: Theme.separator
    border.width: Theme.dark ? 0 : 1

    Row {
        anchors.centerIn: parent
        spacing: Theme.px(5)
        Repeater {
            model: 3
            delegate: Rectangle {
                required property int index
                width: Theme.px(7)
                height: Theme.px(7)
                radius: width / 2
                color: Theme.secondaryText
                SequentialAnimation on opacity  {
                    running: bubble.visible
                    loops: Animation.Infinite
                    PauseAnimation {
                        duration: index * 160
                    }
                    NumberAnimation {
                        from: 0.3
                        to: 1
                        duration: 320
                    }
                    NumberAnimation {
                        from: 1
                        to: 0.3
                        duration: 320
                    }
                    PauseAnimation {
                        duration: (2 - index) * 160
                    }
                }
            }
        }
    }
}

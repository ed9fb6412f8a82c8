// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.Components

// One chat in the sidebar: avatar, name, the last message (or that a reply is being written),
// when it came and how many messages are unread.
Rectangle {
    id: row
    required property string botId
    required property string name
    required property string initials
    required property string accent
    required property string language
    required property string lastMessage
    required property double lastMessageAt
    required property int unread
    required property bool typing
    required property bool active
    property bool selected: false

    signal clicked
    signal editRequested

    height: 64
    color: selected ? Theme.selectedRow : hover.hovered ? Theme.hoverRow : "transparent"
    opacity: active ? 1 : 0.6

    function when(millis) {
        if (millis <= 0)
            return "";
        const date = new Date(millis);
        const now = new Date();
        if (date.toDateString() === now.toDateString())
            return Qt.formatTime(date, "hh:mm");
        const days = (now - date) / 86400000;
        if (days < 6)
            return Qt.locale().dayName(date.getDay(), Locale.ShortFormat);
        return Qt.formatDate(date, "d MMM");
    }

    HoverHandler {
        id: hover
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.padding - 4
        anchors.rightMargin: Theme.padding - 4
        spacing: 10

        Avatar {
            size: 42
            initials: row.initials
            accent: row.accent
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            RowLayout {
                Layout.fillWidth: true
                Label {
                    Layout.fillWidth: true
                    text: row.name
                    elide: Text.ElideRight
                    color: Theme.text
                    font.pixelSize: Theme.bodySize + 0.5
                    font.weight: row.unread > 0 ? Font.DemiBold : Font.Medium
                }
                Label {
                    text: row.when(row.lastMessageAt)
                    color: row.unread > 0 ? Theme.accent : Theme.faintText
                    font.pixelSize: Theme.smallSize
                }
            }
            RowLayout {
                Layout.fillWidth: true
                Label {
                    objectName: "lastMessage"
                    Layout.fillWidth: true
                    text: row.typing ? "typing…" : (row.lastMessage.length > 0 ? row.lastMessage.replace(/\s+/g, " ") : row.language)
                    elide: Text.ElideRight
                    maximumLineCount: 1
                    color: row.typing ? Theme.accent : Theme.secondaryText
                    font.pixelSize: Theme.smallSize + 0.5
                    font.italic: row.typing
                }
                Rectangle {
                    objectName: "unreadBadge"
                    visible: row.unread > 0
                    height: 18
                    width: Math.max(18, badge.implicitWidth + 10)
                    radius: 9
                    color: Theme.unreadBadge
                    Label {
                        id: badge
                        anchors.centerIn: parent
                        text: row.unread
                        color: "#FFFFFF"
                        font.pixelSize: 11
                        font.weight: Font.DemiBold
                    }
                }
            }
        }
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onClicked: mouse => {
            if (mouse.button === Qt.RightButton)
                menu.popup();
            else
                row.clicked();
        }
    }
    Menu {
        id: menu
        MenuItem {
            text: "Edit contact…"
            onTriggered: row.editRequested()
        }
    }
}

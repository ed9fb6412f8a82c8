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
    // The row the keyboard is on while the list has focus.
    property bool keyboardCurrent: false

    signal clicked
    signal editRequested

    function openMenu() {
        menu.popup(row, Theme.padding, row.height / 2);
    }

    Accessible.role: Accessible.ListItem
    Accessible.name: {
        const parts = [row.name];
        if (row.unread > 0)
            parts.push(row.unread === 1 ? "1 unread message" : row.unread + " unread messages");
        if (row.typing)
            parts.push("typing");
        else if (row.lastMessage.length > 0)
            parts.push(row.lastMessage.replace(/\s+/g, " "));
        const when = row.when(row.lastMessageAt);
        if (when.length > 0)
            parts.push(when);
        if (!row.active)
            parts.push("inactive");
        return parts.join(", ");
    }
    Accessible.description: row.language
    Accessible.selected: row.selected

    height: Theme.chatRowHeight
    color: selected ? Theme.selectedRow : hover.hovered ? Theme.hoverRow : "transparent"
    border.width: keyboardCurrent ? 2 : 0
    border.color: Theme.focusRing

    function when(millis) {
        if (millis <= 0)
            return "";
        const date = new Date(millis);
        const now = new Date();
        if (date.toDateString() === now.toDateString())
            return Qt.formatTime(date, Qt.locale().timeFormat(Locale.ShortFormat).replace(/[:.]ss/, ""));
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
        spacing: Theme.px(10)

        Avatar {
            size: Theme.avatarSize
            muted: !row.active
            initials: row.initials
            accent: row.accent
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: Theme.px(2)
            RowLayout {
                Layout.fillWidth: true
                Label {
                    Layout.fillWidth: true
                    text: row.name
                    elide: Text.ElideRight
                    color: Theme.text
                    font.pixelSize: Theme.px(13.5)
                    font.weight: row.unread > 0 ? Font.DemiBold : Font.Medium
                }
                Label {
                    text: row.when(row.lastMessageAt)
                    color: row.unread > 0 ? Theme.accentForeground : Theme.faintText
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
                    color: row.typing ? Theme.accentForeground : Theme.secondaryText
                    font.pixelSize: Theme.px(12)
                    font.italic: row.typing
                }
                Rectangle {
                    objectName: "unreadBadge"
                    visible: row.unread > 0
                    height: Theme.badgeHeight
                    width: Math.max(height, badge.implicitWidth + Theme.px(10))
                    radius: height / 2
                    color: Theme.unreadBadge
                    Label {
                        id: badge
                        anchors.centerIn: parent
                        text: row.unread
                        color: Theme.accentText
                        font.pixelSize: Theme.px(11)
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

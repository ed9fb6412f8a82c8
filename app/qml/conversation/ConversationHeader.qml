// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// Who the conversation is with: avatar, name, the language and level it writes in, and whether
// it is writing now.
Rectangle {
    id: header
    signal editContact
    signal back
    property bool canGoBack: false

    readonly property var conversation: App.conversation
    implicitHeight: Theme.headerHeight
    color: Theme.window
    Accessible.role: Accessible.Pane
    Accessible.name: header.conversation.name + ", " + header.conversation.languageLine

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.padding
        anchors.rightMargin: Theme.spacing
        spacing: Theme.px(10)

        ToolButton {
            objectName: "backButton"
            visible: header.canGoBack
            text: "‹"
            font.pixelSize: Theme.px(21)
            Accessible.name: "Back to chats"
            ToolTip.visible: hovered
            ToolTip.delay: 600
            ToolTip.text: "Back to chats"
            onClicked: header.back()
        }
        Avatar {
            size: Theme.smallAvatarSize
            initials: header.conversation.initials
            accent: header.conversation.accent
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 0
            Label {
                objectName: "conversationName"
                Layout.fillWidth: true
                text: header.conversation.name
                elide: Text.ElideRight
                color: Theme.text
                font.pixelSize: Theme.px(15)
                font.weight: Font.DemiBold
            }
            Label {
                Layout.fillWidth: true
                text: header.conversation.typing ? "typing…" : header.conversation.languageLine + (header.conversation.active ? "" : " · inactive")
                color: header.conversation.typing ? Theme.accentForeground : Theme.secondaryText
                font.pixelSize: Theme.smallSize
            }
        }
        ToolButton {
            objectName: "editContactButton"
            text: "Edit"
            Accessible.name: "Edit " + header.conversation.name
            Accessible.description: "Change who this contact is and how it talks"
            onClicked: header.editContact()
        }
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.separator
    }
}

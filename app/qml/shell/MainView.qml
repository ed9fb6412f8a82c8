// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components
import Quillo.Chats
import Quillo.Conversation
import Quillo.Contacts
import Quillo.Settings
import Quillo.Panels

// The chats: the list at the left, the open conversation at the right, the update banner above,
// and the settings and contact editor as sheets over them.
Item {
    id: main
    property string editedBotId

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        UpdateBanner {
            objectName: "updateBanner"
            Layout.fillWidth: true
        }
        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 0

            ChatList {
                Layout.preferredWidth: Theme.sidebarWidth
                Layout.fillHeight: true
                onNewContact: App.navigation.showSheet(Navigation.NewContact)
                onEditContact: botId => {
                    main.editedBotId = botId;
                    App.navigation.showSheet(Navigation.EditContact);
                }
            }
            Rectangle {
                Layout.fillHeight: true
                width: 1
                color: Theme.separator
            }
            Loader {
                Layout.fillWidth: true
                Layout.fillHeight: true
                sourceComponent: App.navigation.selectedBotId.length > 0 ? conversation : nothingOpen
            }
        }
    }

    Component {
        id: conversation
        ConversationView {
            objectName: "conversationView"
            onEditContact: {
                main.editedBotId = App.navigation.selectedBotId;
                App.navigation.showSheet(Navigation.EditContact);
            }
        }
    }
    Component {
        id: nothingOpen
        Rectangle {
            color: Theme.window
            Label {
                anchors.centerIn: parent
                text: "Pick a chat, or add a contact with +."
                color: Theme.secondaryText
            }
        }
    }

    Popup {
        id: sheet
        objectName: "sheet"
        readonly property int kind: App.navigation.sheet
        parent: Overlay.overlay
        anchors.centerIn: parent
        width: Math.min(640, main.width - 64)
        height: main.height - 64
        modal: true
        padding: 0
        visible: kind !== Navigation.None
        closePolicy: Popup.CloseOnEscape
        Overlay.modal: Rectangle {
            color: Theme.dark ? "#99000000" : "#55000000"
        }
        onClosed: App.navigation.closeSheet()
        background: Rectangle {
            radius: Theme.radius
            color: Theme.window
            border.color: Theme.separator
        }
        contentItem: Loader {
            clip: true
            sourceComponent: sheet.kind === Navigation.Settings ? settingsSheet : sheet.kind === Navigation.None ? null : contactEditor
        }
    }
    Component {
        id: settingsSheet
        SettingsSheet {
            objectName: "settingsSheet"
            onDone: App.navigation.closeSheet()
        }
    }
    Component {
        id: contactEditor
        ContactEditor {
            objectName: "contactEditor"
            draft: App.draftFor(App.navigation.sheet === Navigation.EditContact ? main.editedBotId : "")
            onDone: App.navigation.closeSheet()
        }
    }
}

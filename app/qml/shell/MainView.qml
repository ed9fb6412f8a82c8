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
                onNewContact: App.selection.showSheet(AppModel.NewContact)
                onEditContact: botId => {
                    main.editedBotId = botId;
                    App.selection.showSheet(AppModel.EditContact);
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
                sourceComponent: App.selection.selectedBotId.length > 0 ? conversation : nothingOpen
            }
        }
    }

    Component {
        id: conversation
        ConversationView {
            objectName: "conversationView"
            onEditContact: {
                main.editedBotId = App.selection.selectedBotId;
                App.selection.showSheet(AppModel.EditContact);
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
        readonly property int kind: App.selection.sheet
        parent: Overlay.overlay
        anchors.centerIn: parent
        width: Math.min(640, main.width - 64)
        height: main.height - 64
        modal: true
        padding: 0
        visible: kind !== AppModel.None
        closePolicy: Popup.CloseOnEscape
        Overlay.modal: Rectangle {
            color: Theme.dark ? "#99000000" : "#55000000"
        }
        onClosed: App.selection.closeSheet()
        background: Rectangle {
            radius: Theme.radius
            color: Theme.window
            border.color: Theme.separator
        }
        contentItem: Loader {
            clip: true
            sourceComponent: sheet.kind === AppModel.Settings ? settingsSheet : sheet.kind === AppModel.None ? null : contactEditor
        }
    }
    Component {
        id: settingsSheet
        SettingsSheet {
            objectName: "settingsSheet"
            onDone: App.selection.closeSheet()
        }
    }
    Component {
        id: contactEditor
        ContactEditor {
            objectName: "contactEditor"
            draft: App.draftFor(App.selection.sheet === AppModel.EditContact ? main.editedBotId : "")
            onDone: App.selection.closeSheet()
        }
    }
}

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
    // Too narrow for both: the list or the conversation, with a way back to the list.
    readonly property bool narrow: width < 640
    readonly property bool chatOpen: App.navigation.selectedBotId.length > 0

    function openChat(botId) {
        if (botId.length > 0)
            App.navigation.select(botId);
    }

    // Moving between chats from anywhere, as desktop messengers do.
    Shortcut {
        sequences: ["Ctrl+PgDown", "Alt+Down"]
        enabled: App.navigation.sheet === Navigation.None
        onActivated: main.openChat(App.chats.neighbourOf(App.navigation.selectedBotId, 1))
    }
    Shortcut {
        sequences: ["Ctrl+PgUp", "Alt+Up"]
        enabled: App.navigation.sheet === Navigation.None
        onActivated: main.openChat(App.chats.neighbourOf(App.navigation.selectedBotId, -1))
    }
    Shortcut {
        sequences: ["Ctrl+K"]
        enabled: App.navigation.sheet === Navigation.None
        onActivated: quickFind.open()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        UpdateBanner {
            objectName: "updateBanner"
            Layout.fillWidth: true
        }
        // Side by side; in a narrow window one or the other.
        Item {
            id: panes
            Layout.fillWidth: true
            Layout.fillHeight: true

            ChatList {
                id: chatList
                objectName: "chatSidebar"
                visible: !main.narrow || !main.chatOpen
                width: main.narrow ? panes.width : Theme.sidebarWidth
                height: panes.height
                onNewContact: App.navigation.showSheet(Navigation.NewContact)
                onEditContact: botId => {
                    main.editedBotId = botId;
                    App.navigation.showSheet(Navigation.EditContact);
                }
            }
            Rectangle {
                visible: !main.narrow
                x: chatList.width
                width: 1
                height: panes.height
                color: Theme.separator
            }
            Loader {
                id: conversationLoader
                visible: !main.narrow || main.chatOpen
                focus: true
                x: main.narrow ? 0 : chatList.width + 1
                width: panes.width - x
                height: panes.height
                sourceComponent: App.navigation.selectedBotId.length > 0 ? conversation : nothingOpen
            }
        }
    }

    Component {
        id: conversation
        ConversationView {
            objectName: "conversationView"
            canGoBack: main.narrow
            onBack: {
                App.navigation.clearSelection();
                chatList.focusList();
            }
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

    // A sheet takes the keyboard while it is up: focus on its first field, Tab kept inside, Esc
    // closes it, and the focus goes back where it was.
    Popup {
        id: sheet
        objectName: "sheet"
        readonly property int kind: App.navigation.sheet
        property Item focusBefore: null
        parent: Overlay.overlay
        anchors.centerIn: parent
        width: Math.min(Theme.px(640), main.width - (main.narrow ? 16 : 64))
        height: main.height - (main.narrow ? 16 : 64)
        modal: true
        focus: true
        padding: 0
        visible: kind !== Navigation.None
        closePolicy: Popup.CloseOnEscape
        Overlay.modal: Rectangle {
            color: Theme.dark ? "#99000000" : "#55000000"
        }
        onAboutToShow: focusBefore = main.Window.activeFocusItem
        onOpened: if (sheetContent.item)
            sheetContent.item.takeFocus()
        onClosed: {
            App.navigation.closeSheet();
            if (focusBefore && focusBefore.visible)
                focusBefore.forceActiveFocus(Qt.OtherFocusReason);
            else
                main.focusConversation();
            focusBefore = null;
        }
        background: Rectangle {
            radius: Theme.radius
            color: Theme.window
            border.color: Theme.separator
        }
        contentItem: Loader {
            id: sheetContent
            clip: true
            focus: true
            onLoaded: if (sheet.opened)
                item.takeFocus()
            sourceComponent: sheet.kind === Navigation.Settings ? settingsSheet : sheet.kind === Navigation.None ? null : contactEditor
        }
    }
    QuickFind {
        id: quickFind
        onPicked: botId => App.navigation.select(botId)
        onClosed: main.focusConversation()
    }

    // Where the keyboard goes when nothing above the chats holds it: the open chat's composer,
    // else the list.
    function focusConversation() {
        if (conversationLoader.item && conversationLoader.visible)
            conversationLoader.item.focusComposer();
        else
            chatList.focusList();
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

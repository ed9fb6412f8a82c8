// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// Who is signed in, signing out, and deleting the account after asking.
ColumnLayout {
    id: section
    readonly property var account: App.account
    spacing: Theme.spacing

    Label {
        Layout.fillWidth: true
        text: section.account.signedIn ? "Signed in as " + section.account.email : "Not signed in"
        color: Theme.text
        font.pixelSize: Theme.bodySize
    }
    RowLayout {
        Layout.fillWidth: true
        Label {
            Layout.fillWidth: true
            text: "Your chats stay with your account, ready when you sign in again. This computer keeps none of them."
            wrapMode: Text.Wrap
            color: Theme.secondaryText
            font.pixelSize: Theme.px(12)
        }
        Button {
            objectName: "signOut"
            text: "Sign out"
            enabled: section.account.signedIn && !section.account.busy
            onClicked: section.account.signOut()
        }
    }
    Button {
        objectName: "deleteAccount"
        text: "Delete account…"
        flat: true
        enabled: section.account.signedIn && !section.account.busy
        palette.buttonText: Theme.danger
        onClicked: confirm.open()
    }
    Label {
        objectName: "deleteFailure"
        Layout.fillWidth: true
        visible: text.length > 0
        text: section.account.deleteFailureLine
        wrapMode: Text.Wrap
        color: Theme.danger
        font.pixelSize: Theme.bodySize
    }

    Dialog {
        id: confirm
        objectName: "confirmDeleteAccount"
        parent: Overlay.overlay
        anchors.centerIn: parent
        width: Math.min(420, parent ? parent.width - 48 : 420)
        modal: true
        title: "Delete your account?"
        standardButtons: Dialog.Cancel | Dialog.Ok
        Label {
            width: parent.width
            text: "Your chats, contacts and settings are deleted from Quillo and from this computer. This can't be undone."
            wrapMode: Text.Wrap
            color: Theme.text
        }
        onAccepted: section.account.deleteAccount()
    }
}

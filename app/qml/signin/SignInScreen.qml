// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// The first screen without an account: Google, or an access code from whoever runs the
// service; a person whose session ended is greeted by their e-mail.
Rectangle {
    id: screen
    color: Theme.window

    readonly property var account: App.account

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(Theme.px(380), parent.width - 48)
        spacing: Theme.spacing * 1.5

        Avatar {
            Layout.alignment: Qt.AlignHCenter
            size: Theme.largeAvatarSize
            initials: "Q"
            accent: Theme.accent
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            text: App.displayName
            color: Theme.text
            font.pixelSize: Theme.headlineSize
            font.weight: Font.DemiBold
        }
        Label {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: "Practise a language by texting friends who write back."
            color: Theme.secondaryText
            font.pixelSize: Theme.bodySize
        }
        Label {
            objectName: "returningOwner"
            Layout.fillWidth: true
            visible: screen.account.returningEmail.length > 0
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: "Your session ended. Sign in as " + screen.account.returningEmail + " to pick up where you left off."
            color: Theme.text
            font.pixelSize: Theme.bodySize
        }

        Item {
            Layout.preferredHeight: Theme.spacing
        }

        Button {
            objectName: "googleButton"
            Layout.fillWidth: true
            visible: screen.account.googleAvailable
            enabled: !screen.account.busy
            text: "Continue with Google"
            onClicked: screen.account.continueWithGoogle()
        }
        Label {
            objectName: "googleUnavailable"
            Layout.fillWidth: true
            visible: !screen.account.googleAvailable
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: "Google sign-in is not set up for this Quillo. Sign in with an access code from whoever runs it."
            color: Theme.secondaryText
            font.pixelSize: Theme.px(12)
        }

        Label {
            objectName: "waitingForBrowser"
            Layout.fillWidth: true
            visible: screen.account.waitingForBrowser
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: "Finish signing in with Google in your browser."
            color: Theme.secondaryText
        }
        Button {
            Layout.alignment: Qt.AlignHCenter
            visible: screen.account.waitingForBrowser
            flat: true
            text: "Cancel"
            Accessible.name: "Cancel signing in with Google"
            onClicked: screen.account.cancelGoogle()
        }

        Label {
            Layout.fillWidth: true
            text: "Access code from the store console"
            color: Theme.text
            font.pixelSize: Theme.bodySize
        }
        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacing
            TextField {
                id: code
                objectName: "accessCode"
                Layout.fillWidth: true
                enabled: !screen.account.busy
                selectByMouse: true
                echoMode: TextInput.Password
                passwordCharacter: "•"
                // The caret is here from the start: the code is what most people type.
                focus: true
                Accessible.name: "Access code"
                Accessible.description: "Access code from the store console"
                onAccepted: signIn.clicked()
            }
            Button {
                id: signIn
                objectName: "signInButton"
                text: "Sign in"
                highlighted: true
                enabled: !screen.account.busy && code.text.trim().length > 0
                onClicked: screen.account.signInWithCode(code.text)
            }
        }
        Label {
            objectName: "localCodeHint"
            Layout.fillWidth: true
            visible: text.length > 0
            text: screen.account.localCodeHint
            wrapMode: Text.Wrap
            color: Theme.secondaryText
            font.pixelSize: Theme.smallSize
        }
        BusyIndicator {
            Accessible.name: "Signing in"
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredHeight: Theme.chipHeight
            running: screen.account.busy
            visible: running
        }
        Label {
            objectName: "connectionWarning"
            Layout.fillWidth: true
            visible: text.length > 0
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: screen.account.connectionWarning
            color: Theme.secondaryText
            font.pixelSize: Theme.px(12)
        }
        Label {
            objectName: "failureLine"
            Layout.fillWidth: true
            visible: text.length > 0
            text: screen.account.failureLine
            wrapMode: Text.Wrap
            color: Theme.danger
            font.pixelSize: Theme.bodySize
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// One practised language: the user's level, how long replies are, the reading line, and
// giving the language up.
Rectangle {
    id: card
    required property var modelData
    readonly property var entry: modelData
    readonly property var settings: App.settings

    Layout.fillWidth: true
    implicitHeight: column.implicitHeight + 24
    radius: Theme.radius
    color: Theme.surface
    border.color: Theme.separator

    ColumnLayout {
        id: column
        x: 14
        y: 12
        width: card.width - 28
        spacing: Theme.spacing

        RowLayout {
            Layout.fillWidth: true
            Label {
                Layout.fillWidth: true
                text: card.entry.language
                color: Theme.text
                font.pixelSize: Theme.px(15)
                font.weight: Font.DemiBold
            }
            Button {
                objectName: "pronunciationToggle"
                visible: card.entry.supportsRomanization
                flat: true
                checkable: true
                checked: card.entry.showsRomanization
                text: checked ? "Pronunciation on" : "Pronunciation off"
                Accessible.name: "Pronunciation above " + card.entry.language + " words"
                onToggled: card.settings.setPronunciation(card.entry.language, checked)
            }
        }
        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacing
            Label {
                text: "Level"
                color: Theme.secondaryText
            }
            ChoiceBox {
                Accessible.name: card.entry.language + " level"
                model: card.settings.levelTitles
                currentIndex: card.entry.level
                onActivated: index => card.settings.setLevel(card.entry.language, index)
            }
            Item {
                Layout.fillWidth: true
            }
            Label {
                text: "Replies"
                color: Theme.secondaryText
            }
            ChoiceBox {
                Accessible.name: "Length of " + card.entry.language + " replies"
                model: card.settings.replyLengthTitles
                currentIndex: card.entry.replyLength
                onActivated: index => card.settings.setReplyLength(card.entry.language, index)
            }
        }
        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacing
            Label {
                text: "Corrections"
                color: Theme.secondaryText
            }
            ChoiceBox {
                objectName: "correctionsPicker"
                Layout.fillWidth: true
                Accessible.name: "Corrections of what you write in " + card.entry.language
                model: card.settings.correctionTitles
                currentIndex: card.entry.corrections
                onActivated: index => card.settings.setCorrections(card.entry.language, index)
            }
        }
        RowLayout {
            Layout.fillWidth: true
            Label {
                Layout.fillWidth: true
                text: "Its contacts and their chats are deleted."
                visible: stop.checked
                wrapMode: Text.Wrap
                color: Theme.danger
                font.pixelSize: Theme.px(12)
            }
            Item {
                Layout.fillWidth: !stop.checked
            }
            Button {
                id: stop
                objectName: "stopPracticing"
                text: "Stop practicing"
                Accessible.name: "Stop practicing " + card.entry.language
                flat: true
                checkable: true
                palette.buttonText: Theme.danger
            }
            Button {
                visible: stop.checked
                text: "Delete"
                Accessible.name: "Delete " + card.entry.language + " and its contacts"
                highlighted: true
                onClicked: card.settings.removeLanguage(card.entry.language)
            }
        }
    }
}

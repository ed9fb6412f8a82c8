// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// Everything the user sets: the profile, the practised languages, how contacts behave, how
// messages look, the account, and starting with the desktop session.
Rectangle {
    id: sheet
    signal done
    readonly property var settings: App.settings

    function takeFocus() {
        displayName.forceActiveFocus(Qt.OtherFocusReason);
    }
    color: Theme.window

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.margins: Theme.spacing
            Layout.leftMargin: Theme.padding
            Label {
                Layout.fillWidth: true
                text: "Settings"
                color: Theme.text
                font.pixelSize: Theme.titleSize
                font.weight: Font.DemiBold
            }
            Button {
                objectName: "closeSettings"
                text: "Done"
                highlighted: true
                onClicked: sheet.done()
            }
        }
        Rectangle {
            Layout.fillWidth: true
            height: 1
            color: Theme.separator
        }

        FormScrollView {
            id: scroll
            objectName: "settingsScroll"
            Layout.fillWidth: true
            Layout.fillHeight: true
            contentWidth: availableWidth

            ColumnLayout {
                width: Math.min(Theme.px(560), scroll.availableWidth - 48)
                x: (scroll.availableWidth - width) / 2
                spacing: Theme.spacing

                SectionTitle {
                    text: "Profile"
                }
                Label {
                    text: "Your name"
                    color: Theme.text
                    font.pixelSize: Theme.bodySize
                }
                TextField {
                    id: displayName
                    objectName: "displayName"
                    Layout.fillWidth: true
                    text: sheet.settings.displayName
                    selectByMouse: true
                    focus: true
                    Accessible.name: "Your name"
                    onEditingFinished: sheet.settings.displayName = text
                }
                Label {
                    text: "Age group"
                    color: Theme.text
                    font.pixelSize: Theme.bodySize
                }
                ChoiceBox {
                    objectName: "ageGroupPicker"
                    model: sheet.settings.ageGroupTitles
                    currentIndex: sheet.settings.ageGroup
                    onActivated: index => sheet.settings.ageGroup = index
                    Accessible.name: "Age group"
                }
                Label {
                    text: "Your own language"
                    color: Theme.text
                    font.pixelSize: Theme.bodySize
                }
                LanguageField {
                    Layout.fillWidth: true
                    Accessible.name: "Your own language"
                    text: sheet.settings.nativeLanguage
                    onEditingFinished: if (language.length > 0)
                        sheet.settings.nativeLanguage = language
                    onChosen: language => sheet.settings.nativeLanguage = language
                }
                Label {
                    text: "About you"
                    color: Theme.text
                    font.pixelSize: Theme.bodySize
                }
                FormTextArea {
                    objectName: "about"
                    Accessible.name: "About you"
                    Accessible.description: "Anything every contact should know."
                    Layout.fillWidth: true
                    Layout.minimumHeight: Theme.fieldMinimumHeight
                    text: sheet.settings.about
                    placeholderText: "e.g. I'm moving to Madrid in March and I work in design."
                    onEditingFinished: sheet.settings.about = text
                    background: Rectangle {
                        radius: Theme.smallRadius
                        color: Theme.surface
                        border.color: parent.activeFocus ? Theme.focusRing : Theme.inputBorder
                    }
                }
                Label {
                    Layout.fillWidth: true
                    text: "Anything every contact should know."
                    color: Theme.secondaryText
                    font.pixelSize: Theme.smallSize
                }
                Label {
                    text: "Interests"
                    color: Theme.text
                    font.pixelSize: Theme.bodySize
                }
                TextField {
                    Layout.fillWidth: true
                    text: sheet.settings.interests
                    placeholderText: "e.g. travel, cooking, films"
                    Accessible.name: "Interests"
                    selectByMouse: true
                    onEditingFinished: sheet.settings.interests = text
                }
                ChipRow {
                    Layout.fillWidth: true
                    list: sheet.settings.interests
                    onChanged: list => sheet.settings.interests = list
                }
                SwitchRow {
                    title: "Grow difficulty slowly"
                    checked: sheet.settings.progressiveDifficulty
                    onToggled: on => sheet.settings.progressiveDifficulty = on
                }

                SectionTitle {
                    text: "Languages"
                }
                Repeater {
                    model: sheet.settings.languages
                    delegate: LanguageCard {
                    }
                }
                RowLayout {
                    Layout.fillWidth: true
                    LanguageField {
                        id: newLanguage
                        objectName: "addLanguage"
                        Layout.fillWidth: true
                        placeholderText: "Add a language, e.g. Japanese"
                        Accessible.name: "Add a language"
                        onChosen: language => {
                            sheet.settings.addLanguage(language);
                            newLanguage.text = "";
                        }
                    }
                    Button {
                        text: "Add"
                        Accessible.name: "Add language"
                        enabled: newLanguage.language.length > 0
                        onClicked: {
                            sheet.settings.addLanguage(newLanguage.language);
                            newLanguage.text = "";
                        }
                    }
                }

                SectionTitle {
                    text: "Conversations"
                }
                SwitchRow {
                    title: "Contacts can start conversations"
                    explanation: "They text you when a chat goes quiet, often about something you told them. It uses replies from your daily allowance, always leaving the last few for you."
                    checked: sheet.settings.botsCanStartConversations
                    onToggled: on => sheet.settings.botsCanStartConversations = on
                }
                SwitchRow {
                    title: "Notifications"
                    explanation: "Show replies that arrive while Quillo is in the background."
                    checked: sheet.settings.notificationsEnabled
                    onToggled: on => sheet.settings.notificationsEnabled = on
                }
                SwitchRow {
                    title: "Point at words to translate"
                    explanation: "Words of contacts' messages are looked up on a public translation service as they arrive."
                    checked: sheet.settings.wordTranslations
                    onToggled: on => sheet.settings.wordTranslations = on
                }

                SectionTitle {
                    text: "Appearance"
                }
                RowLayout {
                    Layout.fillWidth: true
                    Label {
                        Layout.fillWidth: true
                        text: "Theme"
                        color: Theme.text
                        font.pixelSize: Theme.bodySize
                    }
                    ChoiceBox {
                        objectName: "themePicker"
                        Accessible.name: "Theme"
                        model: sheet.settings.themeTitles
                        currentIndex: sheet.settings.theme
                        onActivated: index => sheet.settings.theme = index
                    }
                }
                ReadingPanel {
                    Layout.fillWidth: true
                }

                SectionTitle {
                    text: "Account"
                }
                AccountSection {
                    Layout.fillWidth: true
                }

                SectionTitle {
                    text: "Starting and closing"
                }
                SwitchRow {
                    objectName: "openAtLogin"
                    title: "Open Quillo at login"
                    explanation: "Keeps it in the menu bar, so replies and notifications reach you."
                    checked: sheet.settings.managedByInstaller || sheet.settings.openAtLogin
                    enabledSwitch: !sheet.settings.managedByInstaller
                    onToggled: on => {
                        loginProblem.text = "";
                        sheet.settings.openAtLogin = on;
                    }
                }
                Label {
                    id: loginProblem
                    objectName: "loginProblem"
                    Layout.fillWidth: true
                    visible: text.length > 0
                    wrapMode: Text.Wrap
                    color: Theme.danger
                    font.pixelSize: Theme.smallSize

                    Connections {
                        target: sheet.settings
                        function onProblem(line) {
                            loginProblem.text = line;
                        }
                    }
                }

                SwitchRow {
                    objectName: "keepRunning"
                    title: "Keep Quillo running when the window is closed"
                    explanation: "Replies and contacts who write first still reach you. Quit from the ⋮ menu or with Ctrl+Q. With a tray icon, closing always leaves Quillo there."
                    checked: sheet.settings.keepRunningWhenClosed
                    onToggled: on => sheet.settings.keepRunningWhenClosed = on
                }

                Label {
                    Layout.alignment: Qt.AlignHCenter
                    Layout.topMargin: Theme.padding
                    text: App.displayName + " " + App.version
                    color: Theme.faintText
                    font.pixelSize: Theme.smallSize
                }
                Item {
                    Layout.preferredHeight: Theme.padding * 2
                }
            }
        }
    }
}

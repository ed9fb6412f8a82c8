// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// Setting up: what to call the user, their own language, the languages to practise (each gets
// a starter contact) and a few interests the contacts can talk about.
Rectangle {
    id: screen
    color: Theme.window

    property string name: App.settings.displayName
    property string nativeLanguage: App.settings.nativeLanguage || "English"
    property var languages: []
    property string interests: App.settings.interests
    property int ageGroup: App.settings.ageGroup

    readonly property bool ready: name.trim().length > 0 && nativeLanguage.trim().length > 0 && languages.length > 0

    function addLanguage(language) {
        const name = language.trim();
        if (name.length === 0)
            return;
        if (languages.some(known => known.toLowerCase() === name.toLowerCase()))
            return;
        languages = languages.concat([name]);
        practised.text = "";
    }

    // The caret starts in the name, the first thing asked.
    Component.onCompleted: nameField.forceActiveFocus()

    function finish() {
        if (practised.language.length > 0)
            addLanguage(practised.language);
        if (!ready)
            return;
        App.settings.completeOnboarding(name, nativeLanguage, languages, interests, ageGroup);
        // The first contact's chat opens, rather than an empty window.
        App.focusMostRelevantChat();
    }

    FormScrollView {
        anchors.fill: parent
        contentWidth: availableWidth

        ColumnLayout {
            width: Math.min(Theme.px(460), parent.width - 48)
            x: (parent.width - width) / 2
            spacing: Theme.spacing

            Item {
                Layout.preferredHeight: Theme.controlHeight
            }
            Label {
                text: "Welcome to " + App.displayName
                color: Theme.text
                font.pixelSize: Theme.headlineSize
                font.weight: Font.DemiBold
            }
            Label {
                Layout.fillWidth: true
                wrapMode: Text.Wrap
                text: "Tell us a little about yourself, and you get a contact to text for each language."
                color: Theme.secondaryText
                font.pixelSize: Theme.bodySize
            }

            SectionTitle {
                text: "Your name"
            }
            TextField {
                id: nameField
                objectName: "name"
                Layout.fillWidth: true
                focus: true
                Accessible.name: "Your name"
                text: screen.name
                placeholderText: "What your contacts call you"
                selectByMouse: true
                onTextEdited: screen.name = text
            }

            SectionTitle {
                text: "Age group"
            }
            ChoiceBox {
                objectName: "ageGroup"
                Accessible.name: "Age group"
                model: App.settings.ageGroupTitles
                currentIndex: screen.ageGroup
                onActivated: index => screen.ageGroup = index
            }

            SectionTitle {
                text: "Your own language"
            }
            LanguageField {
                objectName: "nativeLanguage"
                Accessible.name: "Your own language"
                Accessible.description: "Words and selections are translated into it."
                Layout.fillWidth: true
                text: screen.nativeLanguage
                onTextEdited: screen.nativeLanguage = text
                onChosen: language => screen.nativeLanguage = language
            }
            Label {
                Layout.fillWidth: true
                wrapMode: Text.Wrap
                text: "Words and selections are translated into it."
                color: Theme.secondaryText
                font.pixelSize: Theme.smallSize
            }

            SectionTitle {
                text: "Languages to practise"
            }
            Flow {
                Layout.fillWidth: true
                spacing: Theme.px(6)
                visible: screen.languages.length > 0
                Repeater {
                    model: screen.languages
                    delegate: Rectangle {
                        required property string modelData
                        required property int index
                        height: Theme.px(30)
                        width: chosenLabel.implicitWidth + 40
                        radius: height / 2
                        color: Theme.accent
                        Label {
                            id: chosenLabel
                            x: 12
                            anchors.verticalCenter: parent.verticalCenter
                            text: parent.modelData
                            color: Theme.accentText
                        }
                        AbstractButton {
                            objectName: "removeLanguage"
                            anchors.right: parent.right
                            anchors.rightMargin: Theme.smallSpacing
                            anchors.verticalCenter: parent.verticalCenter
                            width: Theme.px(24)
                            height: Theme.px(24)
                            Accessible.name: "Remove " + parent.modelData
                            contentItem: Label {
                                text: "×"
                                horizontalAlignment: Text.AlignHCenter
                                verticalAlignment: Text.AlignVCenter
                                color: Theme.accentText
                            }
                            background: Rectangle {
                                radius: width / 2
                                color: "transparent"
                                border.width: parent.visualFocus ? 2 : 0
                                border.color: Theme.accentText
                            }
                            onClicked: {
                                const kept = screen.languages.slice();
                                kept.splice(index, 1);
                                screen.languages = kept;
                            }
                        }
                    }
                }
            }
            RowLayout {
                Layout.fillWidth: true
                LanguageField {
                    id: practised
                    objectName: "practisedLanguage"
                    Layout.fillWidth: true
                    placeholderText: "e.g. Japanese"
                    Accessible.name: "Language to practise"
                    onChosen: language => screen.addLanguage(language)
                }
                Button {
                    text: "Add"
                    Accessible.name: "Add language"
                    enabled: practised.language.length > 0
                    onClicked: screen.addLanguage(practised.language)
                }
            }

            SectionTitle {
                text: "Interests"
            }
            TextField {
                objectName: "interests"
                Accessible.name: "Interests"
                Layout.fillWidth: true
                text: screen.interests
                placeholderText: "e.g. travel, cooking, films"
                selectByMouse: true
                onTextEdited: screen.interests = text
            }
            ChipRow {
                Layout.fillWidth: true
                list: screen.interests
                onChanged: list => screen.interests = list
            }

            Item {
                Layout.preferredHeight: Theme.spacing
            }
            Button {
                objectName: "startButton"
                Layout.alignment: Qt.AlignRight
                text: "Start texting"
                highlighted: true
                enabled: screen.ready || (practised.language.length > 0 && screen.name.trim().length > 0)
                onClicked: screen.finish()
            }
            Item {
                Layout.preferredHeight: Theme.controlHeight
            }
        }
    }
}

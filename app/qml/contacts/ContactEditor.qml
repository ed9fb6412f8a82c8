// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// A contact, new or existing: who it is, how it talks, what it knows, and whether it is active.
Rectangle {
    id: editor
    // From App.draftFor: the editor works on this copy until "Save".
    property var draft
    signal done

    function takeFocus() {
        nameField.takeFocus();
    }
    function save() {
        if (!editor.draft.canSave)
            return;
        const added = editor.draft.isNew ? editor.draft.botId : "";
        editor.draft.save();
        editor.done();
        // A new contact's chat opens, ready for the first message.
        if (added.length > 0)
            App.navigation.select(added);
    }
    Shortcut {
        sequences: [StandardKey.Save, "Ctrl+Return"]
        onActivated: editor.save()
    }

    color: Theme.window

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.margins: Theme.spacing
            Layout.leftMargin: Theme.padding
            Button {
                text: "Cancel"
                flat: true
                onClicked: editor.done()
            }
            Label {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                text: editor.draft.isNew ? "New contact" : "Edit contact"
                color: Theme.text
                font.pixelSize: Theme.titleSize
                font.weight: Font.DemiBold
            }
            Button {
                objectName: "saveContact"
                text: "Save"
                highlighted: true
                enabled: editor.draft.canSave
                Accessible.description: "Save the contact (Ctrl+S)"
                onClicked: editor.save()
            }
        }
        Rectangle {
            Layout.fillWidth: true
            height: 1
            color: Theme.separator
        }

        FormScrollView {
            id: scroll
            Layout.fillWidth: true
            Layout.fillHeight: true
            contentWidth: availableWidth

            ColumnLayout {
                width: Math.min(Theme.px(520), scroll.availableWidth - 48)
                x: (scroll.availableWidth - width) / 2
                spacing: Theme.spacing

                Item {
                    Layout.preferredHeight: Theme.spacing
                }
                RowLayout {
                    spacing: Theme.padding
                    Avatar {
                        size: Theme.largeAvatarSize
                        initials: editor.draft.initials
                        accent: editor.draft.accent
                    }
                    Flow {
                        Layout.fillWidth: true
                        spacing: Theme.px(6)
                        Repeater {
                            model: editor.draft.accents
                            delegate: AbstractButton {
                                id: swatch
                                required property string modelData
                                required property int index
                                width: Theme.px(24)
                                height: Theme.px(24)
                                checkable: true
                                checked: editor.draft.accent === modelData
                                Accessible.role: Accessible.RadioButton
                                Accessible.name: "Colour " + (index + 1)
                                Accessible.checked: checked
                                onClicked: editor.draft.accent = modelData
                                background: Rectangle {
                                    radius: width / 2
                                    color: swatch.modelData
                                    border.width: swatch.visualFocus ? 3 : swatch.checked ? 3 : 0
                                    border.color: swatch.visualFocus ? Theme.focusRing : Theme.text
                                }
                                HoverHandler {
                                    cursorShape: Qt.PointingHandCursor
                                }
                            }
                        }
                    }
                }

                FormField {
                    id: nameField
                    objectName: "contactName"
                    label: "Name"
                    text: editor.draft.displayName
                    placeholder: "e.g. Cafe Coco"
                    onEdited: text => editor.draft.displayName = text
                }

                Label {
                    text: "Language"
                    color: Theme.text
                    font.pixelSize: Theme.bodySize
                }
                ComboBox {
                    Layout.fillWidth: true
                    implicitHeight: Math.max(Theme.controlHeight, implicitContentHeight + topPadding + bottomPadding)
                    Accessible.name: "Language"
                    editable: true
                    model: editor.draft.languageChoices
                    Component.onCompleted: {
                        const at = find(editor.draft.targetLanguage);
                        if (at >= 0)
                            currentIndex = at;
                        else
                            editText = editor.draft.targetLanguage;
                    }
                    onActivated: editor.draft.targetLanguage = currentText
                    // Typed in the field (the field, not the box, has the focus then).
                    onEditTextChanged: editor.draft.targetLanguage = editText
                }
                SwitchRow {
                    visible: editor.draft.readingAvailable
                    title: "Pronunciation above words"
                    explanation: "Pinyin, romaji or Latin letters in small print over each word."
                    checked: editor.draft.showsReading
                    onToggled: on => editor.draft.showsReading = on
                }

                SectionTitle {
                    text: "Conversation style"
                }
                ChoiceBox {
                    objectName: "stylePicker"
                    Accessible.name: "Conversation style"
                    Layout.fillWidth: true
                    model: editor.draft.styleTitles
                    currentIndex: editor.draft.style
                    onActivated: index => editor.draft.style = index
                }
                RowLayout {
                    Layout.fillWidth: true
                    spacing: Theme.spacing
                    ColumnLayout {
                        Layout.fillWidth: true
                        Label {
                            text: "Age"
                            color: Theme.text
                            font.pixelSize: Theme.bodySize
                        }
                        ChoiceBox {
                            Layout.fillWidth: true
                            Accessible.name: "Age"
                            model: editor.draft.ageTitles
                            currentIndex: editor.draft.age
                            onActivated: index => editor.draft.age = index
                        }
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        Label {
                            text: "Gender"
                            color: Theme.text
                            font.pixelSize: Theme.bodySize
                        }
                        ChoiceBox {
                            Layout.fillWidth: true
                            Accessible.name: "Gender"
                            model: editor.draft.genderTitles
                            currentIndex: editor.draft.gender
                            onActivated: index => editor.draft.gender = index
                        }
                    }
                }

                SectionTitle {
                    text: "Persona"
                }
                FormField {
                    label: "Likes to talk about"
                    text: editor.draft.topic
                    placeholder: "e.g. coffee, music, football"
                    onEdited: text => editor.draft.topic = text
                }
                FormField {
                    label: "Personality"
                    text: editor.draft.personality
                    placeholder: "e.g. warm and friendly"
                    onEdited: text => editor.draft.personality = text
                }
                FormField {
                    label: "Way of talking"
                    text: editor.draft.styleNote
                    placeholder: "e.g. talks like a casual friend"
                    onEdited: text => editor.draft.styleNote = text
                }
                FormField {
                    label: "Notes"
                    multiline: true
                    text: editor.draft.notes
                    placeholder: "e.g. Correct my mistakes gently. Ask about my trip to Tokyo."
                    explanation: "What this contact should know about you or how it should talk."
                    onEdited: text => editor.draft.notes = text
                }

                SwitchRow {
                    objectName: "activeSwitch"
                    title: "Active"
                    explanation: "Inactive contacts never text and move to the bottom."
                    checked: editor.draft.active
                    onToggled: on => editor.draft.active = on
                }

                SectionTitle {
                    visible: !editor.draft.isNew
                    text: "Memories"
                }
                MemoriesList {
                    visible: !editor.draft.isNew
                    Layout.fillWidth: true
                    draft: editor.draft
                }

                Button {
                    objectName: "deleteContact"
                    visible: !editor.draft.isNew
                    Layout.topMargin: Theme.padding
                    text: "Delete contact"
                    flat: true
                    palette.buttonText: Theme.danger
                    onClicked: confirmDelete.open()
                }
                Item {
                    Layout.preferredHeight: Theme.padding * 2
                }
            }
        }
    }

    Dialog {
        id: confirmDelete
        objectName: "confirmDelete"
        anchors.centerIn: parent
        width: Math.min(400, editor.width - 48)
        modal: true
        title: "Delete " + editor.draft.displayName + "?"
        standardButtons: Dialog.Cancel | Dialog.Ok
        Label {
            width: parent.width
            text: "The conversation is deleted too."
            wrapMode: Text.Wrap
            color: Theme.text
        }
        onAccepted: {
            editor.draft.remove();
            editor.done();
        }
    }
}

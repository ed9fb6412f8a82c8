// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A labelled text field of a form; `multiline` makes it a text area that grows with its text.
ColumnLayout {
    id: field
    property alias label: caption.text
    property string text
    property string placeholder
    property string explanation
    property bool multiline: false
    signal edited(string text)

    function takeFocus() {
        (field.multiline ? area : line).forceActiveFocus(Qt.OtherFocusReason);
    }

    spacing: Theme.smallSpacing
    Layout.fillWidth: true

    Label {
        id: caption
        visible: text.length > 0
        color: Theme.text
        font.pixelSize: Theme.bodySize
    }
    TextField {
        id: line
        visible: !field.multiline
        Accessible.name: field.label
        Accessible.description: field.explanation
        Layout.fillWidth: true
        text: field.text
        placeholderText: field.placeholder
        selectByMouse: true
        onTextEdited: field.edited(text)
    }
    FormTextArea {
        id: area
        visible: field.multiline
        Layout.fillWidth: true
        Layout.minimumHeight: Theme.fieldMinimumHeight
        text: field.text
        placeholderText: field.placeholder
        Accessible.name: field.label
        Accessible.description: field.explanation
        onTextChanged: if (activeFocus)
            field.edited(text)
        background: Rectangle {
            radius: Theme.smallRadius
            color: Theme.surface
            border.color: parent.activeFocus ? Theme.focusRing : Theme.inputBorder
        }
    }
    Label {
        visible: field.explanation.length > 0
        Layout.fillWidth: true
        text: field.explanation
        wrapMode: Text.Wrap
        color: Theme.secondaryText
        font.pixelSize: Theme.smallSize
    }
}

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

    spacing: 4
    Layout.fillWidth: true

    Label {
        id: caption
        visible: text.length > 0
        color: Theme.text
        font.pixelSize: Theme.bodySize
    }
    TextField {
        visible: !field.multiline
        Layout.fillWidth: true
        text: field.text
        placeholderText: field.placeholder
        selectByMouse: true
        onTextEdited: field.edited(text)
    }
    TextArea {
        visible: field.multiline
        Layout.fillWidth: true
        Layout.minimumHeight: 64
        text: field.text
        placeholderText: field.placeholder
        wrapMode: TextArea.Wrap
        selectByMouse: true
        onTextChanged: if (activeFocus)
            field.edited(text)
        background: Rectangle {
            radius: 6
            color: Theme.surface
            border.color: parent.activeFocus ? Theme.accent : Theme.separator
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

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// Where the user writes: Enter sends, Shift+Enter starts a new line.
Rectangle {
    id: composer
    property alias text: input.text
    readonly property alias input: input
    signal sent

    implicitHeight: Math.min(160, input.implicitHeight + 2 * Theme.spacing) + Theme.spacing * 2
    color: Theme.window

    function send() {
        if (App.conversation.send(input.text)) {
            input.clear();
            sent();
        }
    }

    Rectangle {
        anchors.top: parent.top
        width: parent.width
        height: 1
        color: Theme.separator
    }

    RowLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacing
        anchors.leftMargin: Theme.padding
        anchors.rightMargin: Theme.padding
        spacing: Theme.spacing

        ScrollView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            TextArea {
                id: input
                objectName: "composerInput"
                placeholderText: "Message " + App.conversation.name
                wrapMode: TextArea.Wrap
                selectByMouse: true
                font.pixelSize: Theme.bodySize + 1
                color: Theme.text
                placeholderTextColor: Theme.faintText
                background: Rectangle {
                    radius: 18
                    color: Theme.surface
                    border.color: input.activeFocus ? Theme.accent : Theme.separator
                }
                leftPadding: 14
                rightPadding: 14
                topPadding: 9
                bottomPadding: 9
                Keys.onReturnPressed: event => {
                    if (event.modifiers & Qt.ShiftModifier) {
                        event.accepted = false;
                    } else {
                        event.accepted = true;
                        composer.send();
                    }
                }
                Keys.onEnterPressed: event => {
                    event.accepted = !(event.modifiers & Qt.ShiftModifier);
                    if (event.accepted)
                        composer.send();
                }
            }
        }
        RoundButton {
            objectName: "sendButton"
            Layout.alignment: Qt.AlignBottom
            text: "↑"
            font.pixelSize: 16
            highlighted: true
            enabled: input.text.trim().length > 0
            onClicked: composer.send()
        }
    }
}

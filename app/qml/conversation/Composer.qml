// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// Where the user writes: Enter sends, Shift+Enter starts a new line. The microphone turns
// speech into text for the same field (Ctrl+D starts and finishes, Esc drops it).
Rectangle {
    id: composer
    property alias text: input.text
    readonly property alias input: input
    readonly property ComposerDictation dictation: App.conversation.dictation
    signal sent
    // Ctrl+Home and Ctrl+End scroll the conversation to its start or end even while the caret
    // is here, rather than moving the caret in a message of a line or two.
    signal scrollAsked(bool toStart)

    implicitHeight: Math.min(Theme.px(160), (dictation.active ? listening.implicitHeight : input.implicitHeight) + 2 * Theme.spacing) + Theme.spacing * 2 + (problem.visible ? problem.implicitHeight + 4 : 0)
    color: Theme.window

    // The dictated words join what is already typed, at the cursor.
    function place(words) {
        const before = input.text.slice(0, input.cursorPosition);
        const after = input.text.slice(input.cursorPosition);
        const lead = before.length > 0 && !/\s$/.test(before) ? " " : "";
        const trail = after.length > 0 && !/^\s/.test(after) ? " " : "";
        input.text = before + lead + words + trail + after;
        input.cursorPosition = before.length + lead.length + words.length;
        input.forceActiveFocus();
    }

    function toggleDictation() {
        if (dictation.active)
            dictation.finish();
        else
            dictation.start();
    }

    Connections {
        target: composer.dictation
        function onTranscribed(words) {
            composer.place(words);
        }
    }
    Shortcut {
        sequence: "Ctrl+D"
        onActivated: composer.toggleDictation()
    }
    Shortcut {
        sequence: "Esc"
        enabled: composer.dictation.active
        onActivated: composer.dictation.cancel()
    }
    Timer {
        running: composer.dictation.problemLine.length > 0
        interval: 8000
        onTriggered: composer.dictation.dismissProblem()
    }
    Timer {
        running: App.feedback.problemLine.length > 0
        interval: 8000
        onTriggered: App.feedback.dismissProblem()
    }

    // "Help me say this": what the user wrote in their own language (or a mix) becomes the
    // sentence in the contact's language, in the composer for them to read over and send.
    property string helpNote
    function helpSayIt() {
        if (input.text.trim().length > 0)
            App.feedback.sayIt(App.conversation.botId, input.text);
    }
    Connections {
        target: App.feedback
        function onSentenceReady(sentence, note) {
            input.text = sentence;
            input.cursorPosition = sentence.length;
            composer.helpNote = note;
            input.forceActiveFocus();
        }
    }
    Connections {
        target: input
        function onTextChanged() {
            if (composer.helpNote.length > 0 && input.text.length === 0)
                composer.helpNote = "";
        }
    }
    Shortcut {
        sequence: "Ctrl+Shift+H"
        onActivated: composer.helpSayIt()
    }

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

    Label {
        id: problem
        objectName: "dictationProblem"
        anchors.top: parent.top
        anchors.topMargin: Theme.px(6)
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.leftMargin: Theme.padding
        anchors.rightMargin: Theme.padding
        visible: text.length > 0
        text: composer.dictation.problemLine || App.feedback.problemLine || composer.helpNote
        color: composer.dictation.problemLine || App.feedback.problemLine ? Theme.danger : Theme.secondaryText
        wrapMode: Text.Wrap
        font.pixelSize: Theme.smallSize
    }

    RowLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacing
        anchors.topMargin: Theme.spacing + (problem.visible ? problem.implicitHeight + 4 : 0)
        anchors.leftMargin: Theme.padding
        anchors.rightMargin: Theme.padding
        spacing: Theme.spacing

        ListeningBar {
            id: listening
            objectName: "listeningBar"
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignBottom
            visible: composer.dictation.active
            dictation: composer.dictation
        }
        ScrollView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: !composer.dictation.active
            FormTextArea {
                id: input
                objectName: "composerInput"
                placeholderText: "Message " + App.conversation.name
                font.pixelSize: Theme.px(14)
                color: Theme.text
                placeholderTextColor: Theme.faintText
                background: Rectangle {
                    radius: Theme.px(18)
                    color: Theme.surface
                    border.color: input.activeFocus ? Theme.focusRing : Theme.inputBorder
                }
                leftPadding: Theme.px(14)
                rightPadding: Theme.px(14)
                topPadding: Theme.px(9)
                bottomPadding: Theme.px(9)
                Accessible.name: "Message " + App.conversation.name
                Accessible.description: "Enter sends, Shift+Enter starts a new line"
                Keys.onPressed: event => {
                    if ((event.modifiers & Qt.ControlModifier) && (event.key === Qt.Key_Home || event.key === Qt.Key_End)) {
                        event.accepted = true;
                        composer.scrollAsked(event.key === Qt.Key_Home);
                    }
                }
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
        ChoiceBox {
            id: speechLanguage
            objectName: "speechLanguage"
            Layout.alignment: Qt.AlignBottom
            visible: !composer.dictation.active && composer.dictation.languages.length > 1
            model: composer.dictation.languages
            currentIndex: Math.max(0, composer.dictation.languages.indexOf(composer.dictation.language))
            onActivated: index => composer.dictation.language = composer.dictation.languages[index]
            implicitContentWidthPolicy: ComboBox.WidestText
            ToolTip.visible: hovered
            ToolTip.text: "The language you'll speak"
            Accessible.name: "Speech language"
            Accessible.description: ToolTip.text
        }
        RoundButton {
            objectName: "micButton"
            implicitWidth: Theme.px(36)
            implicitHeight: Theme.px(36)
            Layout.alignment: Qt.AlignBottom
            visible: !composer.dictation.active
            contentItem: Item {
                MicrophoneIcon {
                    anchors.centerIn: parent
                    color: Theme.text
                }
            }
            enabled: composer.dictation.languages.length > 0
            onClicked: composer.dictation.start()
            ToolTip.visible: hovered
            ToolTip.text: "Talk instead of typing (Ctrl+D)"
            Accessible.name: "Dictate"
            Accessible.description: ToolTip.text
        }
        RoundButton {
            objectName: "helpSayItButton"
            implicitWidth: Theme.px(36)
            implicitHeight: Theme.px(36)
            Layout.alignment: Qt.AlignBottom
            visible: !composer.dictation.active
            text: App.feedback.helping ? "…" : "文A"
            font.pixelSize: Theme.smallSize
            enabled: !App.feedback.helping && input.text.trim().length > 0
            onClicked: composer.helpSayIt()
            ToolTip.visible: hovered
            ToolTip.delay: 600
            ToolTip.text: "Help me say this in " + App.conversation.language + " (Ctrl+Shift+H)"
            Accessible.name: "Help me say this"
            Accessible.description: "Write what you mean in your own language; it becomes a sentence in " + App.conversation.language + " for you to read over"
        }
        RoundButton {
            objectName: "sendButton"
            implicitWidth: Theme.px(36)
            implicitHeight: Theme.px(36)
            Layout.alignment: Qt.AlignBottom
            text: "↑"
            font.pixelSize: Theme.iconSize
            highlighted: true
            Accessible.name: "Send"
            Accessible.description: "Send the message (Enter)"
            ToolTip.visible: hovered
            ToolTip.delay: 600
            ToolTip.text: "Send (Enter)"
            enabled: input.text.trim().length > 0
            onClicked: composer.send()
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import Quillo.App
import Quillo.Components

// One message. A contact's message is laid out word by word, so that a reading can stand
// above each word, the word under the pointer is known for its gloss, and several words can
// be selected for translation, with the mouse or, once the message has the focus, with the
// arrow keys. The user's own messages are plain text. Either can be copied.
Item {
    id: message
    required property string messageId
    required property string text
    required property bool fromUser
    required property string language
    required property var lines
    required property double createdAt
    required property bool notAnswered
    // What a check of the user's message found (see the message list's correction role).
    required property var correction
    readonly property bool checking: App.feedback.checking.indexOf(messageId) >= 0
    readonly property bool corrected: fromUser && correction.corrected !== undefined && !correction.fine

    // Set by the conversation view.
    property real maxBubbleWidth: 480
    property bool interactive: true
    property real textSize: 16
    property real lineSpacing: 1.45
    property real readingSize: 10.5
    property real readingGap: 1
    // Who wrote it, as a screen reader says it.
    property string senderName

    // The selected passage, as UTF-16 offsets into the text; empty when start == end.
    property int selectionStart: 0
    property int selectionEnd: 0
    readonly property bool hasSelection: selectionEnd > selectionStart
    readonly property string selectedText: text.substring(selectionStart, selectionEnd)
    // The keyboard's word: the offset of the word the caret is on, -1 before the first move.
    property int caretStart: -1
    property int selectionAnchor: -1
    // The contact's words in the text's order.
    readonly property var words: {
        const found = [];
        for (const line of lines)
            for (const piece of line)
                if (piece.word)
                    found.push(piece);
        return found;
    }

    signal wordHovered(var piece, Item item)
    signal wordLeft
    signal selectionMade(Item bubble)
    signal selectionCleared
    // Enter on a selection, or on the word at the caret.
    signal translateAsked(Item bubble)
    signal explainAsked(Item bubble)
    signal glossAsked(var piece, Item item)
    signal dismissed

    readonly property bool hasReadings: {
        for (const line of lines)
            for (const piece of line)
                if (piece.reading.length > 0)
                    return true;
        return false;
    }

    function clearSelection() {
        selectionStart = 0;
        selectionEnd = 0;
        selectionAnchor = -1;
    }

    function copy() {
        App.conversation.copyText(hasSelection ? selectedText : text);
    }

    // An address written without its scheme opens over https.
    function linkUrl(address) {
        return /^[a-zA-Z][a-zA-Z0-9+.-]*:/.test(address) ? address : "https://" + address;
    }

    // Moves the caret a word on (step 1) or back (-1) in the text's order; with `extend` the
    // selection runs from where it started to the caret's word.
    function moveCaret(step, extend) {
        if (words.length === 0)
            return;
        const at = words.findIndex(word => word.start === caretStart);
        const index = at < 0 ? (step > 0 ? 0 : words.length - 1) : Math.max(0, Math.min(words.length - 1, at + step));
        if (!extend) {
            caretStart = words[index].start;
            if (hasSelection) {
                selectionCleared();
                clearSelection();
            }
            return;
        }
        if (!hasSelection || selectionAnchor < 0)
            selectionAnchor = at < 0 ? words[index].start : caretStart;
        caretStart = words[index].start;
        const anchor = words.find(word => word.start === selectionAnchor);
        const caret = words[index];
        selectionStart = Math.min(anchor.start, caret.start);
        selectionEnd = Math.max(anchor.start + anchor.text.length, caret.start + caret.text.length);
        selectionMade(message);
    }

    // The selected passage's box in `target`'s coordinates; empty without a selection.
    function passageBox(target) {
        if (!content.item || !content.item.selectionBox)
            return Qt.rect(0, 0, 0, 0);
        const box = content.item.selectionBox();
        const at = content.item.mapToItem(target, box.x, box.y);
        return Qt.rect(at.x, at.y, box.width, box.height);
    }

    activeFocusOnTab: true
    // A message the keyboard reaches comes into view; one the pointer presses is there.
    required property int index
    property bool focusFromPointer: false
    onActiveFocusChanged: {
        if (activeFocus && !focusFromPointer && ListView.view)
            ListView.view.positionViewAtIndex(index, ListView.Contain);
        focusFromPointer = false;
    }
    Accessible.role: Accessible.ListItem
    Accessible.name: (fromUser ? "You" : senderName) + ", " + time.text + ": " + text
    Accessible.focusable: true

    Keys.onPressed: event => {
        if (event.matches(StandardKey.Copy)) {
            copy();
            event.accepted = true;
            return;
        }
        if (event.key === Qt.Key_Escape) {
            event.accepted = hasSelection || caretStart >= 0 || App.wordHover.shown;
            caretStart = -1;
            dismissed();
            return;
        }
        if (event.key === Qt.Key_Menu || (event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier))) {
            menu.popup(bubble, bubble.width / 2, bubble.height / 2);
            event.accepted = true;
            return;
        }
        if (fromUser) {
            if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
                App.feedback.check(messageId);
                event.accepted = true;
            }
            return;
        }
        if (event.key === Qt.Key_E && (event.modifiers & Qt.ControlModifier)) {
            if (hasSelection)
                explainAsked(message);
            event.accepted = true;
            return;
        }
        if (event.key === Qt.Key_Left || event.key === Qt.Key_Right) {
            // Left goes on to the next word of a right-to-left message.
            const rightToLeft = content.item && content.item.flow.rightToLeft;
            moveCaret((event.key === Qt.Key_Right) !== rightToLeft ? 1 : -1, event.modifiers & Qt.ShiftModifier);
            event.accepted = true;
        } else if (event.key === Qt.Key_Home || event.key === Qt.Key_End) {
            moveCaret(event.key === Qt.Key_End ? words.length : -words.length, event.modifiers & Qt.ShiftModifier);
            event.accepted = true;
        } else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter || (event.key === Qt.Key_T && (event.modifiers & Qt.ControlModifier))) {
            if (hasSelection) {
                translateAsked(message);
            } else if (caretStart >= 0 && content.item) {
                const drawn = content.item.itemsOf(caretStart);
                if (drawn.length > 0)
                    glossAsked(drawn[0].piece, drawn[0]);
            }
            event.accepted = true;
        }
    }

    width: ListView.view ? ListView.view.width : 400
    height: bubble.height + 6 + (unanswered.visible ? unanswered.height + 2 : 0) + (feedback.visible ? feedback.height + 4 : 0)

    Component.onCompleted: if (!fromUser)
        App.conversation.prefetch(messageId)

    Rectangle {
        id: bubble
        objectName: "bubble"
        x: message.fromUser ? message.width - width - Theme.padding : Theme.padding
        y: 3
        width: Math.min(message.maxBubbleWidth, Math.max(content.item ? content.item.naturalWidth : 0, time.implicitWidth) + 28)
        height: content.height + time.implicitHeight + 16
        radius: Theme.bubbleRadius
        color: message.fromUser ? Theme.ownBubble : Theme.theirBubble
        border.color: message.activeFocus ? Theme.accentForeground : Theme.separator
        border.width: message.activeFocus ? 2 : message.fromUser || Theme.dark ? 0 : 1

        // Right-click on any message: copy it, or the part of it that is selected.
        MouseArea {
            anchors.fill: parent
            acceptedButtons: Qt.RightButton
            onClicked: menu.popup()
            Menu {
                id: menu
                objectName: "messageMenu"
                MenuItem {
                    objectName: "copyMessage"
                    text: message.hasSelection ? "Copy Selection" : "Copy"
                    onTriggered: message.copy()
                }
                MenuItem {
                    objectName: "checkMessage"
                    visible: message.fromUser
                    height: visible ? implicitHeight : 0
                    enabled: !message.checking
                    text: "Check this message"
                    onTriggered: App.feedback.check(message.messageId)
                }
            }
        }
        Loader {
            id: content
            x: 14
            y: 9
            width: bubble.width - 28
            sourceComponent: message.fromUser ? plainText : wordLines
        }
        Text {
            id: time
            objectName: "messageTime"
            anchors.right: parent.right
            anchors.rightMargin: 12
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 5
            text: message.timeText(message.createdAt)
            color: message.fromUser ? Theme.ownBubbleText : Theme.faintText
            // Softer than the message, still 4.5:1 on the darker of the own bubbles.
            opacity: message.fromUser ? 0.9 : 1
            font.pixelSize: Theme.tinySize
        }
    }

    // Under the user's message that got no answer, a way to ask for one again.
    Row {
        id: unanswered
        objectName: "notAnswered"
        visible: message.notAnswered
        anchors.right: bubble.right
        anchors.top: bubble.bottom
        anchors.topMargin: 2
        spacing: 6
        Label {
            anchors.verticalCenter: parent.verticalCenter
            text: "Not answered"
            color: Theme.danger
            font.pixelSize: Theme.smallSize
        }
        Button {
            objectName: "tryAgain"
            text: "Try again"
            flat: true
            focusPolicy: Qt.StrongFocus
            font.pixelSize: Theme.smallSize
            Accessible.name: "Try again"
            Accessible.description: "Ask for an answer to this message again"
            onClicked: App.conversation.answerAgain()
        }
    }

    // Under the user's message, what a check of it found: the corrected sentence with the
    // removed words struck through and the new ones marked, and why on demand; a small mark
    // when it was fine; a line while it is being checked.
    Column {
        id: feedback
        objectName: "correction"
        visible: message.fromUser && (message.checking || message.correction.corrected !== undefined)
        anchors.right: bubble.right
        y: bubble.y + bubble.height + 4 + (unanswered.visible ? unanswered.height + 2 : 0)
        width: Math.min(message.maxBubbleWidth, Math.max(bubble.width, marks.implicitWidth + 2 * Theme.spacing))
        spacing: 2

        Label {
            objectName: "checkState"
            visible: message.checking || !message.corrected
            anchors.right: parent.right
            text: message.checking ? "Checking…" : "✓ Checked, no mistakes"
            color: Theme.secondaryText
            font.pixelSize: Theme.smallSize
            Accessible.name: message.checking ? "Checking your message" : "Checked: no mistakes"
        }
        Rectangle {
            visible: message.corrected && !message.checking
            width: parent.width
            height: marks.height + 2 * Theme.smallSpacing
            radius: Theme.smallRadius
            color: Theme.surface
            border.color: Theme.separator
            Accessible.role: Accessible.StaticText
            Accessible.name: "Corrected: " + (message.correction.corrected || "")
            Flow {
                id: marks
                objectName: "correctionMarks"
                x: Theme.spacing
                y: Theme.smallSpacing
                width: parent.width - 2 * Theme.spacing
                spacing: 4
                Repeater {
                    model: message.corrected ? message.correction.marks : []
                    delegate: Text {
                        required property var modelData
                        objectName: "mark-" + modelData.change
                        text: modelData.text
                        wrapMode: Text.Wrap
                        width: Math.min(implicitWidth, marks.width)
                        font.pixelSize: Theme.bodySize
                        font.strikeout: modelData.change === "removed"
                        font.weight: modelData.change === "added" ? Font.DemiBold : Font.Normal
                        color: modelData.change === "removed" ? Theme.danger : Theme.text
                        Rectangle {
                            visible: parent.modelData.change === "added"
                            z: -1
                            anchors.fill: parent
                            anchors.margins: -1
                            radius: 2
                            color: Theme.selection
                        }
                    }
                }
            }
        }
        Button {
            id: why
            objectName: "whyButton"
            visible: message.corrected && !message.checking && message.correction.edits.length > 0
            anchors.right: parent.right
            flat: true
            checkable: true
            text: checked ? "Hide why" : "Why?"
            font.pixelSize: Theme.smallSize
            Accessible.name: checked ? "Hide the explanations" : "Why? Explain the corrections"
        }
        Repeater {
            model: why.checked && message.corrected ? message.correction.edits : []
            delegate: Label {
                required property var modelData
                objectName: "correctionReason"
                width: feedback.width
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
                text: modelData.original + " → " + modelData.corrected + ": " + modelData.explanation
                color: Theme.text
                font.pixelSize: Theme.smallSize
            }
        }
    }

    // "14:05" today, "Mon 14:05" this week, "3 Nov 14:05" before, in the locale's own form.
    function timeText(millis) {
        const date = new Date(millis);
        const now = new Date();
        const time = Qt.formatTime(date, Qt.locale().timeFormat(Locale.ShortFormat).replace(/[:.]ss/, ""));
        if (date.toDateString() === now.toDateString())
            return time;
        if ((now - date) / 86400000 < 6)
            return Qt.locale().dayName(date.getDay(), Locale.ShortFormat) + " " + time;
        return Qt.formatDate(date, "d MMM") + " " + time;
    }

    Component {
        id: plainText
        Text {
            readonly property real naturalWidth: Math.min(message.maxBubbleWidth - 28, metrics.advanceWidth + 1)
            width: naturalWidth
            text: message.text
            wrapMode: Text.Wrap
            color: Theme.ownBubbleText
            font.pointSize: message.textSize
            lineHeight: message.lineSpacing * 0.82
            TextMetrics {
                id: metrics
                font.pointSize: message.textSize
                text: message.text.split("\n").reduce((a, b) => a.length > b.length ? a : b, "")
            }
        }
    }

    Component {
        id: wordLines
        Item {
            id: wordArea
            objectName: "wordLines"
            implicitHeight: flow.height
            readonly property real naturalWidth: Math.min(message.maxBubbleWidth - 28, Math.ceil(flow.naturalWidth))
            // A right-to-left line ends at the right edge, however wide the bubble is.
            readonly property real rightShift: width - flow.naturalWidth
            readonly property alias flow: flow

            MessageFlow {
                id: flow
                lines: message.lines
                width: message.maxBubbleWidth - 28
                textSize: message.textSize
                readingSize: message.readingSize
                lineSpacing: message.lineSpacing
                readingGap: message.readingGap
                readings: message.hasReadings
            }

            // The piece under a point of this area, or null.
            function pieceAt(x, y) {
                for (let i = 0; i < pieces.count; ++i) {
                    const item = pieces.itemAt(i);
                    if (item && item.visible && x >= item.x && x < item.x + item.width && y >= item.y && y < item.y + item.height)
                        return item;
                }
                return null;
            }
            // The drawn pieces of a word, in the text's order.
            function itemsOf(start) {
                const found = [];
                for (let i = 0; i < pieces.count; ++i) {
                    const item = pieces.itemAt(i);
                    if (item && item.piece.start === start)
                        found.push(item);
                }
                return found;
            }
            // The selected passage's box in this area; empty without a selection.
            function selectionBox() {
                let left = Infinity, top = Infinity, right = -Infinity, bottom = -Infinity;
                for (let i = 0; i < pieces.count; ++i) {
                    const item = pieces.itemAt(i);
                    if (!item || !item.selected || !item.visible)
                        continue;
                    left = Math.min(left, item.x);
                    top = Math.min(top, item.y);
                    right = Math.max(right, item.x + item.width);
                    bottom = Math.max(bottom, item.y + item.height);
                }
                return left <= right ? Qt.rect(left, top, right - left, bottom - top) : Qt.rect(0, 0, 0, 0);
            }

            Repeater {
                id: pieces
                model: flow.pieces
                delegate: Item {
                    id: pieceItem
                    required property var piece
                    readonly property bool selected: message.hasSelection && piece.partStart < message.selectionEnd && piece.partStart + piece.part.length > message.selectionStart
                    readonly property bool atCaret: message.activeFocus && piece.word && piece.start === message.caretStart
                    objectName: piece.link ? "link" : piece.word ? "word" : "gap"
                    x: piece.x + (piece.alignRight ? wordArea.rightShift : 0)
                    y: piece.y
                    width: piece.width
                    height: piece.height
                    visible: piece.shown
                    Accessible.role: piece.link ? Accessible.Link : Accessible.StaticText
                    Accessible.name: piece.link ? piece.text : piece.part
                    Accessible.description: piece.link ? "Opens in the browser" : ""
                    Accessible.ignored: !piece.link

                    // Selected pieces touch, so the highlight runs on across words and gaps.
                    Rectangle {
                        y: pieceItem.piece.textY
                        width: parent.width
                        height: flow.textHeight
                        visible: pieceItem.selected
                        color: Theme.selection
                    }
                    Text {
                        objectName: "reading"
                        visible: message.hasReadings && text.length > 0
                        text: pieceItem.piece.reading
                        anchors.horizontalCenter: parent.horizontalCenter
                        color: Theme.secondaryText
                        font.pointSize: message.readingSize
                    }
                    Text {
                        objectName: "wordText"
                        // The mark gives a run of spaces and punctuation the direction of
                        // the text around it.
                        text: (pieceItem.piece.rightToLeft ? "\u200F" : "\u200E") + pieceItem.piece.part
                        anchors.horizontalCenter: parent.horizontalCenter
                        y: pieceItem.piece.textY
                        color: pieceItem.piece.link ? Theme.accentForeground : Theme.theirBubbleText
                        font.underline: pieceItem.piece.link
                        font.pointSize: message.textSize
                    }
                    // The word caret of the keyboard.
                    Rectangle {
                        visible: pieceItem.atCaret
                        y: pieceItem.piece.textY + flow.textHeight - 1
                        width: parent.width
                        height: 2
                        color: Theme.accentForeground
                    }
                }
            }

            MouseArea {
                id: pointer
                objectName: "wordPointer"
                anchors.fill: parent
                hoverEnabled: true
                acceptedButtons: Qt.LeftButton
                cursorShape: hovered && hovered.piece.link ? Qt.PointingHandCursor : Qt.IBeamCursor
                property var anchorPiece: null
                property var hovered: null
                property bool dragged: false

                function pieceAt(mouse) {
                    return wordArea.pieceAt(mouse.x, mouse.y);
                }
                // Entering reports no move of its own, so both lead here.
                function track(x, y) {
                    const item = wordArea.pieceAt(x, y);
                    if (pressed && anchorPiece && item && item.piece.word) {
                        const a = anchorPiece.piece, b = item.piece;
                        message.selectionStart = Math.min(a.start, b.start);
                        message.selectionEnd = Math.max(a.start + a.text.length, b.start + b.text.length);
                        message.caretStart = b.start;
                        dragged = dragged || a.start !== b.start;
                        return;
                    }
                    if (item === hovered)
                        return;
                    hovered = item;
                    // Glosses are for pointing, when the settings have them.
                    if (item && item.piece.word && message.interactive)
                        message.wordHovered(item.piece, item);
                    else
                        message.wordLeft();
                }
                onEntered: track(mouseX, mouseY)
                onPositionChanged: mouse => track(mouse.x, mouse.y)
                onExited: {
                    hovered = null;
                    message.wordLeft();
                }
                onPressed: mouse => {
                    message.focusFromPointer = !message.activeFocus;
                    message.forceActiveFocus(Qt.MouseFocusReason);
                    message.selectionCleared();
                    message.clearSelection();
                    const item = pieceAt(mouse);
                    anchorPiece = item && item.piece.word ? item : null;
                    dragged = false;
                    if (anchorPiece)
                        message.caretStart = anchorPiece.piece.start;
                    message.wordLeft();
                }
                onReleased: mouse => {
                    anchorPiece = null;
                    if (message.hasSelection) {
                        message.selectionMade(message);
                        return;
                    }
                    const item = pieceAt(mouse);
                    if (item && item.piece.link && !dragged)
                        Qt.openUrlExternally(message.linkUrl(item.piece.text));
                }
                onDoubleClicked: mouse => {
                    const item = pieceAt(mouse);
                    if (!item || !item.piece.word)
                        return;
                    message.selectionStart = item.piece.start;
                    message.selectionEnd = item.piece.start + item.piece.text.length;
                    message.selectionMade(message);
                }
            }
        }
    }
}

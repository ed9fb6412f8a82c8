// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import Quillo.App
import Quillo.Components

// One message. A contact's message is laid out word by word, so that a reading can stand
// above each word, the word under the pointer is known for its gloss, and several words can
// be selected for translation. The user's own messages are plain text.
Item {
    id: message
    required property string messageId
    required property string text
    required property bool fromUser
    required property string language
    required property var lines
    required property double createdAt

    // Set by the conversation view.
    property real maxBubbleWidth: 480
    property bool interactive: true
    property real textSize: 16
    property real lineSpacing: 1.45
    property real readingSize: 10.5
    property real readingGap: 1

    // The selected passage, as UTF-16 offsets into the text; empty when start == end.
    property int selectionStart: 0
    property int selectionEnd: 0
    readonly property bool hasSelection: selectionEnd > selectionStart
    readonly property string selectedText: text.substring(selectionStart, selectionEnd)

    signal wordHovered(var piece, Item item)
    signal wordLeft
    signal selectionMade(Item bubble)
    signal selectionCleared

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
    }

    width: ListView.view ? ListView.view.width : 400
    height: bubble.height + 6

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
        border.color: Theme.separator
        border.width: message.fromUser || Theme.dark ? 0 : 1

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
            opacity: message.fromUser ? 0.75 : 1
            font.pixelSize: Theme.tinySize
        }
    }

    // "14:05" today, "Mon 14:05" this week, "3 Nov 14:05" before.
    function timeText(millis) {
        const date = new Date(millis);
        const now = new Date();
        const time = Qt.formatTime(date, "hh:mm");
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
            implicitHeight: linesColumn.implicitHeight
            readonly property real naturalWidth: {
                let widest = 0;
                for (let i = 0; i < repeater.count; ++i) {
                    const flow = repeater.itemAt(i);
                    if (flow)
                        widest = Math.max(widest, flow.naturalWidth);
                }
                return Math.min(message.maxBubbleWidth - 28, widest);
            }

            // The piece under a point of this area, or null.
            function pieceAt(x, y) {
                for (let i = 0; i < repeater.count; ++i) {
                    const flow = repeater.itemAt(i);
                    if (!flow || y < flow.y || y >= flow.y + flow.height)
                        continue;
                    const child = flow.childAt(x - flow.x, y - flow.y);
                    return child && child.piece !== undefined ? child : null;
                }
                return null;
            }

            Column {
                id: linesColumn
                objectName: "wordLines"
                width: wordArea.width
                spacing: 0

                Repeater {
                    id: repeater
                    model: message.lines
                    delegate: Flow {
                        id: line
                        required property var modelData
                        readonly property real naturalWidth: {
                            let sum = 0;
                            for (let i = 0; i < pieces.count; ++i) {
                                const piece = pieces.itemAt(i);
                                if (piece)
                                    sum += piece.implicitWidth;
                            }
                            return sum + 1;
                        }
                        width: linesColumn.width
                        spacing: 0
                        // An empty line keeps its height, as a blank line in the text does.
                        Item {
                            visible: pieces.count === 0
                            width: 1
                            height: emptyLine.implicitHeight
                            Text {
                                id: emptyLine
                                visible: false
                                font.pointSize: message.textSize
                                text: " "
                            }
                        }
                        Repeater {
                            id: pieces
                            model: line.modelData
                            delegate: Column {
                                required property var modelData
                                readonly property var piece: modelData
                                readonly property bool selected: message.hasSelection && piece.start >= message.selectionStart && piece.start < message.selectionEnd
                                objectName: piece.word ? "word" : "gap"
                                spacing: message.readingGap
                                bottomPadding: Math.max(0, (message.lineSpacing - 1) * message.textSize * 0.7)

                                Text {
                                    objectName: "reading"
                                    visible: message.hasReadings
                                    text: piece.reading.length > 0 ? piece.reading : " "
                                    anchors.horizontalCenter: parent.horizontalCenter
                                    color: Theme.secondaryText
                                    font.pointSize: message.readingSize
                                }
                                Rectangle {
                                    anchors.horizontalCenter: parent.horizontalCenter
                                    width: wordText.implicitWidth
                                    height: wordText.implicitHeight
                                    radius: 3
                                    color: parent.selected ? Theme.selection : "transparent"
                                    Text {
                                        id: wordText
                                        text: piece.text
                                        color: Theme.theirBubbleText
                                        font.pointSize: message.textSize
                                    }
                                }
                            }
                        }
                    }
                }
            }

            MouseArea {
                id: pointer
                objectName: "wordPointer"
                anchors.fill: parent
                enabled: message.interactive
                hoverEnabled: true
                acceptedButtons: Qt.LeftButton
                cursorShape: Qt.IBeamCursor
                property var anchorPiece: null
                property var hovered: null

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
                        return;
                    }
                    if (item === hovered)
                        return;
                    hovered = item;
                    if (item && item.piece.word)
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
                    message.selectionCleared();
                    message.clearSelection();
                    const item = pieceAt(mouse);
                    anchorPiece = item && item.piece.word ? item : null;
                    message.wordLeft();
                }
                onReleased: {
                    anchorPiece = null;
                    if (message.hasSelection)
                        message.selectionMade(message);
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

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components
import Quillo.Panels

// The open conversation: its header, the messages (newest at the bottom), the typing bubble,
// the word panels and the composer.
Rectangle {
    id: view
    color: Theme.window

    // How long the pointer rests on a word before its gloss shows.
    property int hoverDelay: 450
    // In a narrow window the header offers a way back to the list.
    property bool canGoBack: false
    signal editContact
    signal back

    function focusComposer() {
        composer.input.forceActiveFocus(Qt.OtherFocusReason);
    }
    Component.onCompleted: focusComposer()

    // The ends of the conversation. Bubbles differ in height and are only made near the view,
    // so the list knows where an end is only once it has made the bubbles there: it is asked
    // again, after the first jump has laid them out.
    function showNewest() {
        messages.keepNewest = true;
        messages.stickToNewest();
    }
    function showOldest() {
        messages.keepNewest = false;
        messages.positionViewAtEnd();
        Qt.callLater(messages.positionViewAtEnd);
    }

    // Scrolling the conversation from the keyboard, wherever the focus is in it.
    function scrollBy(pages) {
        // The list runs bottom to top: older messages lie at smaller contentY.
        const wanted = messages.contentY - messages.height * 0.9 * pages;
        const newestEnd = messages.originY + messages.contentHeight - messages.height + messages.bottomMargin;
        if (pages < 0 && wanted >= newestEnd) {
            showNewest();
            return;
        }
        messages.keepNewest = false;
        messages.contentY = Math.max(messages.originY - messages.topMargin, Math.min(wanted, newestEnd));
    }
    Shortcut {
        sequences: [StandardKey.MoveToPreviousPage]
        onActivated: view.scrollBy(1)
    }
    Shortcut {
        sequences: [StandardKey.MoveToNextPage]
        onActivated: view.scrollBy(-1)
    }
    Shortcut {
        sequences: ["Ctrl+Home"]
        onActivated: view.showOldest()
    }
    Shortcut {
        sequences: ["Ctrl+End"]
        onActivated: view.showNewest()
    }

    readonly property var conversation: App.conversation
    readonly property bool pointing: App.settings.wordTranslations
    property var selectionBubble: null

    function clearPanels() {
        if (selectionBubble)
            selectionBubble.clearSelection();
        selectionBubble = null;
        App.selectionTranslation.clear();
        App.feedback.closeExplanation();
        hoverTimer.stop();
        App.wordHover.hide();
    }

    Connections {
        target: App.navigation
        function onSelectionChanged() {
            view.clearPanels();
            composer.text = "";
            Qt.callLater(view.showNewest);
            view.focusComposer();
        }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ConversationHeader {
            Layout.fillWidth: true
            canGoBack: view.canGoBack
            onBack: view.back()
            onEditContact: view.editContact()
        }

        ListView {
            id: messages
            objectName: "messageList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: view.conversation.messages
            // Newest at the bottom edge, which is where the list starts: opening a long chat
            // builds its last messages first, and a new one pushes the others up.
            verticalLayoutDirection: ListView.BottomToTop
            spacing: Theme.px(2)
            topMargin: Theme.spacing
            bottomMargin: Theme.spacing
            // Only what is on screen, and a little around it, is ever built and laid out.
            cacheBuffer: 200
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {
                onPressedChanged: if (pressed)
                    messages.keepNewest = false
            }

            Component.onCompleted: view.conversation.messages.newestFirst = true

            // Bubbles settle their height once laid out at the list's width, after the jump
            // to the newest message: until the user scrolls, the list follows, so the newest
            // message (and the line under it) is never left below the edge.
            property bool keepNewest: true
            function stickToNewest() {
                positionViewAtBeginning();
            }
            // Any scroll of the user's lets it go: a drag or the wheel here, the scroll bar, or
            // the keys (which scroll through the view's own functions).
            onMovementStarted: keepNewest = false
            onContentHeightChanged: if (keepNewest)
                Qt.callLater(stickToNewest)

            // A day's label over its first message. The list runs bottom to top, so a section's
            // label stands under the newest message of its run: each run carries the day that
            // starts above that label, and the oldest day's label tops the list.
            section.property: "daySection"
            section.criteria: ViewSection.FullString
            section.delegate: Item {
                required property string section
                width: messages.width
                height: section.length > 0 ? sectionLabel.implicitHeight + Theme.spacing : 0
                Label {
                    id: sectionLabel
                    objectName: "daySeparator"
                    anchors.centerIn: parent
                    visible: parent.section.length > 0
                    text: view.conversation.messages.dayLabel(parent.section)
                    color: Theme.secondaryText
                    font.pixelSize: Theme.smallSize
                    font.weight: Font.DemiBold
                }
            }
            footer: Item {
                width: messages.width
                height: view.conversation.messages.oldestDay.length > 0 ? oldestLabel.implicitHeight + Theme.spacing : 0
                Label {
                    id: oldestLabel
                    objectName: "daySeparator"
                    anchors.centerIn: parent
                    visible: view.conversation.messages.oldestDay.length > 0
                    text: view.conversation.messages.dayLabel(view.conversation.messages.oldestDay)
                    color: Theme.secondaryText
                    font.pixelSize: Theme.smallSize
                    font.weight: Font.DemiBold
                }
            }

            delegate: MessageBubble {
                maxBubbleWidth: Math.min(560, messages.width * 0.72)
                interactive: view.pointing
                textSize: App.settings.textSize
                lineSpacing: App.settings.lineSpacing
                readingSize: App.settings.readingSize
                readingGap: App.settings.readingGap
                senderName: view.conversation.name
                onWordHovered: (piece, item) => {
                    hoverTimer.piece = piece;
                    hoverTimer.item = item;
                    hoverTimer.messageId = messageId;
                    hoverTimer.restart();
                }
                onWordLeft: {
                    hoverTimer.stop();
                    App.wordHover.hide();
                }
                onSelectionCleared: {
                    if (view.selectionBubble && view.selectionBubble !== this)
                        view.selectionBubble.clearSelection();
                    view.selectionBubble = null;
                    App.selectionTranslation.clear();
                }
                onSelectionMade: bubble => {
                    view.selectionBubble = bubble;
                    App.wordHover.hide();
                    view.notePassage();
                }
                onTranslateAsked: bubble => view.translateSelection()
                onExplainAsked: bubble => view.explainSelection()
                onGlossAsked: (piece, item) => view.showGloss(messageId, piece, item)
                onDismissed: view.clearPanels()
            }

            header: Item {
                width: messages.width
                height: view.conversation.typing ? typing.height + 8 : 0
                TypingBubble {
                    id: typing
                    objectName: "typingBubble"
                    x: Theme.padding
                    y: 4
                    visible: view.conversation.typing
                }
            }

            Label {
                anchors.centerIn: parent
                width: parent.width - 64
                visible: messages.count === 0 && !view.conversation.typing
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                text: "Say hello to " + view.conversation.name + "."
                color: Theme.secondaryText
            }
        }

        // Stays while no model answers the service, so nobody writes into a silence.
        Label {
            objectName: "repliesNotice"
            Layout.fillWidth: true
            Layout.leftMargin: Theme.padding
            Layout.rightMargin: Theme.padding
            visible: text.length > 0 && errorLine.text.length === 0
            text: view.conversation.repliesNotice
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            padding: Theme.px(6)
            color: Theme.secondaryText
            font.pixelSize: Theme.px(12)
            background: Rectangle {
                radius: Theme.smallRadius
                color: Theme.errorBackground
            }
        }

        Label {
            id: errorLine
            objectName: "errorLine"
            Layout.fillWidth: true
            Layout.leftMargin: Theme.padding
            Layout.rightMargin: Theme.padding
            visible: text.length > 0
            text: view.conversation.errorLine
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            padding: Theme.px(6)
            color: Theme.danger
            font.pixelSize: Theme.px(12)
            background: Rectangle {
                radius: Theme.smallRadius
                color: Theme.errorBackground
            }
            // Said once: it goes by itself after a while, or with the next message.
            Timer {
                running: errorLine.visible
                interval: 8000
                onTriggered: view.conversation.dismissError()
            }
        }

        Composer {
            id: composer
            Layout.fillWidth: true
            onScrollAsked: toStart => toStart ? view.showOldest() : view.showNewest()
            onSent: {
                view.showNewest();
                view.clearPanels();
            }
        }
    }

    // Where the selected passage stands in the view, so the panels keep off it.
    property rect passage: Qt.rect(0, 0, 0, 0)
    function notePassage() {
        passage = selectionBubble ? selectionBubble.passageBox(view) : Qt.rect(0, 0, 0, 0);
    }
    function explainSelection() {
        if (!selectionBubble)
            return;
        notePassage();
        App.feedback.explain(selectionBubble.messageId, selectionBubble.selectedText);
    }
    function translateSelection() {
        if (!selectionBubble)
            return;
        notePassage();
        App.selectionTranslation.translate(view.conversation.language, selectionBubble.selectedText);
    }
    function showGloss(messageId, piece, item) {
        hoverTimer.stop();
        App.wordHover.show(messageId, piece.text, view.conversation.language, piece.gloss);
        const at = item.mapToItem(view, item.width / 2, 0);
        tooltip.anchorX = at.x;
        tooltip.anchorY = at.y;
    }

    // What a screen reader says when a reply arrives in the open chat: an alert whose text is
    // the reply, shown anew for each one. It takes no room and draws nothing.
    Text {
        id: announcement
        objectName: "replyAnnouncement"
        width: 1
        height: 1
        clip: true
        color: "transparent"
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
        function announce(line) {
            visible = false;
            text = line;
            visible = true;
        }
    }
    Connections {
        target: view.conversation.messages
        function onRowsInserted(parent, first, last) {
            if (first === 0)
                Qt.callLater(() => {
                        const newest = messages.itemAtIndex(0);
                        if (newest && !newest.fromUser)
                            announcement.announce(view.conversation.name + ": " + newest.text);
                    });
        }
    }

    Timer {
        id: hoverTimer
        property var piece: null
        property var item: null
        property string messageId
        interval: view.hoverDelay
        onTriggered: {
            if (!piece || !item || view.selectionBubble)
                return;
            App.wordHover.show(messageId, piece.text, view.conversation.language, piece.gloss);
            const at = item.mapToItem(view, item.width / 2, 0);
            tooltip.anchorX = at.x;
            tooltip.anchorY = at.y;
        }
    }

    WordTooltip {
        id: tooltip
        objectName: "wordTooltip"
        hover: App.wordHover
        bounds: view
    }

    Button {
        id: translateButton
        objectName: "translateButton"
        visible: view.selectionBubble !== null && !App.selectionTranslation.shown && !App.feedback.explanationShown
        text: "Translate"
        highlighted: true
        font.pixelSize: Theme.px(12)
        // Over the passage, or under it when there is no room above.
        x: Math.max(8, Math.min(view.width - width - 8, view.passage.x))
        y: view.passage.y - height - 4 >= messages.y ? view.passage.y - height - 4 : view.passage.y + view.passage.height + 4
        onClicked: view.translateSelection()
    }
    // Beside it: what the passage is, as a word of the language (Ctrl+E on a focused message).
    Button {
        objectName: "explainButton"
        visible: translateButton.visible
        text: "Explain"
        font.pixelSize: Theme.px(12)
        x: translateButton.x + translateButton.width + Theme.smallSpacing
        y: translateButton.y
        Accessible.description: "What the selected words mean here, their dictionary form and grammar"
        onClicked: view.explainSelection()
    }
    ExplanationPanel {
        objectName: "explanationPanel"
        feedback: App.feedback
        width: Math.min(Theme.panelWidth, view.width - 32)
        readonly property real below: view.passage.y + view.passage.height + 6
        x: Math.max(16, Math.min(view.width - width - 16, view.passage.x))
        y: below + height <= messages.y + messages.height || view.passage.y - 6 - height < 8 ? below : view.passage.y - 6 - height
        onClosed: view.clearPanels()
    }

    // Beside the passage it translates, never over it: under it when it fits above the
    // composer, else over it.
    SelectionPanel {
        id: selectionPanel
        objectName: "selectionPanel"
        translation: App.selectionTranslation
        width: Math.min(360, view.width - 32)
        readonly property real below: view.passage.y + view.passage.height + 6
        x: Math.max(16, Math.min(view.width - width - 16, view.passage.x))
        y: below + height <= messages.y + messages.height || view.passage.y - 6 - height < 8 ? below : view.passage.y - 6 - height
        onClosed: view.clearPanels()
    }
}

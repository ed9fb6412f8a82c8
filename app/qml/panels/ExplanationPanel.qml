// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.Components

// What a passage of a contact's message is: its meaning there, the form a dictionary lists it
// under and what kind of word it is, and a short grammar note when the form is worth one, in
// the user's own language. Esc closes it, wherever the focus is.
Rectangle {
    id: panel
    property var feedback
    signal closed

    readonly property var explanation: feedback ? feedback.explanation : ({})
    visible: feedback !== undefined && feedback !== null && feedback.explanationShown
    height: column.implicitHeight + 2 * Theme.spacing + 8
    z: 11
    radius: Theme.radius
    color: Theme.surfaceRaised
    border.color: Theme.separator
    Accessible.role: Accessible.Dialog
    Accessible.name: "Explanation of " + (explanation.selection || "")

    Shortcut {
        sequence: StandardKey.Cancel
        enabled: panel.visible
        onActivated: panel.closed()
    }

    ColumnLayout {
        id: column
        x: 14
        y: Theme.spacing + 4
        width: panel.width - 28
        spacing: Theme.px(6)

        RowLayout {
            Layout.fillWidth: true
            Label {
                Layout.fillWidth: true
                text: panel.explanation.selection || ""
                wrapMode: Text.Wrap
                color: Theme.secondaryText
                font.pixelSize: Theme.px(12)
            }
            ToolButton {
                objectName: "explanationPanelClose"
                text: "×"
                Accessible.name: "Close"
                onClicked: panel.closed()
            }
        }
        Label {
            visible: panel.feedback && panel.feedback.explaining
            text: "Explaining…"
            color: Theme.secondaryText
        }
        Label {
            objectName: "explanationMeaning"
            Layout.fillWidth: true
            visible: text.length > 0
            text: panel.explanation.meaning || ""
            wrapMode: Text.Wrap
            color: Theme.text
            font.pixelSize: Theme.bodySize + 1
        }
        Label {
            objectName: "explanationForm"
            Layout.fillWidth: true
            visible: text.length > 0
            text: {
                const form = panel.explanation.dictionaryForm || "";
                const kind = panel.explanation.partOfSpeech || "";
                return form.length > 0 && kind.length > 0 ? form + " · " + kind : form + kind;
            }
            wrapMode: Text.Wrap
            color: Theme.secondaryText
            font.pixelSize: Theme.smallSize
        }
        Label {
            objectName: "explanationGrammar"
            Layout.fillWidth: true
            visible: text.length > 0
            text: panel.explanation.grammarNote || ""
            wrapMode: Text.Wrap
            color: Theme.text
            font.pixelSize: Theme.smallSize
        }
    }
}

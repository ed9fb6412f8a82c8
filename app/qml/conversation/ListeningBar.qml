// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// What the composer shows while the user talks: the level meter, the words heard so far, and
// the ways to end (done keeps the words, the cross drops them).
Rectangle {
    id: bar
    required property ComposerDictation dictation

    radius: Theme.px(18)
    color: Theme.surface
    border.color: Theme.accent
    implicitHeight: Math.max(40, transcript.implicitHeight + 18)

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.px(12)
        anchors.rightMargin: Theme.px(6)
        spacing: Theme.spacing

        Row {
            id: meter
            objectName: "levelMeter"
            Layout.alignment: Qt.AlignVCenter
            spacing: Theme.px(2)
            Repeater {
                model: bar.dictation.levels
                Rectangle {
                    required property real modelData
                    objectName: "levelBar"
                    anchors.verticalCenter: parent.verticalCenter
                    width: Theme.px(3)
                    radius: width / 2
                    height: Theme.px(3 + modelData * 21)
                    color: Theme.accent
                    opacity: 0.45 + modelData * 0.55
                }
            }
        }
        Label {
            id: transcript
            objectName: "dictationText"
            Layout.fillWidth: true
            text: bar.dictation.text.length > 0 ? bar.dictation.text : bar.dictation.finishing ? "…" : "Listening in " + bar.dictation.language + "…"
            color: bar.dictation.text.length > 0 ? Theme.text : Theme.faintText
            wrapMode: Text.Wrap
            maximumLineCount: 4
            elide: Text.ElideLeft
            font.pixelSize: Theme.px(14)
        }
        ToolButton {
            objectName: "cancelDictation"
            Accessible.name: "Stop dictating"
            Accessible.description: "Stop without keeping the words (Esc)"
            text: "✕"
            onClicked: bar.dictation.cancel()
            ToolTip.visible: hovered
            ToolTip.text: "Stop without keeping the words (Esc)"
        }
        Button {
            objectName: "finishDictation"
            text: "Done"
            highlighted: true
            enabled: !bar.dictation.finishing
            onClicked: bar.dictation.finish()
        }
    }
}

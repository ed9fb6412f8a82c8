// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.Components

// The tooltip over a word: the word, its reading, and its gloss or why there is none.
Rectangle {
    id: tooltip
    property var hover
    property Item bounds
    property real anchorX
    property real anchorY

    visible: hover && hover.shown
    width: Math.min(280, Math.max(column.implicitWidth + 20, 80))
    height: column.implicitHeight + 14
    x: Math.max(4, Math.min(bounds.width - width - 4, anchorX - width / 2))
    y: anchorY - height - 6 < 4 ? anchorY + 28 : anchorY - height - 6
    z: 10
    radius: Theme.px(8)
    color: Theme.tooltip

    ColumnLayout {
        id: column
        x: 10
        y: 7
        width: tooltip.width - 20
        spacing: Theme.px(2)
        RowLayout {
            spacing: Theme.spacing
            Label {
                objectName: "tooltipWord"
                text: tooltip.hover ? tooltip.hover.word : ""
                color: Theme.tooltipText
                font.pixelSize: Theme.px(14)
                font.weight: Font.DemiBold
            }
            Label {
                objectName: "tooltipReading"
                visible: text.length > 0
                text: tooltip.hover ? tooltip.hover.reading : ""
                color: Theme.tooltipText
                opacity: 0.75
                font.pixelSize: Theme.px(12)
            }
        }
        Label {
            objectName: "tooltipGloss"
            Layout.fillWidth: true
            visible: text.length > 0
            text: !tooltip.hover ? "" : tooltip.hover.gloss.length > 0 ? tooltip.hover.gloss : tooltip.hover.failureLine
            wrapMode: Text.Wrap
            color: Theme.tooltipText
            font.pixelSize: Theme.bodySize
            font.italic: tooltip.hover && tooltip.hover.gloss.length === 0
        }
        Label {
            visible: tooltip.hover && tooltip.hover.busy && tooltip.hover.gloss.length === 0
            text: "…"
            color: Theme.tooltipText
        }
    }
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls

// A choice from a fixed list, as tall as the text it shows at any font size. Screen readers hear
// the box with its name and value; the text inside is not a field of its own.
ComboBox {
    id: box
    implicitHeight: Math.max(Theme.controlHeight, implicitContentHeight + topPadding + bottomPadding)

    contentItem: Label {
        // The box's own padding already leaves room for the arrow.
        leftPadding: Theme.smallSpacing
        text: box.displayText
        font: box.font
        color: box.enabled ? Theme.text : Theme.secondaryText
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        Accessible.ignored: true
    }
}

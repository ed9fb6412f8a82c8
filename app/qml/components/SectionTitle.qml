// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls

// A section's heading in a form or sheet.
Label {
    font.pixelSize: Theme.bodySize
    font.weight: Font.DemiBold
    color: Theme.secondaryText
    topPadding: Theme.spacing * 2
    bottomPadding: Theme.spacing / 2
}

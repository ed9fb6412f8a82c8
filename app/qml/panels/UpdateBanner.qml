// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// A newer release exists: its version, "Later" to hide this for now, "Download" to get it.
Rectangle {
    id: banner
    readonly property string version: App.updateVersion

    visible: version.length > 0
    implicitHeight: visible ? row.implicitHeight + 16 : 0
    color: Theme.bannerBackground

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.leftMargin: Theme.padding
        anchors.rightMargin: Theme.spacing
        spacing: Theme.spacing
        ColumnLayout {
            spacing: 0
            Label {
                text: "New version available"
                color: Theme.text
                font.pixelSize: Theme.bodySize
                font.weight: Font.DemiBold
            }
            Label {
                objectName: "updateVersion"
                text: "Quillo " + banner.version
                color: Theme.secondaryText
                font.pixelSize: Theme.smallSize
            }
        }
        Item {
            Layout.fillWidth: true
        }
        Button {
            text: "Later"
            flat: true
            onClicked: App.dismissUpdate()
        }
        Button {
            text: "Download"
            highlighted: true
            onClicked: Qt.openUrlExternally(App.updateUrl)
        }
    }
}

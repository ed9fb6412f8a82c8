// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.Components

// A reply that arrived in the background: the contact's avatar, name, language and level, and
// what it wrote. Clicking opens the conversation; it goes by itself after a while.
Rectangle {
    id: card
    required property int index
    required property string botId
    required property string title
    required property string initials
    required property string accent
    required property string subtitle
    required property string body
    property int lifetime: 9000

    signal activated(int index)
    signal dismissed(int index)

    width: ListView.view ? ListView.view.width : 340
    height: content.implicitHeight + 24
    radius: Theme.px(12)
    color: Theme.surfaceRaised
    border.color: Theme.separator

    Timer {
        running: !hover.hovered
        interval: card.lifetime
        onTriggered: card.dismissed(card.index)
    }
    HoverHandler {
        id: hover
    }
    TapHandler {
        onTapped: card.activated(card.index)
    }

    RowLayout {
        id: content
        x: 12
        y: 12
        width: card.width - 24
        spacing: Theme.px(10)

        Avatar {
            Layout.alignment: Qt.AlignTop
            size: Theme.px(38)
            initials: card.initials
            accent: card.accent
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: Theme.px(1)
            RowLayout {
                Layout.fillWidth: true
                Label {
                    objectName: "cardTitle"
                    Layout.fillWidth: true
                    text: card.title
                    elide: Text.ElideRight
                    color: Theme.text
                    font.pixelSize: Theme.px(13.5)
                    font.weight: Font.DemiBold
                }
                Label {
                    text: "×"
                    color: Theme.faintText
                    visible: hover.hovered
                    TapHandler {
                        onTapped: card.dismissed(card.index)
                    }
                }
            }
            Label {
                visible: text.length > 0
                text: card.subtitle
                color: Theme.secondaryText
                font.pixelSize: Theme.smallSize
            }
            Label {
                objectName: "cardBody"
                Layout.fillWidth: true
                text: card.body
                wrapMode: Text.Wrap
                maximumLineCount: 4
                elide: Text.ElideRight
                color: Theme.text
                font.pixelSize: Theme.bodySize
            }
        }
    }
}

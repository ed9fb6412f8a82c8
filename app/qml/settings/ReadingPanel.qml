// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillo.App
import Quillo.Components

// How messages read: the size and spacing of their text, and the size of the reading line
// above the words and its distance from them, with a sample.
ColumnLayout {
    id: panel
    readonly property var settings: App.settings
    spacing: Theme.smallSpacing

    component SettingSlider: RowLayout {
        id: sliderRow
        property alias title: sliderTitle.text
        property real value
        property real from
        property real to
        property real step
        property int decimals: 1
        signal moved(real value)
        Layout.fillWidth: true
        Label {
            id: sliderTitle
            Layout.preferredWidth: Theme.px(140)
            color: Theme.text
            font.pixelSize: Theme.bodySize
        }
        Slider {
            Layout.fillWidth: true
            from: sliderRow.from
            to: sliderRow.to
            stepSize: sliderRow.step
            snapMode: Slider.SnapAlways
            value: sliderRow.value
            onMoved: sliderRow.moved(value)
            Accessible.name: sliderRow.title
        }
        Label {
            Layout.preferredWidth: Theme.px(36)
            horizontalAlignment: Text.AlignRight
            text: sliderRow.value.toFixed(sliderRow.decimals)
            color: Theme.secondaryText
            font.pixelSize: Theme.smallSize
        }
    }

    SectionTitle {
        text: "Text size and spacing"
    }
    SettingSlider {
        title: "Text size"
        value: panel.settings.textSize
        from: 11
        to: 26
        step: 0.5
        onMoved: value => panel.settings.textSize = value
    }
    SettingSlider {
        title: "Line spacing"
        value: panel.settings.lineSpacing
        from: 1
        to: 2.2
        step: 0.05
        decimals: 2
        onMoved: value => panel.settings.lineSpacing = value
    }
    SettingSlider {
        title: "Pronunciation size"
        value: panel.settings.readingSize
        from: 7
        to: 18
        step: 0.5
        onMoved: value => panel.settings.readingSize = value
    }
    SettingSlider {
        title: "Pronunciation gap"
        value: panel.settings.readingGap
        from: 0
        to: 10
        step: 0.5
        onMoved: value => panel.settings.readingGap = value
    }

    Rectangle {
        Layout.fillWidth: true
        Layout.topMargin: Theme.spacing
        implicitHeight: sample.implicitHeight + 20
        radius: Theme.bubbleRadius
        color: Theme.theirBubble
        border.color: Theme.separator
        Row {
            id: sample
            x: 14
            y: 10
            spacing: Theme.px(6)
            Repeater {
                model: [["今日", "kyou"], ["は", "ha"], ["いい", "ii"], ["天気", "tenki"]]
                delegate: Column {
                    required property var modelData
                    spacing: panel.settings.readingGap
                    Text {
                        anchors.horizontalCenter: parent.horizontalCenter
                        text: modelData[1]
                        color: Theme.secondaryText
                        font.pointSize: panel.settings.readingSize
                    }
                    Text {
                        anchors.horizontalCenter: parent.horizontalCenter
                        text: modelData[0]
                        color: Theme.text
                        font.pointSize: panel.settings.textSize
                    }
                }
            }
        }
    }
    Button {
        Layout.alignment: Qt.AlignRight
        text: "Reset"
        flat: true
        onClicked: panel.settings.resetTextSettings()
    }
}

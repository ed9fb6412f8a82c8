// SPDX-License-Identifier: Apache-2.0
pragma Singleton
import QtQuick
import Quillo.App

// Colours, sizes and spacing of every screen, light or dark as the appearance says.
QtObject {
    readonly property bool dark: App.appearance.dark

    readonly property color window: dark ? "#17191C" : "#F6F5F2"
    readonly property color sidebar: dark ? "#1E2125" : "#EFEDE8"
    readonly property color surface: dark ? "#24282D" : "#FFFFFF"
    readonly property color surfaceRaised: dark ? "#2C3137" : "#FFFFFF"
    readonly property color selectedRow: dark ? "#2C3743" : "#E0EBF7"
    readonly property color hoverRow: dark ? "#262B31" : "#E9E7E2"
    readonly property color separator: dark ? "#33383F" : "#E0DDD6"
    readonly property color text: dark ? "#ECEDEE" : "#1C1D1F"
    readonly property color secondaryText: dark ? "#ABB0B6" : "#585B60"
    readonly property color faintText: dark ? "#9A9FA4" : "#64686F"
    readonly property color accent: dark ? "#6FA3D4" : "#377AB8"
    // The accent as the colour of text and small marks, which must stand out from the rows.
    readonly property color accentForeground: dark ? "#6FA3D4" : "#316BA2"
    readonly property color accentText: dark ? "#17191C" : "#FFFFFF"
    readonly property color ownBubble: dark ? "#2F6AA3" : "#3270AA"
    readonly property color ownBubbleText: "#FFFFFF"
    readonly property color theirBubble: dark ? "#2A2F35" : "#FFFFFF"
    readonly property color theirBubbleText: text
    readonly property color selection: dark ? "#3D5A7A" : "#CFE2F7"
    readonly property color danger: dark ? "#F07B7B" : "#B73D38"
    readonly property color unreadBadge: accent
    readonly property color errorBackground: dark ? "#3A2A2A" : "#FBEDEC"
    readonly property color bannerBackground: dark ? "#243447" : "#E4EEF9"
    readonly property color tooltip: dark ? "#3A4047" : "#2B2E33"
    readonly property color tooltipText: "#F4F5F6"
    readonly property color shadow: dark ? "#80000000" : "#26000000"
    // The edge of a field or of a control that is off, which must be seen against the window.
    readonly property color inputBorder: dark ? "#717A84" : "#8D887E"
    // A switch that is on: its track and its knob.
    readonly property color switchOn: accent
    readonly property color switchKnobOn: accentText
    // The avatar of a contact that is not active: a quiet grey instead of its colour.
    readonly property color mutedAvatar: dark ? "#5D646C" : "#A7AAAF"
    // Keyboard focus: a ring around the control that has it.
    readonly property color focusRing: dark ? "#6FA8DC" : "#2F6DA8"

    // Every size follows the desktop's font: at its usual 13 px the screens are as drawn, at a
    // larger font everything grows with the text.
    readonly property real scale: App.appearance.scale
    function px(size) {
        return Math.round(size * scale);
    }

    readonly property real bodySize: 13 * scale
    readonly property real smallSize: 11.5 * scale
    readonly property real tinySize: 10 * scale
    readonly property real titleSize: 17 * scale
    readonly property real headlineSize: 24 * scale
    // Glyph buttons (⟳, +, ⚙) and the glyphs in the composer.
    readonly property real iconSize: 16 * scale

    readonly property int radius: px(10)
    readonly property int smallRadius: px(6)
    readonly property int bubbleRadius: px(16)
    readonly property int spacing: px(8)
    readonly property int smallSpacing: px(4)
    readonly property int padding: px(16)
    readonly property int sidebarWidth: px(300)
    readonly property int chatRowHeight: px(64)
    readonly property int headerHeight: px(60)
    readonly property int controlHeight: px(32)
    readonly property int chipHeight: px(28)
    readonly property int badgeHeight: px(18)
    readonly property int avatarSize: px(42)
    readonly property int smallAvatarSize: px(36)
    readonly property int largeAvatarSize: px(64)
    readonly property int panelWidth: px(360)
    readonly property int fieldMinimumHeight: px(64)

    // The languages offered while typing one in; anything else may be typed too.
    readonly property var languageSuggestions: ["Spanish", "French", "German", "Italian", "Portuguese", "Japanese", "Chinese", "Korean", "Russian", "Ukrainian", "Polish", "Dutch", "Swedish", "Norwegian", "Danish", "Finnish", "Greek", "Turkish", "Arabic", "Hebrew", "Hindi", "Thai", "Vietnamese", "Indonesian", "Czech", "Romanian", "Hungarian", "English"]
    readonly property var interestSuggestions: ["travel", "music", "food", "films", "books", "football", "games", "art", "tech", "nature", "fitness", "photography", "history", "fashion", "coffee"]
}

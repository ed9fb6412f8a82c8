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
    readonly property color selectedRow: dark ? "#2F3A46" : "#DCE8F5"
    readonly property color hoverRow: dark ? "#262B31" : "#E7E5E0"
    readonly property color separator: dark ? "#33383F" : "#E0DDD6"
    readonly property color text: dark ? "#ECEDEE" : "#1C1D1F"
    readonly property color secondaryText: dark ? "#9BA1A8" : "#6B6F75"
    readonly property color faintText: dark ? "#6F757C" : "#9A9EA4"
    readonly property color accent: "#3B82C4"
    readonly property color accentText: "#FFFFFF"
    readonly property color ownBubble: dark ? "#2F6AA3" : "#3B82C4"
    readonly property color ownBubbleText: "#FFFFFF"
    readonly property color theirBubble: dark ? "#2A2F35" : "#FFFFFF"
    readonly property color theirBubbleText: text
    readonly property color selection: dark ? "#3D5A7A" : "#CFE2F7"
    readonly property color danger: dark ? "#F07A7A" : "#C2413B"
    readonly property color unreadBadge: "#3B82C4"
    readonly property color errorBackground: dark ? "#3A2A2A" : "#FBEDEC"
    readonly property color bannerBackground: dark ? "#243447" : "#E4EEF9"
    readonly property color tooltip: dark ? "#3A4047" : "#2B2E33"
    readonly property color tooltipText: "#F4F5F6"
    readonly property color shadow: dark ? "#80000000" : "#26000000"

    readonly property int radius: 10
    readonly property int bubbleRadius: 16
    readonly property int spacing: 8
    readonly property int padding: 16
    readonly property int sidebarWidth: 300
    readonly property real bodySize: 13
    readonly property real smallSize: 11.5
    readonly property real titleSize: 17
    readonly property real headlineSize: 24

    // The languages offered while typing one in; anything else may be typed too.
    readonly property var languageSuggestions: ["Spanish", "French", "German", "Italian", "Portuguese", "Japanese", "Chinese", "Korean", "Russian", "Ukrainian", "Polish", "Dutch", "Swedish", "Norwegian", "Danish", "Finnish", "Greek", "Turkish", "Arabic", "Hebrew", "Hindi", "Thai", "Vietnamese", "Indonesian", "Czech", "Romanian", "Hungarian", "English"]
    readonly property var interestSuggestions: ["travel", "music", "food", "films", "books", "football", "games", "art", "tech", "nature", "fitness", "photography", "history", "fashion", "coffee"]
}

// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls

// A language, typed freely; the usual ones that start with what was typed are offered below.
// Up and Down move through the offers, Enter takes the highlighted one (or the text as typed
// when nothing is offered).
TextField {
    id: field

    property var suggestions: Theme.languageSuggestions
    readonly property string language: text.trim()
    readonly property var matches: {
        const typed = text.trim().toLowerCase();
        if (typed.length === 0)
            return [];
        return suggestions.filter(name => name.toLowerCase().startsWith(typed) && name.toLowerCase() !== typed).slice(0, 6);
    }
    property int highlighted: 0

    // Typing and picking a suggestion both end here.
    signal chosen(string language)

    function choose(name) {
        text = name;
        offers.close();
        chosen(name);
    }

    selectByMouse: true
    onTextEdited: {
        highlighted = 0;
        offers.visible = matches.length > 0;
    }
    onAccepted: {
        if (offers.visible && matches.length > 0)
            choose(matches[Math.min(highlighted, matches.length - 1)]);
        else if (language.length > 0)
            choose(language);
    }
    onActiveFocusChanged: if (!activeFocus)
        offers.close()
    Keys.onDownPressed: highlighted = Math.min(highlighted + 1, matches.length - 1)
    Keys.onUpPressed: highlighted = Math.max(highlighted - 1, 0)
    Keys.onEscapePressed: offers.close()

    Popup {
        id: offers

        y: field.height + 2
        width: field.width
        padding: Theme.smallSpacing
        visible: false

        background: Rectangle {
            radius: Theme.smallRadius
            color: Theme.surfaceRaised
            border.color: Theme.separator
        }
        contentItem: Column {
            Repeater {
                model: field.matches

                delegate: ItemDelegate {
                    required property string modelData
                    required property int index

                    width: offers.width - 8
                    text: modelData
                    highlighted: index === field.highlighted
                    onClicked: field.choose(modelData)
                }
            }
        }
    }
}
